#!/bin/sh
# Runs the playbooks of examples/fleet on six machines, each a sandbox with its own sshd: fleet_test.sh UNPACKED
# PROMTOOL, the folder of Ansible and ssh, and the program that checks metrics. Prints a line for each check.
# shellcheck disable=SC2086 # lists of words: sandboxes, and what playbooks are called with
set -eu
unpacked=$1
promtool=$2
cd "$(dirname "$0")/../.."
programs=$PWD/build/release/bin
. tests/checks.sh
port=$((20000 + $$ % 10000)) # another run of this test may go on
machines="down good1 bad good2 good3 good4"
sandboxes=
libraries=$(echo "$unpacked"/usr/lib/*-linux-gnu*)

clean_up() {
    # Ansible leaves connections open for its next run.
    for socket in "$work"/.ansible/cp/*; do
        [ ! -S "$socket" ] || unpacked_run ssh -S "$socket" -O exit fleet || true
    done 2> /dev/null
    [ -z "$sandboxes" ] || kill $sandboxes 2> /dev/null || true
    wait
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT TERM HUP

unpacked_run() {
    timeout --foreground 120 \
        env -i HOME="$work" LANG=C.UTF-8 PATH="$unpacked/usr/bin:$PATH" LD_LIBRARY_PATH="$libraries" "$@"
}
# on MACHINE COMMAND
on() {
    unpacked_run ssh -n -F "$work/ssh_config" "$@"
}
# playbook EXIT-CODE ARGUMENT...: leaves its output in the log, for the checks after it
playbook() {
    expected=$1
    shift
    code=0
    unpacked_run PYTHONPATH="$unpacked/usr/lib/python3/dist-packages" ANSIBLE_CONFIG="$PWD/examples/fleet/ansible.cfg" \
        ansible-playbook --inventory "$work/hosts" "$@" > "$work/log" 2>&1 || code=$?
    cat "$work/log"
    [ "$code" = "$expected" ]
}
prints() { grep -E "$1" "$work/log" || { cat "$work/log"; return 1; }; }
# every RECAP MACHINE...: checks the playbook's recap of each machine
every() {
    recap=$1
    shift
    for machine in "$@"; do
        prints "^$machine +: .*$recap" || return
    done
}

mounting='mount -t tmpfs volume1 /volume1; mkdir /volume1/data; systemctl restart files'
volume_state='mountpoint /volume1; systemctl show -p ActiveState,MainPID files'
untouched() {
    for machine in "$@"; do
        on "$machine" "$volume_state" | diff "$work/$machine.state" - || return
    done
}
unmounted() {
    for machine in "$@"; do
        on "$machine" '! mountpoint -q /volume1 && systemctl is-active files' || return
    done
}
# web_is STATE MACHINE...
web_is() {
    state=$1
    shift
    for machine in "$@"; do
        on "$machine" systemctl is-active web | grep -x "$state" || return
    done
}
table() {
    sed -n '/MACHINE /,/ machines, /s/^ *//p' "$work/log" | sed 's/  */ /g' | diff - "$work/table"
}

# metrics COMMAND: prints samples that Prometheus takes
metrics() {
    on good1 "$1" > "$work/metrics" && grep -v '^#' "$work/metrics" && "$promtool" check metrics < "$work/metrics"
}

unpacked_run ssh-keygen -q -t ed25519 -N '' -f "$work/key"
cat > "$work/ssh_config" << END
Host *
    Port $port
    User root
    IdentityFile $work/key
    IdentitiesOnly yes
    IdentityAgent none
    StrictHostKeyChecking yes
    UserKnownHostsFile $work/known_hosts
    GlobalKnownHostsFile none
Host gone
    HostName 127.0.0.1
END
address=1
for machine in $machines; do
    address=$((address + 1))
    unpacked_run ssh-keygen -q -t ed25519 -N '' -f "$work/$machine"
    echo "$machine $(cat "$work/$machine.pub")" >> "$work/known_hosts"
    printf 'Host %s\n    HostName 127.0.0.%s\n    HostKeyAlias %s\n' $machine $address $machine >> "$work/ssh_config"
    cat > "$work/$machine.sshd" << END
ListenAddress 127.0.0.$address:$port
HostKey $work/$machine
AuthorizedKeysFile $work/key.pub
PasswordAuthentication no
StrictModes no
PidFile none
END
    set -- env LD_LIBRARY_PATH="$libraries" "$unpacked/usr/sbin/sshd" -D -e -f "$work/$machine.sshd"
    [ "$machine" != down ] || set -- sleep infinity
    # Should this script be killed, the sandboxes end too.
    setpriv --pdeathsig TERM "$programs/mero-sandbox" --bind "$PWD" --bind "$work" -- \
        "$PWD/tests/fleet/machine.sh" $machine "$programs/merosystemctl" "$@" > "$work/$machine.log" 2>&1 &
    sandboxes="$sandboxes $!"
done
cat > "$work/hosts" << END
$(echo "$machines" | tr ' ' '\n')
[all:vars]
ansible_ssh_common_args=-F $work/ssh_config
END
for machine in $machines; do
    tries=0
    until [ "$machine" = down ] || on "$machine" true 2> /dev/null; do
        tries=$((tries + 1))
        [ $tries -lt 100 ] || { cat "$work/$machine.log" >&2; exit 1; }
        sleep 0.3
    done
done
up=${machines#down }
cat > "$work/table" << END
MACHINE STATE UNIT WHY
gone unreachable - no answer over ssh
down unreachable - no answer over ssh
bad failed files.service files.service
good3 held web.service upgrade
good4 down files.service unmount running: /volume1
7 machines, 5 of them in the table
END
for machine in $up; do
    on "$machine" "$volume_state" > "$work/$machine.state"
done

unmount="examples/fleet/unmount.yml -e volume=/volume1"
working='umount /volume1 && systemctl is-active files > /run/meanwhile; true'
losing='umount /volume1; pkill -f "root@[n]otty"'
reason="examples/fleet/reason.yml -e reason=upgrade -e services=web"
check "a trial run reaches all machines but the one that is down" playbook 2 $unmount --check --verbose
check "says what would stop" prints '^ +files.service +uses files'
check "and touches nothing" untouched $up

check "after a pair of one that is down and one whose service does not come back" \
    playbook 2 $unmount --limit down,bad,good3,good4
check "the next pair is untouched" untouched good3 good4
check "after a pair of one that is down and one that is lost" \
    playbook 2 $unmount --limit down,good1,good3,good4 -e "{'command': ['sh', '-c', '$losing']}"
check "by ssh" prints '^fatal: \[good1\]: UNREACHABLE'
check "the next pair is untouched" untouched good3 good4
on good1 'while merosystemctl volume state > /dev/null; do sleep 0.1; done'
check "the unmount has gone on without ssh" unmounted good1
on bad "$mounting"
on good1 "$mounting"

check "an unmount of the fleet fails" playbook 2 $unmount
check "and names the machine that is down" prints '^fatal: \[down\]: UNREACHABLE'
check "and the service that does not come back" prints 'files.service: does not run again'
check "the others of their pairs are unmounted, and their services run" unmounted good1 good2
check "the third pair is untouched" untouched good3 good4

check "a reason is added on all machines but the one that is down" playbook 4 $reason -e verb=add
check "that is a change on each" every 'changed=1 .*failed=0' $up
check "and holds the service" web_is inactive $up
check "it is added again" playbook 4 $reason -e verb=add
check "which changes nothing" every 'changed=0 .*failed=0' $up
check "it is released" playbook 4 $reason -e verb=release
check "that is a change on each" every 'changed=1 .*failed=0' $up
check "and the service runs" web_is active $up
check "it is released again" playbook 4 $reason -e verb=release
check "which changes nothing" every 'changed=0 .*failed=0' $up

sed -i '1i gone' "$work/hosts"
check "the unmount goes on after a pair of which neither is reached, with a command" \
    playbook 2 $unmount -e "{'command': ['sh', '-c', '$working']}"
check "neither is forgotten" every failed=1 gone down
check "machines that have been unmounted are passed over" every 'changed=0 .*failed=0' good1 bad good2
check "the others are unmounted" unmounted good3 good4
check "by the command, while the service is stopped" on good4 grep -x inactive /run/meanwhile

on good3 merosystemctl --quiet reason add upgrade web
on good4 "$mounting; systemd-run --quiet merosystemctl volume unmount /volume1 -- sleep infinity
    until merosystemctl volume state > /dev/null; do sleep 0.1; done"
check "the overview is printed" playbook 4 examples/fleet/overview.yml
check "as one table of all machines" table
check "the metrics of units are good" metrics 'merosystemctl overview --prometheus'
check "and those of slices" \
    metrics 'mkdir -p /sys/fs/cgroup/meromonitor/test.slice; merosystemctl slice show --prometheus'
finish

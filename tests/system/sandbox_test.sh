#!/bin/bash
# Checks a mero-sandbox, as root: sandbox_test.sh PROGRAM [v1 | v2 | --alone]. v1 (default) and v2: the cgroup version
# inside. --alone: only the checks that need a machine without other sandboxes.
set -u

if [ $# -lt 1 ] || [[ ${2-v1} != @(v1|v2|--alone) ]] || [ ! -x "$1" ] || [ "$(id -u)" -ne 0 ]; then
    echo "usage (as root): $0 PATH-OF-MERO-SANDBOX [v1 | v2 | --alone]" >&2
    exit 2
fi

# Private mounts, processes, cgroups and temporary folders make leftovers of a sandbox visible, even if others run some
# too. As pid 1, bash also reaps orphans, which not every caller does. The caller's environment, which may change the
# messages of systemctl and bash, and its ignored signals stay outside.
# In a chroot, whose root may not be a mount point, unshare could not make the mounts private.
apart=(unshare --mount --propagation unchanged)
if [ -z "${PRIVATE_NAMESPACES:-}" ]; then
    exec env -i --default-signal PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin TERM=xterm \
        PRIVATE_NAMESPACES=yes "${apart[@]}" --pid --fork --kill-child --mount-proc "$BASH" "$0" "$@"
fi
# The caller's /tmp is hidden from here on.
program=/tmp/mero-sandbox
box=/tmp/box
cgroups=${2-v1}
[ "$cgroups" != --alone ] || cgroups=v1
[ "$cgroups" = v2 ] && hierarchies=unified || hierarchies="systemd meromonitor"
script=/tmp/sandbox_test.sh
work=/tmp/work
# A root that is not a mount point; filled later.
root=/tmp/root

passed=0
failed=0

# check WHAT COMMAND...: succeeds if the command does
check() {
    local what=$1
    shift
    if "$@" >"$work/log" 2>&1; then
        echo "ok   $what"
        passed=$((passed + 1))
    else
        echo "FAIL $what"
        sed 's/^/     /' "$work/log"
        failed=$((failed + 1))
    fi
}

exits() {
    local expected=$1 actual=0
    shift
    "$@" || actual=$?
    echo "exit status $actual, expected $expected"
    [ "$actual" -eq "$expected" ]
}

prints() {
    local expected=$1 actual
    shift
    actual=$("$@" 2>&1)
    echo "printed '$actual', expected '$expected'"
    # shellcheck disable=SC2053 # a pattern
    [[ $actual == $expected ]]
}

# The things that a sandbox could leave, one per line: mounts, cgroups, processes, files.
traces() {
    sed 's/^/mount /' /proc/self/mountinfo
    # /sys/fs/cgroup shows the whole machine.
    find /mnt -type d -regextype egrep \
        -regex ".*(mero-sandbox.*|\.(slice|scope|service|mount|socket))" -printf "cgroup %p\n"
    find /proc -maxdepth 3 -path '/proc/[0-9]*/ns/pid' -printf '%l process %h in a namespace\n' 2>/dev/null |
        grep -vF "$(readlink /proc/self/ns/pid)"
    ps -e -o stat=,pid=,comm= | awk '$1 !~ /^Z/ && $3 ~ /^mero-/ { print "process", $2, $3 }'
    find /tmp /run /dev/shm -maxdepth 1 -not -path $work -printf 'file %p\n'
}

# New traces that stay: a dying process needs a moment.
leaves_nothing() {
    local left now
    left=$(traces | sort | comm -13 "$work/before" -)
    for _ in {1..50}; do
        [ -z "$left" ] && return 0
        sleep 0.1
        now=$(traces | sort)
        left=$(comm -12 <(echo "$left") <(echo "$now"))
    done
    echo "left behind: $left"
    return 1
}

# Starts the sandbox in the background, and returns when its command has printed something.
start() {
    : >"$work/out"
    "$box" "$@" >"$work/out" 2>"$work/err" &
    job=$!
    for _ in {1..300}; do
        [ -s "$work/out" ] && return 0
        sleep 0.1
    done
    cat "$work/err"
    return 1
}

# ends STATUS: the background sandbox ends with this status and leaves nothing
ends() {
    exits "$1" wait "$job" && leaves_nothing
}

interrupt_boot() {
    local signal=$1 delay=$2
    "$box" sleep 60 2>"$work/err" &
    job=$!
    sleep "$delay"
    kill "-$signal" -- "-$job"
}

fails_saying() {
    local sentence=$1
    shift
    exits 125 "$@" 2>"$work/err"
    cat "$work/err"
    [ "$(wc -l <"$work/err")" -eq 1 ] && grep -q "$sentence" "$work/err"
}

host_state() {
    hostname
    date +%Y-%m-%d
    cat /proc/sys/kernel/{core_pattern,panic,hostname} /proc/sys/vm/swappiness /proc/sys/fs/file-max
    find /etc /usr/lib/systemd /var/lib/systemd -printf '%p %m %u %s %T@\n' 2>/dev/null
}

finish() {
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
    exit
}

mount_hierarchy() {
    if [ $1 = unified ]; then
        mount -t cgroup2 cgroup2 /mnt/$1
    else
        mount -t cgroup -o none,name=$1 $1 /mnt/$1
    fi
}

has_hierarchy() {
    grep -q ":name=$1:" /proc/self/cgroup
}

gives_up() {
    for _ in {1..50}; do
        has_hierarchy "$1" || return 0
        sleep 0.1
    done
    return 1
}

if [ -z "${PRIVATE_CGROUPS:-}" ]; then
    nsenter --mount=/proc/self/ns/mnt mount --make-rprivate / || exit
    exec 8<"$0" 9<"$1"
    for folder in /tmp /run /dev/shm; do
        [ ! -d $folder ] || mount -t tmpfs tmpfs $folder
    done
    mkdir $work $root
    cp /proc/self/fd/8 $script
    cp /proc/self/fd/9 $program
    printf '#!/bin/sh\nexec %s --cgroup %s "$@"\n' $program $cgroups >$box
    chmod +x $box
    exec 8<&- 9<&-
    mkdir -p $root/{dev,proc,sys,tmp,usr,var/log}
    cp -a /bin /sbin /lib* /etc $program $root

    if [ "${2-}" = --alone ]; then
        for name in systemd meromonitor; do
            has_hierarchy $name && echo "     another process uses the hierarchy $name" && continue
            check "a sandbox to be killed" start sh -c 'echo up; exec sleep 60'
            check "has the hierarchy $name" has_hierarchy $name
            kill -KILL "$job"
            check "and releases it" gives_up $name
        done
        finish
    fi

    own=sandbox-test.$(readlink /proc/self/ns/pid | tr -dc 0-9)
    mount -t tmpfs tmpfs /mnt
    for name in $hierarchies; do
        mkdir /mnt/$name
        mount_hierarchy $name
        # Remove leftovers of killed tests; a cgroup with processes cannot be removed.
        exec 9</mnt/$name
        flock 9
        find /mnt/$name -path '*/sandbox-test.*' -depth -type d -exec rmdir {} + 2>/dev/null
        mkdir "/mnt/$name/$own"
        echo $$ >"/mnt/$name/$own/cgroup.procs"
        exec 9<&-
    done
    PRIVATE_CGROUPS=yes "${apart[@]}" --cgroup "$BASH" $script $program $cgroups
    status=$?
    for name in $hierarchies; do
        echo $$ >/mnt/$name/cgroup.procs
        rmdir "/mnt/$name/$own"
    done
    exit $status
fi

for name in $hierarchies; do
    umount /mnt/$name
    mount_hierarchy $name
done
# Gives jobs their own process groups, in which SIGINT is not ignored.
set -m

# The script that makes the roots of releases, whose path was built in; it may be below the hidden /tmp.
maker=$(grep -aoP "(?<=')/[^'\0]+(?=' )" $program)
[ -e "$maker" ] || install -D /dev/null "$maker"

traces | sort >"$work/before"
host_state >"$work/host"

check "how long booting takes" prints 'mero-sandbox: booted in [0-9]*.[0-9][0-9] s' "$box" --verbose true

while IFS='|' read -r status command; do
    check "status $status: $command" exits "$status" "$box" sh -c "$command"
done <<'TABLE'
0|true
7|exit 7
130|kill -INT $$
137|kill -KILL $$
143|kill -TERM $$
TABLE
# shellcheck disable=SC2016
check "closed standard streams become /dev/null" exits 0 bash -c 'exec 0<&- 2>&-
    "$0" sh -c "[ \$(readlink /proc/self/fd/0 /proc/self/fd/2 | uniq) = /dev/null ]"' "$box"
check "a hang-up that the caller ignores is ignored" exits 0 bash -c \
    'trap "" HUP; "$0" true & sleep 0.2; kill -HUP $!; wait $!' "$box"
check "status 126 for a file that cannot be run" exits 126 "$box" /etc/fstab
check "status 127 for a command that is not found" exits 127 "$box" no-such-command
for usage in --no-such-option "--timeout 0" "--timeout 3601" "--cgroup v3" "--release potato" "--root /etc/fstab" \
    "--bind /no/such/file" "--release trixie --root /"; do
    # shellcheck disable=SC2086 # words
    check "status 2 for $usage" exits 2 "$box" $usage true
done
check "wrong usage is named" prints "mero-sandbox: *--no-such-option*--help*" "$box" --no-such-option true
check "help" prints "*  -h,--help             Print *--release NAME *--cgroup VERSION *126 *cannot be run*127 *was not found*128+N *" "$box" --help
check "the command keeps its options" prints "--bind -v" "$box" -- echo --bind -v

check "without a command it starts a shell" prints "/bin/bash" "$box" <<<'echo $0'

# Whatever the caller's umask, descriptors and signals are. The capabilities are those that reach the host.
# shellcheck disable=SC2016 # expanded inside
describe() (
    umask 077
    exec 7</etc/fstab
    "$box" sh -c '
        stat -c "%a %n" / /dev /dev/shm /tmp /run /etc/systemd/system /etc/hostname /run/systemd/journald.conf.d
        awk "{ print \$5, \$6 }" /proc/self/mountinfo |
            grep -E "^/(run|tmp|dev|dev/pts|dev/shm|sys|proc/sys|proc/irq|proc/bus) " | sed s/,relatime//
        readlink /dev/fd /dev/stdin /dev/stdout /dev/stderr
        tr "\0" "\n" </proc/1/cmdline | sed -e 1d -e /cgroup/d
        tr "\0" "\n" </proc/1/environ
        readlink /proc/1/fd/* | grep fstab
        grep -E "^(SigBlk|SigIgn|CapInh)" /proc/self/status
        printf "%x\n" $((0x$(sed -n "s/CapBnd:\t//p" /proc/self/status) & 0xff4a131000))
        systemctl show -P LoadState dev-hugepages.mount sys-fs-fuse-connections.mount
        cat /etc/hostname /proc/cgroups /run/systemd/journald.conf.d/*
        wc -c </etc/machine-id
        umask'
)
describe >"$work/described" 2>&1
check "the system inside" diff - "$work/described" <<'TEXT'
755 /
755 /dev
1777 /dev/shm
1777 /tmp
755 /run
755 /etc/systemd/system
755 /etc/hostname
755 /run/systemd/journald.conf.d
/run rw,nosuid,nodev
/tmp rw,nosuid,nodev
/dev rw,nosuid,noexec
/dev/pts rw,nosuid,noexec
/dev/shm rw,nosuid,nodev
/sys ro,nosuid,nodev,noexec
/proc/sys ro,nosuid,nodev,noexec
/proc/irq ro,nosuid,nodev,noexec
/proc/bus ro,nosuid,nodev,noexec
/proc/self/fd
/proc/self/fd/0
/proc/self/fd/1
/proc/self/fd/2
--unit=mero-sandbox.target
--show-status=yes
container=mero-sandbox
TERM=dumb
NOTIFY_SOCKET=/run/mero-sandbox/notify
SigBlk:	0000000000000000
SigIgn:	0000000000000000
CapInh:	0000000000000000
0
masked

masked
mero-sandbox
#subsys_name	hierarchy	num_cgroups	enabled
[Journal]
Storage=volatile
33
0077
TEXT

while IFS='|' read -r expected command; do
    check "inside: $command" prints "$expected" "$box" sh -c "$command"
done <<'TABLE'
running|systemctl is-system-running
systemd|cat /proc/1/comm
mero-sandbox|hostname
active|systemctl is-active systemd-journald dbus systemd-logind | uniq
*.systemd1 *|busctl list --no-legend
*seat0*|loginctl list-seats
hello|logger -t probe hello; journalctl --sync; journalctl -o cat -t probe
|ls -A /etc/systemd/system; cat /etc/fstab
active|useradd -m tester; systemctl start user@$(id -u tester); systemctl is-active user@$(id -u tester)
running|useradd -m tester; systemctl start user@$(id -u tester); XDG_RUNTIME_DIR=/run/user/$(id -u tester) setpriv --reuid=tester --clear-groups systemctl --user is-system-running
mounted|mkdir /srv/m; mount -t tmpfs t /srv/m; systemctl show -P SubState srv-m.mount; umount /srv/m
/system.slice/probe.scope|systemd-run -q --scope -u probe grep -o '/system[^:]*scope$' /proc/self/cgroup
TABLE
check "the environment and standard input pass through" \
    prints "value text" env VARIABLE=value bash -c \
    'echo text | "$1" sh -c "read -r t; echo \$VARIABLE \$t"' - "$box"
check "environment variables for systemctl do no harm" \
    prints "" env POSIXLY_CORRECT=1 SYSTEMD_LOG_LEVEL=debug "$box" true
check "the working directory is kept" prints /usr/lib env -C /usr/lib "$box" pwd
check "a working directory that the sandbox lacks becomes /" prints / env -C "$work" "$box" pwd
mkdir "$work/bound" && echo text >"$work/bound/file"
# In a cgroup namespace only an existing hierarchy can be mounted: here that of version 1.
[ $cgroups = v2 ] || check "cgroups of both versions" prints "cgroup2fs cgroupfs" $program --cgroup mixed sh -c \
    'echo $(stat -fc %T /sys/fs/cgroup /sys/fs/cgroup/meromonitor)'
# Make it look like a newer release; the systemd that boots is the host's.
mkdir -p $root/usr/{bin,lib/systemd}
for file in bin/systemctl lib/systemd/{systemd,libsystemd-shared-258.so}; do
    install /dev/null $root/usr/$file
done
check "another root appears, with that release's cgroups" prints "cgroup2fs /mero-sandbox" $program --root $root \
    --bind /usr sh -c 'echo $(stat -fc %T /sys/fs/cgroup) /mero*'
while IFS='|' read -r status output script; do
    printf '#!/bin/sh\n%s\n' "$script" >"$work/maker"
    chmod +x "$work/maker"
    check "a release's root: $script" prints "$output" "${apart[@]}" sh -c '
        mount --bind "$1" "$2" && "$0" --release trixie --bind /usr sh -c "ls -d /mero*"; [ $? = "$3" ]; echo $?' \
        $program "$work/maker" "$maker" "$status"
done <<TABLE
0|/mero-sandbox*0|echo "$root"; [ "\$*" = trixie ]
125|mero-sandbox: there is no root file system of trixie*0|exit 1
TABLE
check "a bound path is visible" prints text "$box" --bind "$work/bound" --bind /usr/bin cat "$work/bound/file"
check "a bound path is read-only" exits 1 "$box" --bind "$work/bound" touch "$work/bound/new"
check "all these leave nothing" leaves_nothing

check "writing to the host's settings fails" exits 1 "$box" cp /dev/null /proc/sys/vm/swappiness
check "the kernel's memory, log and triggers are empty files" prints "1:3" "$box" sh -c \
    'for f in /proc/sysrq-trigger /proc/kmsg /proc/kcore; do [ ! -e $f ] || stat -c %t:%T $f; done | sort -u'
check "the clock cannot be set" exits 1 "$box" date -s 2001-01-01
check "the sandbox is writable everywhere" exits 0 "$box" sh -c \
    'hostname other; rm -r /etc/cron.d; echo x >/etc/passwd; echo x >/var/lib/x; systemctl daemon-reload'
host_state >"$work/host-after"
check "the host is unchanged" diff "$work/host" "$work/host-after"

check "refuses to run unless root" fails_saying root setpriv --reuid=65534 --clear-groups "$box" true
check "refuses without the right to mount" \
    fails_saying "not permitted" setpriv --bounding-set=-sys_admin --inh-caps=-sys_admin "$box" true
check "refuses without systemd" fails_saying missing \
    "${apart[@]}" sh -c 'mount -t tmpfs tmpfs /usr/lib/systemd && exec "$0" true' "$box"
printf '[Service]\nType=oneshot\nExecStart=/bin/false\n' >"$work/failing"
check "names a unit that fails" fails_saying "well (degraded): systemd-user-sessions.service$" "${apart[@]}" sh -c '
    unit=/usr/lib/systemd/system/systemd-user-sessions.service
    mount --bind "$1" $unit && exec "$0" --bind $unit true' "$box" "$work/failing"
printf '[Service]\nType=oneshot\nExecStart=/bin/sleep 60\n' >"$work/slow"
# The line that systemd keeps overwriting appears once; systemd 257 writes a new line each second.
# shellcheck disable=SC2016 # expanded inside
check "gives up on a boot that takes too long, and shows the console's end" \
    prints 'mero-sandbox: systemd did not finish booting in time:*
  *start running (*s / no limit) [1-9] 0' "${apart[@]}" bash -c '
    unit=/usr/lib/systemd/system/systemd-user-sessions.service
    mount --bind "$1" $unit
    out=$("$0" --bind $unit --timeout 7 true 2>&1)
    echo "$out $(grep -c "start running" <<<"$out") $(grep -c "[[:cntrl:]]" <<<"$out")"' "$box" "$work/slow"
# shellcheck disable=SC2016
check "mounts nothing where mounts are shared with others" \
    unshare --mount --propagation shared bash -c \
    'before=$(</proc/self/mountinfo); "$0" true && diff <(echo "$before") /proc/self/mountinfo' "$box"
check "failures leave nothing" leaves_nothing

for delay in 0 0.01 0.03 0.06 0.1 0.15 0.2; do
    for signal in INT:130 KILL:137; do
        interrupt_boot "${signal%:*}" $delay
        check "SIG${signal%:*} $delay s after the start ends it" ends "${signal#*:}"
    done
done
for signal in TERM:143 HUP:129; do
    interrupt_boot "${signal%:*}" 0.1
    check "SIG${signal%:*} during boot ends it" ends "${signal#*:}"
done

check "a command that waits" start sh -c 'echo up; exec sleep 60'
kill -INT -- "-$job"
check "is ended by SIGINT" ends 130
check "a command that handles SIGTERM" start sh -c 'trap "exit 9" TERM; echo up; while :; do sleep 0.1; done'
kill -TERM "$job"
check "gets it" ends 9
check "Ctrl-C at a terminal ends the command" exits 130 bash -c \
    '(sleep 2; printf "\003"; sleep 2) | script -qec "$1 sleep 60" /dev/null' - "$box"
check "and leaves nothing" leaves_nothing

check "a sandbox whose program will be killed" start sh -c 'echo up; exec sleep 60'
kill -KILL "$job"
check "dies" ends 137
check "a sandbox whose keeper will be killed too" start sh -c 'echo up; exec sleep 60'
kill -KILL "$job" "$(pgrep -P "$job" -x mero-keeper)"
check "dies" exits 137 wait "$job"
check "and leaves cgroups" prints '*cgroup /mnt/*mero-sandbox-*' traces
check "which the next one" exits 0 "$box" true
check "removes" leaves_nothing
exec 3</etc/fstab 4<&3
check "a sandbox whose keeper alone will be killed" start sh -c 'echo up; exec sleep 60'
exec 3<&- 4<&-
keeper=$(pgrep -P "$job" -x mero-keeper)
parent=$(pgrep -P "$job" -x mero-sandbox)
check "whose command has a parent without the caller's descriptors" prints "no" \
    sh -c 'ls -l "/proc/$1/fd" | grep -q fstab && echo yes || echo no' - "$parent"
# shellcheck disable=SC2046 # words
check "which has left the caller's terminal and folder" prints "$keeper / /dev/null /dev/null /dev/null" \
    echo $(ps -o sid= "$keeper") $(readlink "/proc/$keeper/cwd" /proc/$keeper/fd/{0,1,2})
kill -KILL "$keeper"
check "ends its command" exits 137 wait "$job"
check "and prints why" grep -q keeper "$work/err"
check "the next one removes" exits 0 "$box" true
check "all of it" leaves_nothing
check "a poweroff inside ends the command" exits 143 "$box" sh -c 'systemctl poweroff; sleep 60'
check "and leaves nothing" leaves_nothing

# Becomes a sandbox in that root, with the host's folders in $bound. Call it in a subshell.
chrooted() {
    # shellcheck disable=SC2016 # expanded inside
    exec "${apart[@]}" sh -c 'cd "$1"; for folder in $2; do mount --rbind "/$folder" "$folder"; done
        shift 2; before=$(cat /proc/self/mountinfo)
        $exec chroot . /mero-sandbox --cgroup "$0" --bind /usr "$@"
        [ "$(cat /proc/self/mountinfo)" = "$before" ] || echo mounts are left' "$cgroups" "$root" "$bound" "$@"
}
: >"$root/dev/null" # what writing to a missing /dev/null creates
for bound in usr "usr proc sys dev"; do
    check "a chroot that has $bound" prints "running*/mero-sandbox" chrooted sh -c 'systemctl is-system-running; echo /mero*'
    exec=exec box=chrooted check "a sandbox there to be killed" start sh -c 'echo up; exec sleep 60'
    kill -KILL "$job"
    check "dies" ends 137
done

several() {
    local i jobs=()
    for i in 1 2 3 4; do
        "$box" sh -c "echo $i >/etc/which; sleep 0.5
            systemctl is-system-running && exit \$(cat /etc/which)" &
        jobs+=($!)
    done
    for i in 1 2 3 4; do
        exits $i wait "${jobs[i - 1]}" || return 1
    done
}
check "four at once do not interfere" several
check "and leave nothing" leaves_nothing

finish

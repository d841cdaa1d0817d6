#!/bin/sh
# Upgrades the packages of one directory to those of another, inside the sandbox, on a machine in use, then removes and
# purges them: package_upgrade_test.sh OLD NEW. Nobody answers a question of dpkg.
set -eu
. "$(dirname "$0")/package_checks.sh"
old=$1
new=$2
configuration=/usr/mero/etc/merosystemd/systemctl.conf
version_of() { find "$1" -name 'merosystemctl_*.deb' -exec dpkg-deb --field {} Version \;; }
unmounting=
names=$(find "$new" -name '*.deb' ! -name '*-dbgsym_*' -exec dpkg-deb --field {} Package \;)

# The machine, but for what dpkg, systemd and the loader note about themselves.
listing() {
    find /etc /opt /run/merosystemd /run/systemd/system /srv /usr /var -xdev \( -path /etc/ld.so.cache -o \
        -path /var/cache -o -path /var/lib/dpkg -o -path /var/lib/systemd -o -path /var/log \) -prune -o \
        -printf '%y %M %U %p -> %l\n' 2> /dev/null | sort
}
# is STATE UNIT: waits up to ten seconds for it.
is() {
    for _ in $(seq 100); do
        [ "$(systemctl show --value -p ActiveState "$2")" != "$1" ] || return 0
        sleep 0.1
    done
    systemctl status "$2"
    return 1
}
runs_version() {
    version=$(version_of "$1")
    merosystemctl --version | grep -Fx "merosystemctl ${version%+deb*}"
}

begin_unmounting() {
    mkdir -p /volume1
    mountpoint -q /volume1 || mount -t tmpfs tmpfs /volume1
    rm -f /run/may-stop
    systemctl start user
    merosystemctl volume unmount /volume1 > "$work/unmounting" 2>&1 &
    unmounting=$!
    is deactivating user
}
end_unmounting() {
    touch /run/may-stop
    wait "$unmounting" || { echo "exit code $?"; cat "$work/unmounting"; return 1; }
    is active user && ! mountpoint /volume1 && grep 'running again: user.service' "$work/unmounting"
}
begins_with_old() {
    install_from "$old" && runs_version "$old" && install -D -m 644 "$work/edited" "$configuration" &&
        systemctl start held user && merosystemctl reason add check held &&
        merosystemctl volume register /volume1 --unit user && begin_unmounting
}
upgrades() { install_from "$new" "$@" && runs_version "$new"; }
upgrades_unasked() { upgrades --force-confold; }
knows() {
    merosystemctl reason list | grep '^held.service *check$' &&
        merosystemctl volume list | grep 'user.service */volume1$'
}
refuses_to_start() { merosystemctl start held || [ $? = 3 ] && ! systemctl is-active held; }
stays_held() { systemctl start held && ! systemctl is-active held; }
releases() { merosystemctl reason release check held && is active held; }
unmounts() { begin_unmounting && end_unmounting; }

# Prints the packages that are not what the upgrade makes of them.
unfinished() {
    # shellcheck disable=SC2086 # a list of words
    dpkg-query -W -f '${Version} ${db:Status-Status} ${Package}\n' $names |
        grep -vF "$(version_of "$new") installed" || true
}
# Kills dpkg once it has unpacked the library.
breaks_off() {
    mkfifo "$work/status"
    install_from "$new" --status-fd 9 9> "$work/status" > "$work/dpkg" 2>&1 &
    sed '/libmerosystemd7.*: unpacked/q' "$work/status"
    kill -KILL "$(pidof dpkg)"
    wait
    unfinished | grep .
}
repairs() {
    dpkg --configure --pending || true # a package that was being unpacked is installed anew
    upgrades && [ -z "$(dpkg --audit)" ] && [ -z "$(unfinished)" ] &&
        [ -z "$(echo "$names" | xargs dpkg --verify)" ]
}
keeps_edited() { cmp "$work/edited" "$configuration" && ls "$configuration"* && [ ! -e "$configuration.dpkg-new" ]; }
removes() { echo "$names" | xargs dpkg --remove && [ ! -e /usr/bin/merosystemctl ]; }
purges() { echo "$names" | xargs dpkg --purge; }
is_clean() {
    listing > "$work/after"
    diff "$work/before" "$work/after"
}

printf '# of this machine\ndialect=current\n' > "$work/edited"
printf '[Service]\nExecStart=/bin/sleep infinity\n' > /etc/systemd/system/held.service
cat > /etc/systemd/system/user.service << 'END'
[Service]
ExecStart=/bin/sleep infinity
ExecStop=/bin/sh -c 'until [ -e /run/may-stop ]; do sleep 0.1; done'
[X-Tarvix]
VolumeDependency=partial
END
systemctl daemon-reload
mkdir /volume1
touch /run/may-stop
listing > "$work/before"

check "the old release unmounts a volume" begins_with_old
check "the packages are upgraded meanwhile" upgrades_unasked
check "the unmounting ends well" end_unmounting
check "the configuration that was edited is kept" keeps_edited
check "holds and registrations are known to the new release" knows
check "it refuses to start a held service" refuses_to_start
check "it starts the service when the hold is released" releases
check "it unmounts the volume" unmounts

check "a service is held when the packages are removed" merosystemctl reason add check held
check "the packages are removed" removes
check "the configuration is kept" keeps_edited
check "the service stays held" stays_held
check "the packages are purged" purges
check "the registration is kept" grep -F /volume1 /usr/mero/etc/merosystemd/volume-register/user.service
check "the service is no longer held" sh -c 'systemctl start held && systemctl is-active held'

check "the old release is installed again" install_from "$old"
check "dpkg is killed during the upgrade" breaks_off
check "the upgrade is repeated, and complete" repairs
check "the new release brings its configuration" grep -x dialect=current "$configuration"
check "the configuration is edited" cp "$work/edited" "$configuration"
check "the next upgrade asks nothing about it" upgrades
check "and keeps what was edited" keeps_edited
check "the registration is taken back" merosystemctl volume unregister /volume1 --unit user
check "the packages are purged again" purges
check "nothing is left of them" is_clean
finish

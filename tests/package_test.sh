#!/bin/sh
# Installs the packages of a directory, inside the sandbox, and uses them like somebody who has nothing else:
# package_test.sh DIRECTORY. Prints a line for each check.
set -eu
. "$(dirname "$0")/package_checks.sh"
packages=$1
cd "$(dirname "$0")/../examples"

version() {
    packaged=$(dpkg-query -W -f '${Version}' merosystemctl)
    merosystemctl --version | grep -Fx "merosystemctl ${packaged%+deb*}"
}

# Every program and library in the packages.
binaries() {
    dpkg -L merosystemctl libmerosystemd7 libmerocore7 libmerobootseq7 | grep -E '/s?bin/.|\.so\.'
}
no_search_path() {
    binaries | xargs readelf --dynamic --wide > "$work/dynamic" && grep -q 'NEEDED.*libmerosystemd' "$work/dynamic" &&
        ! grep -E 'RPATH|RUNPATH' "$work/dynamic"
}
hardened() {
    for file in $(binaries); do
        echo "$file"
        readelf --dynamic --file-header --wide "$file" > "$work/header" && grep 'Type: *DYN' "$work/header" &&
            grep BIND_NOW "$work/header" || return
    done
    nm -D /usr/bin/merosystemctl | grep __stack_chk_fail && nm -D /usr/lib/*/libmerosystemd.so.7 | grep '_chk@'
}

by_pkg_config() {
    # shellcheck disable=SC2046 # a list of words
    cc -std=c11 -Werror start_unit.c $(pkg-config --cflags --libs merosystemd) -o "$work/start_unit" &&
        c++ -std=c++20 -Werror restart_units.cpp $(pkg-config --cflags --libs merosystemd) -o "$work/restart_units"
}
by_cmake() {
    cmake -S . -B "$work/cmake" && cmake --build "$work/cmake"
}

# runs START RESTART: the examples manage a service on the real systemd.
runs() {
    systemctl stop packaged
    "$1" packaged && systemctl is-active packaged || return
    first=$(systemctl show --value -p MainPID packaged)
    "$2" packaged && systemctl is-active packaged && [ "$(systemctl show --value -p MainPID packaged)" != "$first" ]
}

names_failed() { "$work/restart_units" packaged unknown 2>&1 | grep -x 'unknown was not restarted; the system log says why'; }

plan() {
    mkdir /volume1 && mount -t tmpfs tmpfs /volume1 && merosystemctl start packaged && merosystemctl volume plan /volume1 | grep '^packaged.service '
}
conffile() {
    dpkg-query -W -f '${Conffiles}' libmerosystemd7 | grep -F /usr/mero/etc/merosystemd/systemctl.conf
}
start() { merosystemctl start "$1"; }
restart() { merosystemctl restart "$1"; }

# Only the packages set anything up.
[ ! -e /usr/mero/etc ] || { echo "package_test.sh: /usr/mero/etc exists already" >&2; exit 1; }
printf '[Service]\nExecStart=/bin/sleep infinity\n[X-Tarvix]\nVolumeDependency=all\n' \
    > /run/systemd/system/packaged.service
systemctl daemon-reload

check "the packages can be installed" install_from "$packages"
check "the program runs and has the package's version" version
check "the program manages a service" runs start restart
check "a volume's plan lists the services that depend on all volumes" plan
check "the dialect's file is a configuration file" conffile
if command -v man > /dev/null; then
    for page in merosystemctl merosystemd-files libmerosystemd MEROSystemdStart MLIBCExec MERO::Systemd::Slice; do
        check "there is a manual page $page" man -w "$page"
    done
fi
check "no binary has a library search path" no_search_path
check "all binaries are hardened" hardened
check "the examples build with pkg-config" by_pkg_config
check "the example built with pkg-config manages a service" runs "$work/start_unit" "$work/restart_units"
check "and names the unit that was not restarted" names_failed
check "the examples build with CMake's find_package" by_cmake
check "the example built with CMake manages a service" runs "$work/cmake/example_start_unit" "$work/cmake/example_restart_units"
finish

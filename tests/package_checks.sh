# shellcheck shell=sh
# Sourced by the tests of packages. They end with "finish".
work=$(mktemp -d)
failed=0

# check WHAT COMMAND...: succeeds if the command does
check() {
    what=$1
    shift
    if "$@" > "$work/log" 2>&1; then
        echo "ok   $what"
    else
        echo "FAIL $what"
        sed 's/^/     /' "$work/log"
        failed=1
    fi
}
finish() { exit "$failed"; }

# Installs the packages in a directory, without debugging symbols: install_from DIRECTORY [OPTION-OF-DPKG...]
install_from() {
    directory=$1
    shift
    find "$directory" -name '*.deb' ! -name '*-dbgsym_*' -print0 | sort -z | xargs -0 dpkg "$@" --install
}

# shellcheck shell=sh
# Sourced by the tests of packages.
. "$(dirname "$0")/checks.sh"

# Installs the packages in a directory, without debugging symbols: install_from DIRECTORY [OPTION-OF-DPKG...]
install_from() {
    directory=$1
    shift
    find "$directory" -name '*.deb' ! -name '*-dbgsym_*' -print0 | sort -z | xargs -0 dpkg "$@" --install
}

#!/bin/sh
# Installs the program from an apt repository, inside the sandbox, and sees that apt refuses what was changed there:
# package_repository_test.sh REPOSITORY SUITE. There is no other source, and so no network is needed.
set -eu
. "$(dirname "$0")/package_checks.sh"
original=$1
suite=$2
repository=/srv/packages
source=/etc/apt/sources.list.d/merosystemd.sources

# Sets the machine up as the help of scripts/package says, with a repository that nobody has changed.
fresh() {
    rm -rf "$repository" /etc/apt/sources.list /etc/apt/sources.list.d/* /var/lib/apt/lists/*
    cp -r "$original" "$repository"
    install -D -m 644 "$repository/merosystemd.asc" /etc/apt/keyrings/merosystemd.asc
    "$(dirname "$0")/../scripts/package" --help | sed -n "/^  Types:/,\$s/^  //p" |
        sed "s|^URIs:.*|URIs: file:$repository|; s/^Suites:.*/Suites: $suite/" > "$source"
}
installs() {
    apt-get clean
    apt-get update && apt-get install --yes --no-install-recommends merosystemctl && merosystemctl --version
}
# refused WORDS COMMAND...: once the command has changed the repository, apt installs nothing, and its reason has such
# words.
refused() {
    words=$1
    shift
    fresh
    "$@"
    ! installs > "$work/apt" 2>&1 && ! dpkg-query -W merosystemctl 2> /dev/null && grep -E "$words" "$work/apt"
}

change_package() { printf x | dd conv=notrunc bs=1 seek=500 of="$(ls "$repository/pool/$suite"/merosystemctl_*.deb)"; }
change_index() { find "$repository/dists/$suite/main" -type f -exec sed -i s/7/8/ {} +; }
remove_signature() { rm "$repository/dists/$suite/InRelease" "$repository/dists/$suite/Release.gpg"; }
change_list() { sed -i 's/^Suite:.*/Suite: other/' "$repository/dists/$suite/InRelease"; }
expect_another_key() { sed -i /Signed-By/d "$source"; }

check "a package that was changed is refused" refused 'Hash Sum mismatch' change_package
check "an index that was changed is refused" refused 'Hash Sum mismatch|unexpected size' change_index
check "a list without signature is refused" refused 'is not signed' remove_signature
check "a list that was changed is refused" refused 'BADSIG|[Bb]ad signature|not signed' change_list
check "a list that another key signed is refused" refused 'NO_PUBKEY|Missing key' expect_another_key
fresh
check "apt installs the program" installs
finish

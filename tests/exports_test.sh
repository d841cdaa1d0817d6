#!/bin/sh
# Compares the libraries' exports with what is published: headers, version scripts and the packages' symbols files.
# exports_test.sh SOURCE-DIRECTORY LIBRARY...
set -eu
cd "$1"
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

failed=0
fail() {
    echo "$*" >&2
    failed=1
}
same() {
    diff -u --label "$1" --label "$2" "$work/$1" "$work/$2" || failed=1
}

for library in "$@"; do
    name=${library##*/lib}
    name=${name%%.so*}

    # Remove comments first: they name functions too.
    find include platform -path "*include/$name/*" -exec g++ -w -x c++ -fpreprocessed -dD -E -P '{}' \; |
        grep -oE '\b_?(MEROC?System|MLIBC)[A-Za-z0-9]+\(' | tr -d '(' | sort -u > "$work/headers"
    nm -DC --defined-only "$library" | sed -E 's/^[0-9a-f]* //; s/@@/@/' | grep -v '^A ' > "$work/symbols"
    sed -n 's/^T //p' "$work/symbols" | sort -u > "$work/library"
    sed -nE 's/^(\w+)[(@].*/\1/p' "$work/library" | sort -u > "$work/functions"
    sed -nE '/^ MERO[A-Z]+_7@/d; /arch-bits=32/d; s/^ (\(c\+\+[^)]*\)")?(.*@[A-Z_0-9]+)"? [0-9.]+$/\2/p' \
        "packaging/debian/lib${name}7.symbols" | sort -u > "$work/package"
    same headers functions
    same package library
    [ -s "$work/headers" ] || fail "$name: no headers"

    # Which inline members of the public classes become symbols differs between builds.
    classes='(SystemctlOptsBuilder|CommandOptions|JobInfo|Process|Slice)'
    if grep -vE "^(T |W MERO::Systemd::$classes::)" "$work/symbols"; then
        fail "these are exported but not published"
    fi
    find src platform -name "$name.map" -exec sed -nE 's/^ +(global: )?([A-Za-z_:]+\*?);/\2/p' '{}' + > "$work/patterns"
    while read -r pattern; do
        grep -q "^T ${pattern%\*}" "$work/symbols" || fail "$name.map: no symbol matches $pattern"
    done < "$work/patterns"
    soname=$(readelf -d "$library" | sed -nE 's/.*SONAME.*\[(.*)\]/\1/p')
    [ "$soname" = "lib$name.so.7" ] || fail "the soname is $soname"
    echo "lib$name: $(wc -l < "$work/functions") functions"
done
exit $failed

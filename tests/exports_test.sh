#!/bin/sh
# Holds what the library shows against what the public headers declare: exports_test.sh INCLUDE-DIRECTORY LIBRARY
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Without comments, which name functions too.
for header in "$1"/*.h "$1"/*.hpp; do
    g++ -w -x c++ -fpreprocessed -dD -E -P "$header"
done | grep -oE '\b_?MEROC?Systemd[A-Za-z0-9]+\(' | tr -d '(' | sort -u > "$work/declared"

nm -DC --defined-only "$2" | sed 's/^[0-9a-f]* //' | grep -v '^A ' > "$work/symbols"
sed -nE 's/^T (_?MEROC?Systemd[A-Za-z0-9]+).*/\1/p' "$work/symbols" | sort -u > "$work/shown"

failed=0
if ! diff -u --label declared --label shown "$work/declared" "$work/shown"; then
    failed=1
fi
# Besides these there are the public classes' members, the helpers of the namespace, and nothing else.
helpers='(CheckServiceHasReason|LinkMeroReason|ListServicesWithReason|UnlinkReasons)[([]'
if grep -vE "^[TW] (_?MEROC?Systemd[A-Za-z0-9]+|MERO::Systemd::((SystemctlOptsBuilder|CommandOptions|JobInfo|Process|Slice)::|$helpers))" "$work/symbols"; then
    echo "these are visible and not published" >&2
    failed=1
fi
soname=$(readelf -d "$2" | sed -nE 's/.*SONAME.*\[(.*)\]/\1/p')
if [ "$soname" != libmerosystemd.so.7 ]; then
    echo "the soname is $soname" >&2
    failed=1
fi
[ "$(wc -l < "$work/shown")" -gt 50 ] && [ $failed = 0 ] && echo "$(wc -l < "$work/shown") functions, as published"

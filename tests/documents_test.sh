#!/bin/sh
# Checks that the README's program matches examples/ and its compiler lines work, and that merosystemctl's manual page
# has every command and option of its help: documents_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY
set -eu
cd "$1"
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sed -n '/^```c$/,/^```$/p' README.md | sed '1d;$d' | diff -u - examples/start_unit.c

# Run the lines as they are, in examples/, but with this build in place of pkg-config's answer.
{
    echo "set -eu; cd examples"
    sed -n 's/^    \(cc \|c++ \)/\1/p' README.md | sed "s|-o |-Werror -Wl,-rpath,$build/lib -o $work/|
        s|\$(pkg-config .*merosystemd)|-I../include -I../platform/core/include -L$build/lib -lmerosystemd -lmerocore|"
} > "$work/lines"
[ "$(wc -l < "$work/lines")" = 3 ]
sh "$work/lines"
"$work/start_unit" 2> "$work/message" && exit 1
grep -qx 'not started (error 0x0000); the system log says why' "$work/message"
"$work/restart_units" && exit 1
echo "the examples build by the lines of the README"

help() { "$build/bin/merosystemctl" "$@" --help < /dev/null; }
commands() { help "$@" | sed -n '/^Options:/,/^Exit status:/s/^  \([a-z][a-z-]*\)  .*/\1/p'; }
options() { help "$@" | sed -n 's/^  \(-[a-z],\)\?\(--[a-z-]*\) .*/\2/p'; }

options > "$work/names"
for command in $(commands); do
    words=$(commands "$command")
    [ -n "$words" ] || echo "$command" >> "$work/names"
    for word in "" $words; do
        [ -z "$word" ] || echo "$command $word" >> "$work/names"
        options "$command" $word >> "$work/names"
    done
done
[ "$(wc -l < "$work/names")" -gt 100 ]
while read -r name; do
    grep -qF "*$name*" docs/man/merosystemctl.1.scd || { echo "the manual page lacks $name" && false; }
done < "$work/names"
echo "the manual page has every command and option"

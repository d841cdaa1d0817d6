#!/bin/sh
# Checks that the README's program matches examples/ and its compiler lines work, and that merosystemctl's manual page
# has every command, argument and option of its help: documents_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY
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
options() { help "$@" | sed -En 's/^  (-[a-z],)?(--[a-z-]*)( ([A-Z]+))?( .*|$)/*\2* _\4_/p' | sed 's/ __$//'; }
arguments() { help "$@" | sed -n 's/^Usage:.*OPTIONS\] \?//p' | grep -o '[A-Z]*'; }

lacks() { echo "the manual page lacks $1"; false; }

page=docs/man/merosystemctl.1.scd
options > "$work/options"
for command in $(commands); do
    words=$(commands "$command")
    for word in ${words:-""}; do
        name="$command${word:+ $word}"
        usage=$(grep "^\*\(.*\*\)\?$name\*" $page) || lacks "$name"
        for argument in $(arguments $name); do
            [ "${usage#*_"$argument"_}" != "$usage" ] || lacks "$argument of $name"
        done
        for option in $(echo "$usage" | grep -o -- '--[a-z][a-z-]*'); do
            help $name | grep -q -- "$option" || { echo "$name has no $option" && false; }
        done
        options $name >> "$work/options"
    done
done
[ "$(wc -l < "$work/options")" -gt 100 ]
while read -r option; do
    grep -qF "$option" $page || lacks "$option"
done < "$work/options"
echo "the manual page has every command, argument and option"

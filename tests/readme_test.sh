#!/bin/sh
# The README's programs are those in examples/, and its compiler lines work: readme_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY
set -eu
cd "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

block() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" README.md | sed '1d;$d'; }
block c | diff -u - examples/start_unit.c
block 'c++' | diff -u - examples/restart_units.cpp

# The lines are run as they stand, with this build and into a folder that goes away.
{
    echo "set -eu"
    sed -n '/^    B=build/,/^$/s/^    //p' README.md | sed "s|build/release|$2|; s|\$PWD/\$B|\$B|g; s|-o |-Werror -o $work/|"
} > "$work/lines"
sh "$work/lines"
"$work/start_unit" 2> "$work/message" && exit 1
grep -qx 'not started (error 0x0000); the system log says why' "$work/message"
"$work/restart_units" && exit 1
echo "both programs stand in the README, build and link"

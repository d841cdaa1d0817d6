#!/bin/sh
# Runs one fuzzer, for scripts/fuzz: run_target.sh -runs|-max_total_time AMOUNT TARGET. Prints one line. If the fuzzer
# finds something, the input stays in build/fuzz/findings/ and the exit code is 1. The caller provides TMPDIR.
set -eu
unit=$1 amount=$2 target=$3
fuzzer=build/fuzz/bin/fuzz_$target
prefix=build/fuzz/findings/$target-
messages=$TMPDIR/$target.log
began=$(date +%s)
rm -f "$prefix"*
mkdir "$TMPDIR/$target.new"
: > "$messages"

executed() {
    echo $(($(sed -n 's/^stat::number_of_executed_units: *//p' "$messages" | paste -s -d +) + 0))
}

# Tries inputs of up to $1 bytes, for $2 runs or seconds.
run() {
    before=$(executed)
    if "$fuzzer" -max_len="$1" -timeout=1 -rss_limit_mb=512 "$unit=$2" -print_final_stats=1 \
        -artifact_prefix="$prefix" "$TMPDIR/$target.new" "fuzz/seeds/$target" >> "$messages" 2>&1; then
        return 0
    fi
    # The limit of one second is wall time. An input that passes on its own was slow because the machine was busy.
    slow=$(find build/fuzz/findings -name "$target-timeout-*")
    if [ -n "$slow" ] && "$fuzzer" -timeout=1 "$slow" >> "$messages" 2>&1; then
        rm "$slow"
        left=$2
        [ "$unit" != -runs ] || left=$(($2 - $(executed) + before))
        [ "$left" -le 0 ] || run "$1" "$left"
        return
    fi
    return 1
}

found=0
{ run 256 $((amount - amount / 10)) && run 65536 $(((amount + 9) / 10)); } || found=1
printf '%-18s %9s runs %5s s  %s findings\n' "$target" "$(executed)" $(($(date +%s) - began)) "$found"
if [ "$found" != 0 ]; then
    tail -n 40 "$messages" >&2
    ls "$prefix"* >&2
fi
exit "$found"

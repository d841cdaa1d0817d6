# shellcheck shell=sh
# Sourced by tests that are scripts. It makes the folder $work; they end with "finish".
work=$(mktemp -d)
failed=0

# check WHAT COMMAND...: succeeds if the command does
check() {
    what=$1
    shift
    if "$@" > "$work/output" 2>&1; then
        echo "ok   $what"
    else
        echo "FAIL $what"
        sed 's/^/     /' "$work/output"
        failed=1
    fi
}
finish() { exit "$failed"; }

# What the steps of the trial share. Sourced by them, inside the system that Deploy/check made.
set -eu

fail() {
    echo "trial: $*" >&2
    exit 1
}

# expect_stat FILE 'MODE USER:GROUP'
expect_stat() {
    [ "$(stat -c '%a %U:%G' "$1")" = "$2" ] || fail "$1 is $(stat -c '%a %U:%G' "$1"), not $2"
}

# wait_for SECONDS WHAT COMMAND...
wait_for() {
    tries=$(($1 * 10)) what=$2
    shift 2
    until "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        [ "$tries" -gt 0 ] || fail "waited in vain for $what"
        sleep 0.1
    done
}

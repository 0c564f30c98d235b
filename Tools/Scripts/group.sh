# shellcheck shell=bash
# Runs a command so that ending this script ends it too, whichever way. Source it.

# zr_run_group [--shield] COMMAND...: runs it in a session of its own, hands SIGINT,
# SIGTERM and SIGHUP on to all of it as SIGTERM and returns the command's status once it
# has ended. Its input is empty. With --shield the command starts with those signals
# ignored: for a wrapper around a program that sets its own handlers and must live to report.
zr_run_group() {
    local child status signals=("--default-signal=INT,QUIT")
    if [[ $1 == --shield ]]; then
        signals=("--ignore-signal=INT,TERM,HUP")
        shift
    fi
    setsid setpriv --pdeathsig TERM env "${signals[@]}" "$@" </dev/null &
    child=$!
    # shellcheck disable=SC2064 # the number is meant to be put in now
    trap "kill -TERM -- -$child 2>/dev/null || kill -TERM $child 2>/dev/null || true" INT TERM HUP
    while :; do
        status=0
        wait "$child" || status=$?
        kill -0 "$child" 2>/dev/null || break # otherwise a signal ended the wait
    done
    wait "$child" 2>/dev/null || status=$?
    trap - INT TERM HUP
    return "$status"
}

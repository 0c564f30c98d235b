# shellcheck shell=bash
# Options of the sanitizers, and what of them works on this machine. Source it, after
# common.sh.

# zr_probe SANITIZER LAUNCHER...: runs an empty program built with it.
zr_probe() {
    local sanitizer=$1 probe=build/probe-$1
    shift
    printf 'int main() { return 0; }\n' | g++ -x c++ - "-fsanitize=$sanitizer" -o "$probe"
    "$@" "$probe"
}

# AddressSanitizer looks for leaks at the end, which needs ptrace; some containers forbid that.
zr_asan_options() {
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1:check_initialization_order=1
    if ! zr_probe address >/dev/null 2>&1; then
        export ASAN_OPTIONS=${ASAN_OPTIONS/detect_leaks=1/detect_leaks=0}
        zr_probe address || zr_fail "AddressSanitizer does not work here"
        zr_say "note: leaks are not looked for, this machine does not let LeakSanitizer work"
    fi
}

# ThreadSanitizer needs the usual address layout; where the kernel randomises more than
# it expects, the randomising is switched off for the tests (`launcher`).
zr_tsan_options() {
    export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
    zr_probe thread >/dev/null 2>&1 && return
    launcher=(setarch "$(uname -m)" --addr-no-randomize)
    zr_probe thread "${launcher[@]}" || zr_fail "ThreadSanitizer does not work here"
}

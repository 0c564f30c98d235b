# shellcheck shell=bash
# What every script needs: messages and acting as root. Source it.

zr_say() {
    printf '%s\n' "$*"
}

# zr_fail TEXT: one line to standard error, exit status 1.
zr_fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# zr_usage_error TEXT: one line to standard error, exit status 2.
zr_usage_error() {
    printf '%s (see --help)\n' "$*" >&2
    exit 2
}

# True when zr_as_root can work: root itself, or sudo (without a password when nobody
# is there to type one).
zr_can_be_root() {
    [[ $EUID -eq 0 ]] && return 0
    command -v sudo >/dev/null || return 1
    [[ -t 0 ]] || sudo -n true 2>/dev/null
}

# zr_as_root COMMAND...: runs it as root.
zr_as_root() {
    if [[ $EUID -eq 0 ]]; then
        "$@"
    else
        sudo -- "$@"
    fi
}

# shellcheck shell=bash
# Runs a command on the machine's own /firmware and /tmp, where no namespaces can be had.
# Source it, after common.sh and group.sh.
#
# One run at a time: /tmp itself is the lock, held as long as the run. What the run makes
# is removed at its end; what was there before is not touched.

ZR_FIRMWARE_MARK=/firmware/.made-for-a-run
ZR_SERVICE_SOCKETS=(/tmp/AudioStream_Fpga_to_Arm /tmp/AudioStream_Arm_to_Fpga /tmp/CtrlStream_Arm_to_Fpga)

# zr_in_place [--shield] COMMAND...: runs it, as zr_run_group does, and returns its status.
zr_in_place() {
    local status=0
    zr_say "no namespaces: running in place, with /firmware and the sockets in /tmp of this machine"
    zr_lock_paths
    zr_refuse_used_sockets
    trap zr_clean_paths EXIT
    zr_make_firmware
    rm -rf /tmp/zr-run.* 2>/dev/null || true # of a killed run
    TMPDIR=$(mktemp -d /tmp/zr-run.XXXXXX)
    export TMPDIR
    zr_run_group "$@" 9<&- || status=$?
    zr_clean_paths
    trap - EXIT
    return "$status"
}

# Waits at most ten minutes for another run to end.
zr_lock_paths() {
    exec 9</tmp
    flock -n 9 && return
    zr_say "waiting for another run in place to end"
    flock -w 600 9 || zr_fail "another run in place has not ended in ten minutes"
}

# A service or peer of somebody else's must not meet the run.
zr_refuse_used_sockets() {
    local socket
    for socket in "${ZR_SERVICE_SOCKETS[@]}"; do
        if grep -q " $socket\$" /proc/net/unix; then
            zr_fail "$socket is in use by another process: not running over it"
        fi
    done
}

# Makes /firmware for the run. One that a killed run left behind is ours to replace.
zr_make_firmware() {
    if [[ -e /firmware && ! -e $ZR_FIRMWARE_MARK ]]; then
        zr_fail "/firmware is there already: not running over it"
    fi
    zr_remove_firmware
    if mkdir /firmware 2>/dev/null || sudo -n install -d -o "$EUID" /firmware 2>/dev/null; then
        : >"$ZR_FIRMWARE_MARK"
        # The service makes its directories without search permission: only root gets through.
        [[ $EUID -eq 0 ]] || mkdir -p /firmware/log/ZRFpgaMng /firmware/audio
    else
        zr_say "note: this user cannot make /firmware, the service will write no log"
    fi
}

zr_remove_firmware() {
    [[ -e $ZR_FIRMWARE_MARK ]] || return 0
    find /firmware -mindepth 1 ! -path "$ZR_FIRMWARE_MARK" -delete || return 0
    rm -f "$ZR_FIRMWARE_MARK"
    rmdir /firmware 2>/dev/null || sudo -n rmdir /firmware
}

zr_clean_paths() {
    trap '' INT TERM HUP # once begun it is finished
    rm -f "${ZR_SERVICE_SOCKETS[@]}" || true # somebody else's stale file stays
    [[ -n ${TMPDIR:-} && $TMPDIR == /tmp/zr-run.* ]] && rm -rf "$TMPDIR"
    zr_remove_firmware
    trap - INT TERM HUP
}

# shellcheck shell=bash
# Runs a command where the service's fixed paths (/firmware, its sockets in /tmp) are the
# run's own. Source it, after common.sh and group.sh.
#
# ZR_SANDBOX chooses the way: auto (the first that works here), bwrap, unshare or none
# (in place).

# shellcheck source=Tools/Scripts/inplace.sh
source "$ZR_TREE/Tools/Scripts/inplace.sh"

# zr_in_sandbox [--shield] COMMAND...: runs it and returns its status. With --shield a
# signal for the run reaches the command only, not what stands around it.
zr_in_sandbox() {
    local shield=()
    if [[ $1 == --shield ]]; then
        shield=(--shield)
        shift
    fi
    zr_choose_sandbox
    if [[ ${#ZR_WRAPPER[@]} -gt 0 ]]; then
        zr_run_group "${shield[@]}" "${ZR_WRAPPER[@]}" "$@"
    else
        zr_in_place "${shield[@]}" "$@"
    fi
}

# Sets ZR_WRAPPER to the words that stand before a command; none: in place.
zr_choose_sandbox() {
    local way ways
    case ${ZR_SANDBOX:-auto} in
    auto) ways=(bwrap bwrap_shared_pids unshare) ;;
    bwrap) ways=(bwrap bwrap_shared_pids) ;;
    unshare) ways=(unshare) ;;
    none) ways=() ;;
    *) zr_usage_error "ZR_SANDBOX must be auto, bwrap, unshare or none" ;;
    esac
    for way in "${ways[@]}"; do
        "zr_wrapper_$way"
        "${ZR_WRAPPER[@]}" true >/dev/null 2>&1 && return
    done
    ZR_WRAPPER=()
    case ${ZR_SANDBOX:-auto} in
    bwrap | unshare) zr_fail "$ZR_SANDBOX cannot make namespaces here" ;;
    esac
}

# A new root: everything of / as it is, but /firmware, /tmp and shared memory of its own.
# The tree stays writable, wherever it lies.
zr_wrapper_bwrap() {
    zr_bwrap_with --unshare-pid --proc /proc
}

# The same where a container lets nobody mount /proc.
zr_wrapper_bwrap_shared_pids() {
    zr_bwrap_with --bind /proc /proc
}

zr_bwrap_with() {
    local entry
    ZR_WRAPPER=(bwrap --die-with-parent "$@" --dev-bind /dev /dev)
    while read -r entry; do
        if [[ -L $entry ]]; then
            ZR_WRAPPER+=(--symlink "$(readlink "$entry")" "$entry")
        else
            ZR_WRAPPER+=(--bind "$entry" "$entry")
        fi
    done < <(zr_root_entries)
    ZR_WRAPPER+=(--perms 1777 --tmpfs /dev/shm --perms 1777 --tmpfs /tmp --tmpfs /firmware)
    if [[ $EUID -eq 0 ]]; then
        ZR_WRAPPER+=(--cap-add ALL)
    else
        # The service makes its directories without search permission: only root gets through.
        ZR_WRAPPER+=(--dir /firmware/log/ZRFpgaMng --dir /firmware/audio)
    fi
    ZR_WRAPPER+=(--bind "$ZR_TREE" "$ZR_TREE" --chdir "$ZR_TREE" --)
}

# The entries of / that the new root takes over.
zr_root_entries() {
    find / -mindepth 1 -maxdepth 1 ! -name proc ! -name dev ! -name tmp ! -name firmware
}

# The same root made with util-linux alone.
zr_wrapper_unshare() {
    local user=()
    [[ $EUID -eq 0 ]] || user=(--user --map-root-user)
    mkdir -p "$ZR_TREE/build/root"
    ZR_WRAPPER=(setpriv --pdeathsig KILL unshare "${user[@]}" --mount --pid --fork --kill-child --
        bash "$ZR_TREE/Tools/Scripts/new-root.sh" "$ZR_TREE" "$EUID" "$(id -g)")
}

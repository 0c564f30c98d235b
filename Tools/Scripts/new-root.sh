#!/usr/bin/env bash
# new-root.sh TREE UID GID COMMAND...: started by sandbox.sh as root of new mount and
# process namespaces; makes a root with its own /firmware and /tmp and becomes the
# command in it, as the user who asked.
set -euo pipefail
PATH=$PATH:/usr/sbin:/sbin

tree=$1 uid=$2 gid=$3
shift 3
root=$tree/build/root

mount --make-rprivate /
mount -t tmpfs -o mode=755 tmpfs "$root"
for entry in /* /.[!.]*; do
    case $entry in
    /proc | /tmp | /firmware) continue ;;
    esac
    if [[ -L $entry ]]; then
        ln -s "$(readlink "$entry")" "$root$entry"
    elif [[ -d $entry ]]; then
        mkdir "$root$entry"
        mount --rbind "$entry" "$root$entry"
    elif [[ -e $entry ]]; then
        : >"$root$entry"
        mount --bind "$entry" "$root$entry"
    fi
done
mkdir -m 1777 "$root/tmp"
mkdir -p "$root/proc" "$root/firmware" "$root/old-root" "$root$tree"
mount -t proc proc "$root/proc"
mount --rbind "$tree" "$root$tree"

cd "$root"
pivot_root . old-root
umount -l /old-root
rmdir /old-root
cd "$tree"
if [[ $uid -eq 0 ]]; then
    exec "$@"
fi
# The service makes its directories without search permission: only root gets through.
mkdir -p /firmware/log/ZRFpgaMng /firmware/audio
exec unshare --user --map-user="$uid" --map-group="$gid" -- "$@"

#!/usr/bin/env bash
# Runs a command in network, process and mount namespaces of its own, with loopback up and empty
# /tmp and /run/lock: whatever it starts, binds or leaves there ends with it. Needs no privileges.
#   tests/isolated.sh COMMAND [ARGUMENT…]
set -eu
if [ "$$" != 1 ]; then
    user=()
    [ "$(id -u)" = 0 ] || user=(--user --map-root-user)
    exec unshare "${user[@]}" --net --mount --pid --fork --kill-child=KILL \
        "$(readlink -f "$0")" "$@"
fi

# Process 1 of the new namespaces from here on. A checkout that lives in /tmp stays visible.
repository=$(dirname "$(dirname "$(readlink -f "$0")")")
here=$PWD
case $repository in
/tmp/*) mount --rbind "$repository" /mnt ;;
esac
mount -t tmpfs -o mode=1777 tmpfs /tmp
case $repository in
/tmp/*)
    mkdir -p "$repository"
    mount --rbind /mnt "$repository"
    ;;
esac
[ ! -d /run/lock ] || mount -t tmpfs -o mode=1777 tmpfs /run/lock
mount -t proc proc /proc
ip link set lo up
cd "$here"
# Not exec: process 1 ignores the signals it sends itself, and a failing test must be able to abort.
status=0
"$@" || status=$?
exit "$status"

#!/usr/bin/env bash
# Runs a command where arm64 programs run, wherever they are started from: the kernel hands them to qemu, and
# their libraries, which scripts/arm64-sysroot.sh unpacked, are where Debian has them.
#   tests/arm64.sh COMMAND [ARGUMENT…]
# In user and mount namespaces of its own, so it needs no privileges and changes nothing for anyone else. A
# computer that runs arm64 programs already (binfmt-support) may have any Linux, others need 6.7.
set -eu
sysroot=$(dirname "$(dirname "$(readlink -f "$0")")")/build/arm64-sysroot
# By env, because the shell would run a binary that the kernel refuses as a script.
runs_arm64() { env /lib/ld-linux-aarch64.so.1 --version >/dev/null 2>&1; }

if [ "${1:-}" = --in-namespaces ]; then
    shift
    (cd "$sysroot/usr" && mount -t overlay -o lowerdir=lib:/usr/lib overlay /usr/lib)
    register=/proc/sys/fs/binfmt_misc
    runs_arm64 || { mount -t binfmt_misc binfmt_misc "$register" 2>/dev/null &&
        cat /usr/lib/binfmt.d/qemu-aarch64.conf >"$register/register" && runs_arm64; } || {
        echo "This computer cannot run arm64 programs: install binfmt-support, or use Linux 6.7 or newer" >&2
        exit 1
    }
    # Not exec: the kernel forgets qemu with the last mount of binfmt_misc, and a command that leaves for
    # another root leaves that mount behind too.
    status=0
    "$@" || status=$?
    exit "$status"
fi

# Others than root may only make a namespace with themselves as its root.
[ "$(id -u)" = 0 ] || exec unshare --user --map-root-user --mount "$0" --in-namespaces "$@"
# As root, map all users, which tests expect. Only a process outside the new namespace may write its maps.
unshare --user setpriv --pdeathsig KILL sleep infinity &
namespace=$!
trap 'kill "$namespace"' EXIT
until [ "$(readlink "/proc/$namespace/ns/user")" != "$(readlink /proc/self/ns/user)" ]; do
    kill -0 "$namespace"
    sleep 0.01
done
for map in uid_map gid_map; do
    all=$(awk '{ print $1, $1, $3 }' "/proc/self/$map")
    echo "$all" >"/proc/$namespace/$map"  # at once: it can be written only once
done
status=0
nsenter --target "$namespace" --user unshare --mount "$0" --in-namespaces "$@" || status=$?
exit "$status"

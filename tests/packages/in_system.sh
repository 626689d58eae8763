#!/usr/bin/env bash
# Unpacks a Debian system and runs tests/packages/test.sh in it. Inside tests/isolated.sh, so that its
# mounts and files are nobody else's and end with it.
#   in_system.sh SYSTEM PACKAGES
set -euo pipefail
repository=$(dirname "$(dirname "$(dirname "$(readlink -f "$0")")")")
root=/tmp/system
mkdir "$root"
mount -t tmpfs -o mode=755 tmpfs "$root"
tar --extract --gzip --file "$1" --directory "$root" --exclude='./dev/*'

# Everything that the tests use is in a folder of its own.
mkdir "$root/trial"
cp "$2"/*.deb "$root/trial"
cp -r "$repository/tests/packages" "$repository/tests/configure" "$repository/scripts/demo" "$root/trial"
mkdir "$root/trial/old-root"
mount --rbind /dev "$root/dev"
mount -t proc proc "$root/proc"
mount -t sysfs sysfs "$root/sys"
mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
mount -t tmpfs tmpfs "$root/run"
mkdir -m 1777 "$root/run/lock"
cd "$root"
# Not chroot: the simulator makes namespaces of its own, for which a root must be a mount.
pivot_root . trial/old-root
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
umount --lazy /trial/old-root
rmdir /trial/old-root
cd /trial
# Nothing of the environment that this was started from, such as compiler options.
env --ignore-environment PATH="$PATH" HOME=/trial LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    /trial/packages/test.sh

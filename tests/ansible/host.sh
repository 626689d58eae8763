#!/usr/bin/env bash
# A computer of its own: network, processes, and a file system that is this one's with changes kept in a
# folder; served by sshd until it is killed.
#   host.sh FOLDER       waits until FOLDER/go exists, for its interfaces to be made
set -euo pipefail
folder=$1
repository=$(dirname "$(dirname "$(dirname "$(readlink -f "$0")")")")
mkdir -p "$folder/upper" "$folder/work" "$folder/root"
mount -t overlay overlay -o "lowerdir=/,upperdir=$folder/upper,workdir=$folder/work" "$folder/root"
root=$folder/root
# The programs, wherever they are mounted.
mkdir -p "$root$repository"
mount --rbind "$repository" "$root$repository"
mount --rbind /dev "$root/dev"
mount -t proc proc "$root/proc"
mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
mount -t tmpfs tmpfs "$root/run"
mkdir -p "$root/run/sshd" "$root/run/lock" "$root/root/.ssh"
chmod 1777 "$root/run/lock"
cp "$folder/../key.pub" "$root/root/.ssh/authorized_keys"
chmod 700 "$root/root" "$root/root/.ssh"
[ -e "$folder/host_key" ] || ssh-keygen -q -t ed25519 -N '' -f "$folder/host_key"
cp "$folder/host_key" "$root/run/host_key"
while [ ! -e "$folder/go" ]; do sleep 0.05; done
ip link set lo up
exec chroot "$root" /usr/sbin/sshd -D -e -f /dev/null -h /run/host_key -o UsePAM=no -o PidFile=none \
    -o PermitRootLogin=prohibit-password -o MaxStartups=100 -o 'Subsystem=sftp internal-sftp'

#!/usr/bin/env bash
# Installs the packages of scripts/package.sh into a clean Debian system, updates simulated cameras there,
# builds a program against the -dev package, and removes the packages again:
#   scripts/test-package.sh [ARCHITECTURE]        default: this computer's
# On another computer, an arm64 system runs under qemu (tests/arm64.sh).
# As root or as a user with sudo; needs 2 GiB of memory. The system is one of its own (tests/packages), with
# its own network, and is gone when this ends, however it ends. What it is unpacked from is kept as
# build/debian-….tar.gz.
set -euo pipefail
cd "$(dirname "$0")/.."
native=$(dpkg --print-architecture)
architecture=${1:-$native}
[[ $architecture = "$native" || $architecture = arm64 ]] || {
    echo "usage: scripts/test-package.sh [$native|arm64]" >&2
    exit 2
}
scripts/install-deps.sh packaging
emulated=()
preset=package
if [ "$architecture" != "$native" ]; then
    scripts/install-deps.sh arm64
    scripts/arm64-sysroot.sh
    emulated=(tests/arm64.sh)
    preset=$architecture-package
fi
packages=("build/$preset/packages"/*.deb)
[ -e "${packages[0]}" ] || {
    echo "No packages in build/$preset/packages: run scripts/package.sh $architecture first" >&2
    exit 1
}

# What the packages need is put there, but not installed: in its own network, apt can download nothing.
own=$(for package in "${packages[@]}"; do dpkg-deb --field "$package" Package; done)
needed=$(for package in "${packages[@]}"; do dpkg-deb --field "$package" Depends; done |
    tr ',' '\n' | awk '{ print $1 }' | sort --unique | grep --invert-match --line-regexp "$own")
installed=bash-completion,binutils,cmake,g++,make,mount,pkg-config
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
what="$codename $architecture $installed $needed"
system=build/debian-$(sha256sum <<<"$what" | head --bytes=8)-$architecture.tar.gz

as_root=()
if [ "$(id -u)" != 0 ]; then
    sudo --validate  # below, it could not ask for a password
    as_root=(sudo)
fi

running=
part=
log=
finish() {
    [ -z "$running" ] || "${as_root[@]}" bash -c "kill -KILL -- -$running" 2>/dev/null || true
    rm -f "$part" "$log"
}
trap finish EXIT
trap 'exit 130' INT TERM HUP
# run COMMAND…: as processes that end together, by no signal that unshare would ignore
run() {
    set -m
    "$@" </dev/null &
    running=$!
    set +m
    wait "$running"
    running=
}

# download FILE: makes the system, in its own /tmp
download() {
    local fetch="apt-get --quiet --yes --no-install-recommends --download-only install ${needed//$'\n'/ }"
    # Of qemu, mmdebstrap would ask for a registration for the whole computer.
    "${as_root[@]}" "${emulated[@]}" unshare --mount --pid --fork --kill-child=KILL sh -c \
        'mount -t tmpfs -o mode=1777 tmpfs /tmp && mount -t proc proc /proc && exec "$@"' sh \
        mmdebstrap --quiet --mode=root --variant=apt --format=tar --architectures="$architecture" \
        --include="$installed" --skip=check/qemu,cleanup/apt --customize-hook='chroot "$1" apt-get clean' \
        --customize-hook="chroot \"\$1\" $fetch" "$codename" - 2>"$log" | gzip --fast >"$1"
}
if [ ! -e "$system" ]; then
    echo "Downloading a Debian system… (a few minutes)"
    rm -f build/debian-*-"$architecture".tar.gz
    part=$(mktemp "$system.XXXXXX")
    log=$(mktemp)
    run download "$part" || {
        tail -n 40 "$log" >&2
        exit 1
    }
    mv "$part" "$system"
fi
run "${as_root[@]}" "${emulated[@]}" tests/isolated.sh tests/packages/in_system.sh "$system" \
    "build/$preset/packages"

#!/usr/bin/env bash
# Fetches the TFTP servers that tests and benchmarks talk to into build/peers/, without installing
# them: the two packages exclude each other, and each would start a service on this machine.
# Needs no privileges where apt's lists are there; does nothing when the servers are.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=$PWD/build/peers

download() {
    apt-get download "$1" >log 2>&1 && return
    # A machine whose lists were never fetched, or are too old.
    if [ "$(id -u)" = 0 ]; then
        apt-get update >>log 2>&1
    elif command -v sudo >/dev/null; then
        sudo apt-get update >>log 2>&1
    fi
    apt-get download "$1" >>log 2>&1 || {
        cat log >&2
        return 1
    }
}

# In a shell of its own: half a package is never left where a test would find it.
fetch() (
    package=$1
    [ ! -x "$peers/$package/$2" ] || exit 0
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cd "$work"
    download "$package"
    dpkg -x "$package"_*.deb tree
    mkdir -p "$peers"
    rm -rf "${peers:?}/$package"
    mv tree "$peers/$package"
    chmod 755 "$peers/$package"
)

fetch tftpd-hpa usr/sbin/in.tftpd
fetch atftpd usr/sbin/atftpd

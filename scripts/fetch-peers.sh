#!/usr/bin/env bash
# Downloads the TFTP servers for tests and benchmarks to build/peers/, without installing them: the two
# packages conflict, and each would start a service on this machine. Needs no privileges if apt's lists
# exist; does nothing if the servers are already there.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=$PWD/build/peers

download() {
    apt-get download "$1" >log 2>&1 && return
    # The lists were never downloaded, or are out of date.
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

# In a subshell with its own temporary folder, so that a test never finds half a package.
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

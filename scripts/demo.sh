#!/usr/bin/env bash
# Installs missing packages, builds, and updates simulated cameras with the real updater.
#   scripts/demo.sh            a GigE Vision camera, by GenICam file access
#   scripts/demo.sh tftp       a GigE Vision camera, by TFTP, with a new device ID and a reset
#   scripts/demo.sh package    a zip package with two payloads, one for each of these transports
#   scripts/demo.sh u3v        a USB3 Vision camera
#   scripts/demo.sh fleet      eight cameras on two interfaces with one command, two of them faulty
# Ends with status 0 only when the device really holds the new firmware; with "fleet", when all but the
# faulty ones do, and these were named.
set -euo pipefail
repository=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$repository"
mode=${1:-genicam}
case $#,$mode in
[01],genicam | 1,tftp | 1,package | 1,u3v | 1,fleet) ;;
*)
    echo "usage: scripts/demo.sh [genicam|tftp|package|u3v|fleet]" >&2
    exit 2
    ;;
esac

scripts/install-deps.sh build demo
log=$(mktemp)
trap 'rm -f "$log"' EXIT
[ -x build/release/bin/mirsko-simulator ] ||
    echo "Building… (about seven minutes on two idle cores; messages in $log)"
{ cmake --preset release && cmake --build --preset release; } >"$log" 2>&1 || {
    tail -n 60 "$log"
    exit 1
}
# The demo runs in its own namespaces: it uses no port of this machine and broadcasts nothing on its
# networks, and whatever it starts or writes to /tmp is gone when it ends.
rm -f "$log"
exec tests/isolated.sh "scripts/demo/$mode.sh"

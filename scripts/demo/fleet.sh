#!/usr/bin/env bash
# Updates eight simulated GigE Vision cameras on two network interfaces with one command. Two of them are
# faulty: mirsko-update updates the other six, names these two with the reason, and ends with status 1.
. "$(dirname "$0")/lib.sh"
. "$(dirname "$0")/../fleet/network.sh"

say "A firmware payload, version 2.1, for the family of the simulated cameras"
head --bytes=1000000 /dev/urandom >"$work/firmware.bin"
show "$bin/mirsko-package" payload --family "$family" --version 2.1 "$work/firmware.bin" "$work/camera-2.1.dfw"

say "Eight simulated cameras, four on each interface. The flash of SIM-3 is broken; SIM-6 is unplugged while it is updated"
open_far_side
for interface in 1 2; do
    add_interface "eth$interface" "192.168.$interface"
done
for number in 1 2 3 4 5 6 7 8; do
    options=()
    case $number in
    3) options=(--fail-flash) ;;
    6) options=(--fault vanish@byte=500000) ;;
    4 | 8) options=(--profile loader) ;; # updated by TFTP
    esac
    interface=$(((number + 3) / 4))
    add_camera "$number" "eth$interface" "192.168.$interface.$((10 + number))" --family SIMCAM \
        --firmware-version 1.0 "${options[@]}"
done
await_cameras
show "$bin/mirsko-devices"
devices() { "$bin/mirsko-devices" --json | grep --count "\"version\": \"$1\"" || true; }
[ "$(devices 1.0)" = 8 ]

say "The update"
status=0
show "$bin/mirsko-update" --all "$work/camera-2.1.dfw" 2>"$work/errors" || status=$?
echo "(exit status $status, and on standard error:)"
cat "$work/errors"

say "Afterwards"
show "$bin/mirsko-devices"
[ "$status" = 1 ]
# Exactly these two, each with its reason.
[ "$(wc -l <"$work/errors")" = 2 ]
grep --quiet ' SIM-3 .*: failed: its status is "Flash write failed: ' "$work/errors"
grep --quiet ' SIM-6 .*: failed: ' "$work/errors"
[ "$(devices 2.1)" = 6 ]
[ "$(devices 1.0)" = 1 ]
for number in 1 2 4 5 7 8; do
    holds_firmware "$number" "$work/camera-2.1.dfw"
done
stop_cameras
say "Six cameras run the new firmware, and the two faulty ones were named."

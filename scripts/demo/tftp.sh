#!/usr/bin/env bash
# Updates a simulated GigE Vision camera without file access by TFTP, sets its device ID and resets it.
# Then updates a device in its boot loader, which offers only TFTP.
. "$(dirname "$0")/lib.sh"

say "A firmware payload, version 2.1, for the family of the simulated camera"
head --bytes=3000000 /dev/urandom >"$work/firmware.bin"
show "$bin/mirsko-package" payload --family "$family" --version 2.1 "$work/firmware.bin" "$work/camera-2.1.dfw"

# update PROFILE OPTION…: starts such a device, updates it and checks the result
update() {
    rm -rf "$work/camera"
    start_simulator --profile "$1" --family SIMCAM --firmware-version 1.0 --flash-time 1000
    show "$bin/mirsko-devices"
    [ "$(version)" = 1.0 ]
    local status=0
    show "$bin/MirskoFirmwareUpdater" --localinterface=00:00:00:00:00:00 "${@:2}" "$work/camera-2.1.dfw" || status=$?
    echo "(exit status $status)"
    say "After the reset it runs the new firmware"
    wait_for_version 2.1
    show "$bin/mirsko-devices"
    same_firmware "$work/camera-2.1.dfw"
}

say "A simulated camera on loopback whose GenICam offers no file access"
update no-file-access "--deviceid=left camera"
"$bin/mirsko-devices" --json | grep --quiet '"deviceId": "left camera"'
stop_simulator

say "A simulated device in its boot loader: no GenICam, no control channel"
update loader
stop_simulator
say "Both devices hold the new firmware."

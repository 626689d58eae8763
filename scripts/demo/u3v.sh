#!/usr/bin/env bash
# Updates a simulated USB3 Vision camera on a USB that is emulated for each command.
. "$(dirname "$0")/lib.sh"

# with_camera COMMAND…: runs it with the camera plugged in; its state is kept in $work/camera
with_camera() {
    show "$bin/mirsko-simulator" --u3v --state "$work/camera" --family SIMCAM \
        --firmware-version 1.0 -- "$@"
}
camera_version() {
    with_camera "$bin/mirsko-devices" --json | grep --max-count=1 '"version"' | cut -d '"' -f 4
}

say "A firmware payload, version 2.1, for the family of the simulated camera"
head --bytes=3000000 /dev/urandom >"$work/firmware.bin"
show "$bin/mirsko-package" payload --family "$family" --version 2.1 "$work/firmware.bin" "$work/camera-2.1.dfw"

say "A simulated camera on an emulated USB host controller, as discovery reports it"
with_camera "$bin/mirsko-devices"
before=$(camera_version)

say "The update"
status=0
with_camera "$bin/MirskoFirmwareUpdater" --u3v "$work/camera-2.1.dfw" || status=$?
echo "(exit status $status)"

say "After it is unplugged and reconnected, the camera runs the new firmware"
with_camera "$bin/mirsko-devices"
after=$(camera_version)
echo "Firmware version before: $before"
echo "Firmware version after:  $after"
[ "$before" = 1.0 ]
[ "$after" = 2.1 ]
same_firmware "$work/camera-2.1.dfw"
say "The camera holds the new firmware."

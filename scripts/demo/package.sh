#!/usr/bin/env bash
# Updates a simulated GigE Vision camera from a zip package with two payloads: the first is sent by
# GenICam file access, the second by TFTP, since the device offers both.
. "$(dirname "$0")/lib.sh"

say "Two firmware payloads, and a package with both for the simulated camera's model"
for version in 2.1 2.2; do
    head --bytes=2000000 /dev/urandom >"$work/firmware.bin"
    "$bin/mirsko-package" payload --family "$family" --version "$version" "$work/firmware.bin" \
        "$work/camera-$version.dfw"
done
show "$bin/mirsko-package" create --model "Simulated Camera" \
    --upload "GenICam=$work/camera-2.1.dfw" --upload "TFTP=$work/camera-2.2.dfw" \
    --description "Two steps" --version 2.2 "$work/camera.zip"
show "$bin/mirsko-package" info "$work/camera.zip"
show "$bin/mirsko-package" check --model "Simulated Camera" "$work/camera.zip"

say "A simulated camera on loopback, as discovery reports it"
start_simulator --profile file-access --family SIMCAM --firmware-version 1.0 --events "$work/events"
show "$bin/mirsko-devices"
before=$(version)

say "The update"
status=0
show "$bin/MirskoFirmwareUpdater" --localinterface=00:00:00:00:00:00 "$work/camera.zip" || status=$?
echo "(exit status $status)"

say "After the second payload the updater reset the camera by TFTP"
wait_for_version 2.2
echo "Firmware version before: $before"
echo "Firmware version after:  $(version)"
[ "$before" = 1.0 ]
same_firmware "$work/camera-2.2.dfw"
[ -z "$(ls /tmp/dfw-* /tmp/xml-* 2>/dev/null)" ]
stop_simulator
say "The camera holds the firmware of the package."

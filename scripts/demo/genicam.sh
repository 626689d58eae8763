#!/usr/bin/env bash
# Updates a simulated GigE Vision camera on loopback by GenICam file access.
. "$(dirname "$0")/lib.sh"

say "A firmware payload, version 2.1, for the family of the simulated camera"
head --bytes=3000000 /dev/urandom >"$work/firmware.bin"
show "$bin/mirsko-package" payload --family "$family" --version 2.1 "$work/firmware.bin" "$work/camera-2.1.dfw"

say "A simulated camera on loopback, as discovery reports it"
start_simulator --profile file-access --family SIMCAM --firmware-version 1.0
show "$bin/mirsko-devices"
before=$(version)

say "The update"
status=0
show "$bin/MirskoFirmwareUpdater" --localinterface=00:00:00:00:00:00 "$work/camera-2.1.dfw" || status=$?
echo "(exit status $status)"

say "Firmware written by file access runs after the camera has been switched off and on"
stop_simulator
start_simulator --profile file-access --family SIMCAM --firmware-version 1.0
after=$(version)
echo "Firmware version before: $before"
echo "Firmware version after:  $after"
[ "$before" = 1.0 ]
[ "$after" = 2.1 ]
same_firmware "$work/camera-2.1.dfw"
stop_simulator
say "The camera holds the new firmware."

#!/bin/sh
# Updates the camera behind a network interface and reports the outcome as the exit status.
#   update-camera.sh MAC-OF-THE-INTERFACE FIRMWARE-FILE
# Status 0: updated. Status 1: not updated, the reason is on standard error.
set -u
folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT

MirskoFirmwareUpdater "--localinterface=$1" "$2" >"$folder/stages" 2>"$folder/reasons"
status=$?
last=$(tail -n 1 "$folder/stages")
if [ "$(head -n 1 "$folder/stages")" = "Mirsko Firmware Updater" ]; then
    last="wrong arguments, or a file that is not .dfw or .zip in lower case"
fi

if [ "$status" = 0 ] && [ "$last" = "Firmware upload complete." ] && [ ! -s "$folder/reasons" ]; then
    echo "updated"
    exit 0
fi
echo "not updated (status $status): ${last:-nothing was started}" >&2
cat "$folder/reasons" >&2
exit 1

#!/usr/bin/env bash
# Updates eight simulated cameras on each of some interfaces by one mirsko-update --all; every second
# camera is updated by TFTP. Prints one line of figures.
#   many.sh INTERFACES
set -euo pipefail
. "$(dirname "$0")/fleet_of_eights.sh"
make_payload 2.1
start_fleet "$1"
status=0
"$(dirname "$0")/measured.py" "$work/figures" "$bin/mirsko-update" --all "$work/2.1.dfw" >"$work/output" 2>&1 || status=$?
[ "$status" = 0 ] && all_are_right 2.1 || {
    cat "$work/output"
    echo "mirsko-update ended with status $status" >&2
    exit 1
}
echo "cameras $number_of_cameras, interfaces $1: $(cat "$work/figures"); all have the right bytes and version"
stop_cameras

#!/usr/bin/env bash
# Kills mirsko-update ten times at random moments while it updates 64 simulated cameras on eight
# interfaces, each time to another firmware, then lets it finish. No camera may ever hold a part of one.
set -euo pipefail
. "$(dirname "$0")/fleet_of_eights.sh"
seed=${SEED:-$(date +%s)}
RANDOM=$seed
echo "SEED=$seed"
start_fleet 8

# firmware_is_whole: whether each camera that was ever updated holds all bytes of one of the payloads
firmware_is_whole() {
    local payload
    for payload in "$work"/*.dfw; do
        tail --bytes=+65 "$payload" | sha256sum
    done | cut -d ' ' -f 1 >"$work/known"
    find "$work" -name firmware.bin -exec sha256sum {} + | cut -d ' ' -f 1 |
        { ! grep --quiet --invert-match --fixed-strings --file="$work/known"; }
}

for round in $(seq 10); do
    make_payload "2.$round"
    time=$((RANDOM % 8000 + 500))
    "$bin/mirsko-update" --all "$work/2.$round.dfw" >"$work/output" 2>&1 &
    updater=$!
    sleep "$((time / 1000)).$(printf %03d $((time % 1000)))"
    kill -KILL "$updater"
    wait "$updater" 2>/dev/null || true
    firmware_is_whole
    echo "2.$round: killed after $time ms: $(grep --count ': updated from ' "$work/output" || true) confirmed," \
        "$(right_cameras "2.$round") of $number_of_cameras right, none holds a part"
done
status=0
"$bin/mirsko-update" --all "$work/2.10.dfw" >"$work/output" 2>&1 || status=$?
echo "2.10: the same command again: status $status, $(right_cameras 2.10) of $number_of_cameras right," \
    "$(tail --lines=1 "$work/output")"
[ "$status" = 0 ] && all_are_right 2.10 || {
    grep -E 'refused|failed' "$work/output" >&2 || true
    exit 1
}
stop_cameras

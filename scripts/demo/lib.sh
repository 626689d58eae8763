# Functions shared by the demos, which source this file inside tests/isolated.sh.
# Settings: MIRSKO_BIN, the folder of the programs; MIRSKO_FAMILY, the device family of the payloads, by
# default that of the simulated cameras, which reject payloads for any other family.
set -euo pipefail
bin=${MIRSKO_BIN:-build/release/bin}
family=${MIRSKO_FAMILY:-SIMCAM}
work=$(mktemp -d)
simulator=

say() {
    local text=$*
    [ ! -t 1 ] || text=$'\033[1m'$text$'\033[0m'
    printf '\n%s\n' "$text"
}

# show COMMAND…: prints the command as a user would type it, then runs it
show() {
    printf '$%s\n' "$(printf ' %q' "$@")"
    "$@"
}

# start_simulator OPTION…: starts a camera whose state is kept in $work/camera
start_simulator() {
    rm -f "$work/ready"
    "$bin/mirsko-simulator" --state "$work/camera" --ready-file "$work/ready" "$@" &
    simulator=$!
    for _ in $(seq 200); do
        [ -e "$work/ready" ] && return
        kill -0 "$simulator" 2>/dev/null || break
        sleep 0.05
    done
    echo "The simulated camera did not start." >&2
    exit 1
}

stop_simulator() {
    kill "$simulator"
    wait "$simulator" || true
}

# version: prints the firmware version that the device itself reports
version() {
    "$bin/mirsko-devices" --json | grep --max-count=1 '"version"' | cut -d '"' -f 4
}

# wait_for_version VERSION: waits until the device reports it, at most 15 s (a restarting device is silent)
wait_for_version() {
    for _ in $(seq 15); do
        [ "$(version)" = "$1" ] && return
    done
    echo "The device does not report version $1." >&2
    return 1
}

# same_firmware PAYLOAD: checks that the device holds exactly the bytes after the payload's 64-byte header
same_firmware() {
    cmp <(tail --bytes=+65 "$1") "$work/camera/firmware.bin"
}

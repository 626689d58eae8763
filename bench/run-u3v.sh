#!/usr/bin/env bash
# Throughput of an update over USB3 Vision, against a plain Aravis client in the same emulated bed.
# MB/s, medians of five alternating rounds; the last columns are ratios. The target is 0.9 in the column
# sdk/aravis, the same file operations by both; sdk/bus shows what those operations cost beside the
# bytes alone. Exit status: 0 the target is met in every row, 1 it is missed in one (marked MISSED),
# 2 something is missing.
# Everything runs on one CPU: each command goes to and fro between two processes, and where these are
# put decides over a factor of three otherwise.
#   bench/run-u3v.sh [MEBIBYTES]
set -euo pipefail
cd "$(dirname "$0")/.."
bin=build/bench/bin
[ -x "$bin/bench-u3v" ] || {
    echo "Run cmake --preset bench && cmake --build --preset bench first" >&2
    exit 2
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
guid=$("$bin/mirsko-simulator" --u3v -- "$bin/mirsko-devices" | grep --only-matching 'u3v:[0-9A-F]*')
head --bytes=$((${1:-1} << 20)) /dev/urandom >"$work/body"
"$bin/mirsko-package" payload --family MirskoSim --version 2.1 "$work/body" "$work/camera.dfw" >/dev/null

printf '%7s %7s %7s %8s %8s %8s %10s %8s\n' command ack buffer sdk aravis bus sdk/aravis sdk/bus
missed=0
for limits in 1024/1024 1044/1036 4108/4108 16404/16396 65548/65548 65548/1024; do
    command=${limits%/*}
    ack=${limits#*/}
    # The largest block that Aravis writes without losing it (see docs/protocols/usb3-vision.md).
    block=$((command - 20 < ack - 12 ? command - 20 : ack - 12))
    block=$(((block < 65515 ? block : 65515) & ~3))
    for buffer in 4096 65536; do
        printf '%7s %7s %7s ' "$command" "$ack" "$buffer"
        taskset --cpu-list 0 "$bin/mirsko-simulator" --u3v --max-command "$command" --max-ack "$ack" \
            --buffer-size "$buffer" -- "$bin/bench-u3v" "${guid#u3v:}" "$work/camera.dfw" "$block" ||
            missed=1
    done
done
exit "$missed"

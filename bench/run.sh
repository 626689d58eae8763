#!/usr/bin/env bash
# Measures this project against other programs, writes the tables of docs/performance.md and its plots
# in docs/picture, and prints every aim with its figure.
#   bench/run.sh [--rounds N] [--keep] [--real-time] [NAME…]
# NAME is one of the files in bench/compare that make a comparison: file_access, tftp, usb3_vision,
# connecting, whole_tool, discovery, unpacking, node_map; without one, all are made. Each figure is the
# median of N rounds (default 5; 21 for node_map, always 5 for usb3_vision), in which what is compared takes
# turns; commands are counted once. --keep leaves docs as it is.
# --real-time gives all of them real-time priority, for a machine that cannot be left alone (root).
# Each comparison has network, process and mount namespaces of its own; the programs are pinned.
# Exit status: 0 every aim is met, 1 one is missed, 2 something failed.
set -euo pipefail
cd "$(dirname "$0")/.."
rounds=5
keep=
priority=()
while [ $# -gt 0 ]; do
    case $1 in
    --rounds)
        rounds=${2:-}
        [[ $rounds =~ ^[1-9][0-9]*$ ]] || {
            echo "--rounds needs a number" >&2
            exit 2
        }
        shift 2
        ;;
    --keep)
        keep=--keep
        shift
        ;;
    --real-time)
        priority=(chrt --rr 1)
        shift
        ;;
    -h | --help)
        sed -n '2,/^set/s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
    -*)
        echo "unknown option $1" >&2
        exit 2
        ;;
    *) break ;;
    esac
done
all=(file_access tftp usb3_vision connecting whole_tool discovery unpacking node_map)
[ $# -gt 0 ] || set -- "${all[@]}"
for name in "$@"; do
    [[ " ${all[*]} " == *" $name "* ]] || {
        echo "unknown comparison $name; options come before names" >&2
        exit 2
    }
done

scripts/install-deps.sh build demo tests bench || exit 2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
{ cmake --preset bench && cmake --build --preset bench; } >"$log" 2>&1 || {
    cat "$log" >&2
    exit 2
}
[[ " $* " != *" tftp "* ]] || scripts/fetch-peers.sh || exit 2
export PYTHONDONTWRITEBYTECODE=1
mkdir -p build/bench/results
for name in "$@"; do
    echo "== $name"
    "${priority[@]}" tests/isolated.sh \
        python3 bench/compare/measure.py "$name" "$rounds" build/bench/results || exit 2
done
python3 bench/compare/report.py $keep build/bench/results "$@"

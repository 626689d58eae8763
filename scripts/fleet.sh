#!/usr/bin/env bash
# Tests mirsko-update with many simulated cameras, and prints what it did.
#   scripts/fleet.sh many      8, 16, 32 and 64 cameras on 1 to 8 interfaces: all are updated, with
#                              identical bytes; prints time, processor time and peak memory
#   scripts/fleet.sh killed    64 cameras on 8 interfaces; mirsko-update is killed ten times at random
#                              moments (SEED repeats a run), and the same command then updates all
#   scripts/fleet.sh faults [REGEX]
#                              four cameras, one of them with a fault (scripts/fleet/faults.txt; REGEX picks
#                              some by name): the other three are updated, and the fourth is named with its
#                              reason or updated too, as the table says
# PRESET (default dev) names the build, JOBS (default 24: they mostly wait) how many faults are tried at a
# time. Exit status: 1 if anything is not as expected.
set -euo pipefail
repository=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$repository"
mode=${1:-}
case $#,$mode in
1,many | 1,killed | [12],faults) ;;
*)
    echo "usage: scripts/fleet.sh many|killed|faults [REGEX]" >&2
    exit 2
    ;;
esac
preset=${PRESET:-dev}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target mirsko-update mirsko-simulator mirsko-package
export MIRSKO_BIN=$PWD/build/$preset/bin

case $mode in
many)
    echo "time, processor time and peak memory of mirsko-update:"
    for interfaces in 1 2 4 8; do
        tests/isolated.sh scripts/fleet/many.sh "$interfaces"
    done
    ;;
killed) tests/isolated.sh scripts/fleet/killed.sh ;;
faults)
    # Every fault that the simulator has must be in the table.
    table=scripts/fleet/faults.txt
    "$MIRSKO_BIN/mirsko-simulator" --help | awk '/^[^ ]/ { faults = /aults:$/ } faults && /^  --/ { print $1 }' |
        while read -r option; do
            grep --quiet -- "$option" "$table" || [ "$option" = --seed ] || [ "$option" = --delay ] ||
                [ "$option" = --tftp-delay ] || {
                echo "$table lacks $option" >&2
                exit 1
            }
        done
    results=$(mktemp)
    trap 'rm -f "$results"' EXIT
    printf '    | %-40s | outcome  | reason\n' fault
    grep -v '^#' "$table" | { grep -E "^[^|]*(${2:-.})[^|]*\|" || true; } |
        xargs -r -d '\n' -P "${JOBS:-24}" -I{} tests/isolated.sh scripts/fleet/one-of-four.sh {} | tee "$results"
    faults=$(wc -l <"$results")
    bad=$(grep --count --invert-match '^ok' "$results" || true)
    echo "$faults faults, $bad not as expected, $SECONDS s"
    [ "$faults" -gt 0 ] && [ "$bad" = 0 ]
    ;;
esac

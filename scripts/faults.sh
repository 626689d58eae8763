#!/usr/bin/env bash
# Runs the fault matrix: every transport with every fault at every moment, and death after every
# command of a session, each cell in its own namespaces. Prints one line per cell and a summary.
#   scripts/faults.sh [REGEX]     only the cells whose name matches, e.g. '^TFTP_.*_at_status'
# PRESET (default dev) names the build, JOBS (default 24: cells mostly wait) how many run at a time.
# Exit status: 1 if a cell is not as expected.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-dev}
jobs=${JOBS:-24}
target=end_to_end_fault_matrix_test
program=$PWD/build/$preset/tests/$target
export MIRSKO_FAULT_MATRIX=all

cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target "$target"

# A cell without a line of its own has crashed.
run_cell() {
    local output
    output=$(tests/isolated.sh "$1" --gtest_filter="$2" 2>&1) || true
    grep -aE '^(ok|BAD) +\|' <<<"$output" && return
    echo "BAD | ${2##*/} | no result"
    sed 's/^/    /' <<<"$output" >&2
}
export -f run_cell

results=$(mktemp)
trap 'rm -f "$results"' EXIT
start=$SECONDS
echo "    | transport    | fault                  | moment     | expected       | observed       |    time |   next | reason"
"$program" --gtest_list_tests | sed -n 's/^  \([^ ]*\).*/\1/p' | sed 's|^|Cells/FaultMatrixTest.|' |
    { grep -E "/[^/]*$" | awk -F/ -v r="${1:-.}" '$NF ~ r'; } |
    xargs -r -P "$jobs" -I{} bash -c 'run_cell "$@"' run_cell "$program" {} | tee "$results"
cells=$(wc -l <"$results")
bad=$(grep -c '^BAD' "$results" || true)
echo "$cells cells, $bad not as expected, $((SECONDS - start)) s"
[ "$cells" -gt 0 ] && [ "$bad" = 0 ]

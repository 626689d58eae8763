#!/usr/bin/env bash
# Runs the load tests in full and prints their figures: 64 cameras behind 64 interfaces, updated by 64
# updaters at once; 500 updates of one camera by one process, on each transport; updates under 120,000
# stray datagrams a second (at least 100,000 required).
#   scripts/load.sh
# PRESET (default dev) names the build. Exit status: 1 if a figure is missed.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${PRESET:-dev}
target=end_to_end_load_test
program=build/$preset/tests/$target
export MIRSKO_LOAD=full

cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target "$target"
status=0
while read -r test; do
    echo "== $test"
    tests/isolated.sh "$program" --gtest_brief=1 --gtest_filter="$test" || status=1
done < <("$program" --gtest_list_tests |
    awk '/^[^ ].*\.$/ { suite = $1 } /^  / { print suite $1 }')
exit $status

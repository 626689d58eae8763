#!/usr/bin/env bash
# Builds for 64-bit Arm, with warnings as errors, and runs the tests under qemu:
#   scripts/test-arm64.sh [CTEST OPTION…]        e.g. -R NxString, -L sdk
# Leaves out the tests that tests/arm64-left-out.txt names, and prints the reasons and their number. Needs
# Linux 6.7 or binfmt-support (tests/arm64.sh), and root only to install packages.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh build demo tests arm64
scripts/arm64-sysroot.sh

log=$(mktemp)
trap 'rm -f "$log"' EXIT
start=$SECONDS
echo "Building… (about ten minutes on two cores the first time)"
{ cmake --preset arm64 && cmake --build --preset arm64; } >"$log" 2>&1 || {
    tail -n 60 "$log"
    exit 1
}
echo "Built in $((SECONDS - start)) s"

count() { ctest --preset arm64 --show-only "$@" | sed -n 's/^Total Tests: //p'; }
left_out=
while IFS= read -r line; do
    case $line in
    '' | '#'*) ;;
    *:) echo "Left out: $line" ;;
    *)
        matching=$(count --tests-regex "$line")
        [ "$matching" -gt 0 ] || {
            echo "tests/arm64-left-out.txt: no test is called $line" >&2
            exit 1
        }
        echo "  $line ($matching)"
        left_out+="${left_out:+|}$line"
        ;;
    esac
done <tests/arm64-left-out.txt
echo "$(count) tests, $(count --tests-regex "$left_out") of them left out"

start=$SECONDS
status=0
tests/arm64.sh ctest --preset arm64 --parallel 4 --exclude-regex "$left_out" "$@" || status=$?
echo "Tested in $((SECONDS - start)) s"
exit "$status"

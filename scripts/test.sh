#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and with the address, undefined and thread
# sanitizers, and runs every test in each of these builds.
#   scripts/test.sh [PRESET…]        default: dev asan tsan
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
[ ! -x scripts/fetch-peers.sh ] || scripts/fetch-peers.sh

scripts/lint.sh
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(dev asan tsan)

for preset in "${presets[@]}"; do
    echo "== $preset: build"
    cmake --preset "$preset" >build-"$preset".log 2>&1 && cmake --build --preset "$preset" >>build-"$preset".log 2>&1 || {
        tail -n 60 build-"$preset".log
        exit 1
    }
    rm -f build-"$preset".log
done
for preset in "${presets[@]}"; do
    echo "== $preset: tests"
    ctest --preset "$preset" --parallel 4
done

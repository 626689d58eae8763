#!/usr/bin/env bash
# Installs missing packages, checks the sources, builds with warnings as errors and with the address,
# undefined-behaviour and thread sanitizers, and runs the tests in each of these builds.
#   scripts/test.sh [PRESET…]        default: dev asan tsan
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
[ ! -x scripts/fetch-peers.sh ] || scripts/fetch-peers.sh

scripts/lint.sh
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(dev asan tsan)

building=
logs=$(mktemp -d)
# Ends a running build together with the tests, and removes all that it wrote outside the checkout.
finish() {
    if [ -n "$building" ]; then
        kill -- "-$building" 2>/dev/null || true
        wait "$building" 2>/dev/null || true
    fi
    rm -rf "$logs"
}
trap finish EXIT

step() {
    echo "== $(date +%T) $1"
}

# build PRESET: shows its output only if it fails
build() {
    local log=$logs/$1
    local targets=(all)
    # Each public header on its own; once is enough.
    [ "$1" != dev ] || targets+=(all_verify_interface_header_sets)
    if cmake --preset "$1" >"$log" 2>&1 &&
        cmake --build --preset "$1" --target "${targets[@]}" >>"$log" 2>&1; then
        return 0
    fi
    tail -n 60 "$log"
    return 1
}

# Most tests wait rather than compute, so the next preset is built at low priority during the tests;
# clang-tidy runs during the last.
step "${presets[0]}: build"
build "${presets[0]}"
for i in "${!presets[@]}"; do
    next=${presets[i + 1]:-}
    # A process group to be ended as a whole, but no session: between sessions Linux shares the
    # processors evenly, whatever their priorities.
    set -m
    env TMPDIR="$logs" logs="$logs" nice -n 19 bash -c \
        "$(declare -f build); if [ -n '$next' ]; then build '$next'; else scripts/lint.sh --tidy; fi" &
    building=$!
    set +m
    step "${presets[i]}: tests"
    ctest --preset "${presets[i]}" --parallel 8
    [ -z "$next" ] || step "$next: build"
    wait "$building"
    building=
done

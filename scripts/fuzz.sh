#!/usr/bin/env bash
# Builds the fuzz programs and runs them: scripts/fuzz.sh [seconds-per-target] [target…]
# Keeps new inputs and findings in build/fuzz/. Exit status: 1 if there was a finding.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=60
if [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
elif [[ ${1:-} == -* ]]; then
    sed -n '2,3s/^# //p' "$0"
    [[ $1 == --help ]] && exit 0
    exit 2
fi

cmake --preset fuzz >/dev/null
if (($# == 0)); then
    cmake --build --preset fuzz --target fuzz_programs
    for length in build/fuzz/fuzz/*.max_len; do
        set -- "$@" "$(basename "$length" .max_len)"
    done
else
    cmake --build --preset fuzz --target "$@"
fi

status=0
for target; do
    found=build/fuzz/found/$target
    findings=build/fuzz/findings/$target
    mkdir -p "$found" "$findings"
    options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
             -max_len="$(cat "build/fuzz/fuzz/$target.max_len")" -artifact_prefix="$findings/")
    if [[ -f tests/fuzz/$target.dict ]]; then
        options+=(-dict="tests/fuzz/$target.dict")
    fi
    echo "== $target, $seconds s"
    if ! "build/fuzz/fuzz/$target" "${options[@]}" "$found" "tests/fuzz/corpus/$target"; then
        echo "== $target: a finding, see $findings" >&2
        status=1
    fi
done
exit $status

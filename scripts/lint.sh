#!/usr/bin/env bash
# Checks the layout of all sources; with --tidy also runs clang-tidy on the product's, and with
# --analyze clang's static analyzer too, which takes more than twice as long.
#   scripts/lint.sh [--tidy | --analyze]
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror
if [ "${1:-}" = --tidy ] || [ "${1:-}" = --analyze ]; then
    checks=
    [ "$1" = --tidy ] || checks='clang-analyzer-*'
    # clang cannot read g++'s precompiled headers.
    cmake --preset dev -B build/tidy -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
    # UsesMiniz.cpp is only ever compiled by CMake, and is meant to fail there.
    git ls-files '*.cpp' | grep -E '^(app|update|transfer|firmware_file|sdk|simulator|tools|compat)/' |
        grep -v /UsesMiniz.cpp |
        xargs --max-procs="$(nproc)" --max-args=4 clang-tidy -p build/tidy --quiet --checks="$checks" \
            2> >(grep -v 'warnings\? generated' >&2)
fi

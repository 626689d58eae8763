#!/usr/bin/env bash
# Checks the layout of all sources; with --tidy also runs clang-tidy on the sources of the dev preset.
#   scripts/lint.sh [--tidy]
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror
if [ "${1:-}" = --tidy ]; then
    # clang cannot read g++'s precompiled headers.
    cmake --preset dev -B build/tidy -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
    git ls-files '*.cpp' | grep -E '^(app|update|transfer|firmware_file|sdk|simulator|tools|compat)/' |
        xargs --max-procs="$(nproc)" --max-args=4 clang-tidy -p build/tidy --quiet
fi

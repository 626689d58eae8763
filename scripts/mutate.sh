#!/usr/bin/env bash
# Changes one expression or statement at a time and asks whether a test notices:
#   scripts/mutate.sh [--sample N] [--seed N] [--list] [PATH…]
# Builds all mutants at once below build/mutants/, and runs for each the tests that reach it. Prints the
# survivors. Exit status: 1 when fewer than 95 % of the updater's or of the node map's are killed.
# docs/test-quality.md describes it.
set -euo pipefail
cd "$(dirname "$0")/.."
# Only this script needs it.
/usr/bin/python3 -c 'import clang.cindex' 2>/dev/null || {
    echo "Please install as root: python3-clang" >&2
    exit 2
}
PYTHONDONTWRITEBYTECODE=1 exec /usr/bin/python3 scripts/mutants/mutate.py "$@"

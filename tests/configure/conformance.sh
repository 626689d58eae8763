#!/usr/bin/env bash
# Succeeds when every test that a document names as `Suite.Name` is among the tests of a build.
#   conformance.sh DOCUMENT BUILD_FOLDER
set -euo pipefail
named=$(grep -oE '`[A-Za-z0-9]+Test\.[A-Za-z0-9_]+`' "$1" | tr -d '`' | sort -u)
# "label/Instantiation/Suite.Name/parameter"
built=$(ctest --test-dir "$2" --show-only | grep -oE '[A-Za-z0-9]+Test\.[A-Za-z0-9_]+' | sort -u)
missing=$(comm -23 <(echo "$named") <(echo "$built"))
if [ -n "$missing" ]; then
    printf '%s names a test that does not exist: %s\n' $(sed "s|^|$1 |" <<<"$missing") >&2
    exit 1
fi
echo "$(wc -l <<<"$named") tests named, all of them exist"

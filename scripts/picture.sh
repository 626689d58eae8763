#!/usr/bin/env bash
# Runs mirsko-devices and the updater with a simulated camera, and keeps what the terminal then shows, for
# the README, as docs/picture/update.txt and update.svg.
#   scripts/picture.sh            writes both, and puts the text into the README
#   scripts/picture.sh --check    fails when the run of today shows something else
# MIRSKO_BIN is the folder of the programs, by default build/release/bin. Needs no network and no camera.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
export MIRSKO_BIN=${MIRSKO_BIN:-$PWD/build/release/bin}
new=$(mktemp -d)
trap 'rm -rf "$new"' EXIT
tests/isolated.sh scripts/picture/run.sh >"$new/raw"
python3 scripts/picture/terminal.py "$new/update.txt" "$new/update.svg" <"$new/raw"
case ${1:-} in
--check)
    for file in update.txt update.svg; do
        diff -u "docs/picture/$file" "$new/$file" || {
            echo "docs/picture/$file is not what the programs print; run scripts/picture.sh" >&2
            exit 1
        }
    done
    echo "The picture shows what the programs print."
    ;;
"")
    cp "$new/update.txt" "$new/update.svg" docs/picture/
    tests/documents/shown.py --update docs/examples ./*.md docs/*.md
    ;;
*)
    echo "usage: scripts/picture.sh [--check]" >&2
    exit 2
    ;;
esac

#!/usr/bin/env bash
# Makes the manual page and the bash completion of a program from what its --help prints:
#   documents.sh NAME VERSION FOLDER PROGRAM…
# into FOLDER/NAME.1.gz and FOLDER/NAME. PROGRAM is its path, after an emulator if it needs one.
set -euo pipefail
export LC_ALL=C
here=$(dirname "$(readlink -f "$0")")
name=$1 version=$2 folder=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The help of the program, then that of each subcommand after a line "# NAME".
"$@" --help | tr -d '\r' >"$work/help"
commands=$(sed -n '/^Subcommands:/,$s/^  \([a-z-]*\) .*/\1/p' "$work/help")
for command in $commands; do
    echo "# $command"
    "$@" "$command" --help
done >"$work/commands"
mkdir -p "$folder"
cat "$work/help" "$work/commands" >"$work/all"
awk -v name="$name" -v version="$version" -f "$here/manual.awk" "$work/all" "$here/$name.1.in" \
    >"$work/manual"
awk -v name="$name" -f "$here/completion.awk" "$work/all" >"$work/completion"
gzip -9 --no-name <"$work/manual" >"$folder/$name.1.gz"
mv "$work/completion" "$folder/$name"

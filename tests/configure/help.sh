#!/usr/bin/env bash
# Succeeds when the manual page and the completion of each program name every option and subcommand of its
# help, and are well-formed.
#   help.sh BUILD
set -euo pipefail
status=0
options=0

# words HELP: the options and subcommands that a help lists
words() {
    grep --only-matching --perl-regexp '^(  (-h,)?)?\K--[a-z0-9-]+=?' <<<"$1"
    sed -n '/^Subcommands:/,$s/^  \([a-z-]*\) .*/\1/p' <<<"$1"
}
for program in MirskoFirmwareUpdater mirsko-devices mirsko-package mirsko-simulator mirsko-update; do
    completion=$(<"$1/packaging/help/$program")
    bash -n "$1/packaging/help/$program"
    manual=$(zcat "$1/packaging/help/$program.1.gz" | sed 's/\\-/-/g')
    help=$("$1/bin/$program" --help | tr -d '\r')
    for command in $(sed -n '/^Subcommands:/,$s/^  \([a-z-]*\) .*/\1/p' <<<"$help"); do
        help+=$'\n'$("$1/bin/$program" "$command" --help)
    done
    for word in $(words "$help"); do
        options=$((options + 1))
        grep --quiet --fixed-strings -- "$word" <<<"$manual" || {
            echo "The manual page of $program does not have $word" >&2
            status=1
        }
        grep --quiet --extended-regexp -- "[ ']${word}[ ']" <<<"$completion" || {
            echo "The completion of $program does not have $word" >&2
            status=1
        }
    done
    ! grep --extended-regexp '^@.*@$|^(\\\\|\\&)' <<<"$manual" || {
        echo "The manual page of $program is not complete" >&2
        status=1
    }
done
[ "$options" -gt 100 ] || {
    echo "Only $options options and subcommands" >&2
    status=1
}
exit "$status"

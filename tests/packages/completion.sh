#!/usr/bin/env bash
# Asks the installed completions as an interactive bash would.
set -eo pipefail
. /usr/share/bash-completion/bash_completion

# complete_line LINE: what its last word may become
complete_line() {
    local program=${1%% *} words
    # As bash splits it: = and : are words of their own.
    words=${1//=/ = }
    read -r -a COMP_WORDS <<<"${words//:/ : }"
    [[ $1 != *[\ =:] ]] || COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMP_LINE=$1
    COMP_POINT=${#COMP_LINE}
    COMPREPLY=()
    compopt() { :; }
    _completion_loader "$program" || true
    "$(complete -p "$program" | sed 's/.*-F \([^ ]*\) .*/\1/')" "$program"
    echo "${COMPREPLY[*]}"
}
# expect WORDS LINE
expect() {
    local got
    got=$(complete_line "$2")
    [ "$got" = "$1" ] || {
        echo "\"$2\" is completed to \"$got\" instead of \"$1\"" >&2
        exit 1
    }
}
expect "--localinterface=" "MirskoFirmwareUpdater --l"
expect "00:00:00:00:00:00" "MirskoFirmwareUpdater --localinterface="
expect "00" "MirskoFirmwareUpdater --localinterface=00:00:00:00:00:0"
expect "force-ip" "mirsko-devices f"
expect "--watch --wait" "mirsko-devices --wa"
expect "payload" "mirsko-package p"
expect "--family" "mirsko-package payload --fa"
expect "--profile" "mirsko-simulator --profi"
cd "$(mktemp -d)"
touch camera.dfw camera.txt
expect "camera.dfw" "MirskoFirmwareUpdater --u3v cam"
expect "camera.txt" "mirsko-package info camera.t"

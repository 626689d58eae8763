#!/usr/bin/env bash
# Succeeds when the simulator's include folders lead to its own headers and to none of the SDK's, and
# no source of it climbs out of them.
#   simulator_includes.sh REPOSITORY COMPILER FOLDER;FOLDER…
set -euo pipefail
cd "$1"
IFS=';' read -r -a folders <<<"$3"

# Prints those of the include names read that are found; in a folder that does not help to find them.
found() {
    sed 's/.*/#if __has_include(&)\n&\n#endif/' |
        (cd / && "$2" "${folders[@]/#/-I}" -E -P -x c++ -) | sed '/^$/d'
}
sdk_names() {
    find sdk -name '*.h' | while IFS= read -r header; do
        printf '"%s"\n<%s>\n<%s>\n<%s>\n' \
            "$header" "${header#sdk/}" "${header#sdk/*/}" "${header##*/}"
    done
}
own='"simulator/registers/ByteOrder.h"'
status=0
[ "$(found "$@" <<<"$own")" = "$own" ] || {
    echo "The simulator does not find its own headers in $3" >&2
    status=1
}
seen=$(sdk_names | found "$@")
if [ -n "$seen" ]; then
    echo "The simulator can include headers of the SDK: $seen" >&2
    status=1
fi
if grep --recursive --line-number '#include.*\.\.' simulator; then
    echo "A source of the simulator climbs out of its folder" >&2
    status=1
fi
exit "$status"

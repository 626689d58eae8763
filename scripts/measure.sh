#!/usr/bin/env bash
# Prints how large the folders, the code and the interfaces of the SDK's libraries are.
#   scripts/measure.sh [GIT-REV]      the work tree; with a revision, that one beside it
#   scripts/measure.sh --check BUILD  fails when a folder holds more than 20 files, or a library in
#                                     BUILD/lib exports what neither a public header declares nor one
#                                     that the SDK's libraries share (sdk/internal)
# Set BUILD to count the exports of another build than build/dev.
set -euo pipefail
cd "$(dirname "$0")/.."
most=20
code=(app update transfer firmware_file sdk simulator tools compat tests)
libraries=(NyUtilsLib NxBase NxSystem NxGenICam NxDevice)

# files [REV]: of the work tree what is tracked and there, so that a build tree does not count
files() {
    if [ $# -gt 0 ]; then
        git ls-tree -r --name-only "$1"
    elif git rev-parse --git-dir >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard --deduplicate | while IFS= read -r file; do
            [ ! -e "$file" ] || echo "$file"
        done
    else
        find "${code[@]}" -type f
    fi
}

# folders [REV]: number and name; those that hold what is not written by hand, or is looked up by name,
# do not count
folders() {
    files "$@" | sed -n 's#/[^/]*$##p' | grep -vE '(^|/)include/|/corpus/' |
        sort | uniq -c | sort -k1,1nr -k2 | awk '{ print $1, $2 }'
}

# lines FOLDER [REV]: of C++, blank ones and comments included
lines() {
    local folder=$1
    shift
    { git grep -c '' "$@" -- "$folder/*.h" "$folder/*.cpp" || true; } |
        awk -F: '{ sum += $NF } END { print sum + 0 }'
}

# declared FOLDER: the classes, functions and namespaces that its headers export
declared() {
    { grep -hE 'NX_API|NY_API|^namespace' "$1"/*.h 2>/dev/null || true; } |
        sed -E 's/\(.*//; s/^namespace ([A-Za-z0-9_]+).*/\1/; s/^.*(class|struct).* N[XY]_API +([A-Za-z0-9_]+).*/\2/; s/.*[ &*]([A-Za-z0-9_]+)$/\1/' |
        sort -u
}

# exports LIBRARY BUILD: "public|internal|stray NAME" for each symbol. What starts with two underscores
# is the compiler's.
exports() {
    nm --dynamic --demangle --defined-only "$2/lib/lib$1.so" | cut -d' ' -f3- |
        awk -v public="$(declared "sdk/include/$1")" -v internal="$(declared "sdk/internal/$1")" '
            BEGIN {
                split(public, names, "\n"); for (i in names) kind[names[i]] = "public"
                split(internal, names, "\n"); for (i in names) kind[names[i]] = "internal"
            }
            {
                owner = $0
                sub(/^(vtable|typeinfo name|typeinfo|VTT|guard variable) for /, "", owner)
                sub(/^(non-virtual|virtual) thunk to /, "", owner)
                sub(/[^A-Za-z0-9_].*/, "", owner)
                if (owner !~ /^__/) print (owner in kind ? kind[owner] : "stray"), $0
            }'
}

check() {
    local status=0 found
    found=$(folders | awk -v most="$most" '$1 > most')
    if [ -n "$found" ]; then
        echo "Folders of more than $most files:" "$found" >&2
        status=1
    fi
    for library in "${libraries[@]}"; do
        found=$(exports "$library" "$1")
        grep -q '^public' <<<"$found" || {
            echo "lib$library.so exports nothing of its public headers" >&2
            status=1
        }
        if grep '^stray' <<<"$found" >&2; then
            echo "lib$library.so must not export these" >&2
            status=1
        fi
    done
    return "$status"
}

if [ "${1:-}" = --check ]; then
    check "$2"
    exit
fi
build=${BUILD:-build/dev}
for revision in "$@" ""; do
    echo "== ${revision:-the work tree}"
    echo "Folders of the most files, more than $most marked by *:"
    folders ${revision:+"$revision"} | head -n 30 |
        awk -v most="$most" '{ printf "%s%6d  %s\n", ($1 > most ? "*" : " "), $1, $2 }'
    echo "Lines of .h and .cpp:"
    for folder in sdk simulator tools tests; do
        printf '%7d  %s\n' "$(lines "$folder" ${revision:+"$revision"})" "$folder"
    done
done
echo "Symbols that each library of $build exports, by public headers, to the other libraries, stray:"
for library in "${libraries[@]}"; do
    [ -e "$build/lib/lib$library.so" ] || continue
    exports "$library" "$build" | cut -d' ' -f1 | sort | uniq -c |
        awk -v library="$library" '{ n[$2] = $1 }
            END { printf "%7d %6d %6d  %s\n", n["public"], n["internal"], n["stray"], library }'
done

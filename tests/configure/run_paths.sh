#!/usr/bin/env bash
# Succeeds when no program and no library below the folders loads libraries from the current folder:
# an empty or relative entry of a run path means that to the dynamic linker.
#   run_paths.sh FOLDER…
set -euo pipefail
looked_at=0
status=0
while IFS= read -r -d '' file; do
    dynamic=$(readelf --dynamic --wide "$file" 2>/dev/null) || continue
    looked_at=$((looked_at + 1))
    path=$(sed -n 's/.*(R.*PATH).*\[\(.*\)\]$/\1/p' <<<"$dynamic")
    # An empty RUNPATH means no RUNPATH.
    [ -n "$path" ] || continue
    while IFS= read -r -d : entry; do
        case $entry in
        /* | '$ORIGIN' | '$ORIGIN'/*) ;;
        *)
            echo "$file looks for libraries in \"$entry\", of its run path \"$path\"" >&2
            status=1
            ;;
        esac
    done <<<"$path:"
done < <(find "$@" -type f \( -perm /111 -o -name '*.so*' \) -print0)
[ "$looked_at" -gt 5 ] || {
    echo "Only $looked_at programs and libraries below $*" >&2
    exit 1
}
exit "$status"

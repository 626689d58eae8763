#!/usr/bin/env bash
# Succeeds when every program and library below the folders is hardened.
#   hardened.sh BUILD_TYPE FOLDER…
set -euo pipefail
build_type=$1
shift
looked_at=0
protected=0
fortified=0
status=0

# demand FILE WHAT PATTERN TEXT
demand() {
    grep --quiet --extended-regexp -- "$3" <<<"$4" && return
    echo "$1: $2" >&2
    status=1
}

while IFS= read -r -d '' file; do
    header=$(readelf --file-header --wide "$file" 2>/dev/null) || continue
    grep --quiet --extended-regexp 'Type: +(DYN|EXEC)' <<<"$header" || continue
    looked_at=$((looked_at + 1))
    # Where indirect branches may land: endbr64; paciasp, in leaf functions bti c.
    case $header in
    *X86-64*) landing='\xf3\x0f\x1e\xfa' ;;
    *AArch64*) landing='\x3f\x23\x03\xd5|\x5f\x24\x03\xd5' ;;
    *) landing= ;;
    esac
    segments=$(readelf --program-headers --wide "$file")
    dynamic=$(readelf --dynamic --wide "$file")
    symbols=$(readelf --dyn-syms --wide "$file")
    demand "$file" "is not position-independent" 'Type: +DYN' "$header"
    demand "$file" "has writable relocations" 'GNU_RELRO' "$segments"
    demand "$file" "resolves functions lazily" 'BIND_NOW|Flags:.*NOW' "$dynamic"
    demand "$file" "has an executable stack" 'GNU_STACK.* RW +0x' "$segments"
    # Not the property that the linker notes: Debian's own start files lack it.
    landings=$(LC_ALL=C grep --only-matching --text --perl-regexp "$landing" "$file" | wc -l)
    # At least the exported functions, which a stripped library may have few of.
    least=$(awk '$4 == "FUNC" && $7 != "UND" && !seen[$2]++' <<<"$symbols" | wc -l)
    [ "$least" -gt 0 ] || least=11
    [ -z "$landing" ] || [ "$landings" -ge "$least" ] || {
        echo "$file: has no control-flow protection" >&2
        status=1
    }
    # Branch protection of Arm is two things: landing pads, and return addresses that are signed (paciasp).
    case $header in
    *AArch64*)
        LC_ALL=C grep --quiet --text --perl-regexp '\x3f\x23\x03\xd5' "$file" || {
            echo "$file: does not sign return addresses" >&2
            status=1
        }
        ;;
    esac
    grep --quiet __stack_chk_fail <<<"$symbols" && protected=$((protected + 1))
    grep --quiet --extended-regexp '__[a-z]+_chk@' <<<"$symbols" && fortified=$((fortified + 1))
done < <(find "$@" -type f \( -perm /111 -o -name '*.so*' \) -print0)

[ "$looked_at" -gt 5 ] || {
    echo "Only $looked_at programs and libraries below $*" >&2
    exit 1
}
# One that has no array on its stack needs no guard, so not all of them show it.
[ "$protected" -gt 5 ] || {
    echo "Only $protected of $looked_at programs and libraries have stack guards" >&2
    status=1
}
case $build_type in
Release | RelWithDebInfo | MinSizeRel)
    [ "$fortified" -gt 2 ] || {
        echo "Only $fortified of $looked_at programs and libraries check sizes of buffers" >&2
        status=1
    }
    ;;
esac
exit "$status"

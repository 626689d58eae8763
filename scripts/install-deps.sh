#!/usr/bin/env bash
# Installs the missing Debian packages of scripts/packages.txt with apt, as root or through sudo. If none is
# missing, does nothing and needs neither.
#   scripts/install-deps.sh [GROUP…]        default: build demo tests
set -euo pipefail
cd "$(dirname "$0")"
[ $# -gt 0 ] || set -- build demo tests

missing=()
group=
while read -r package rest; do
    case $package in
    '') continue ;;
    '#')
        group=$rest
        continue
        ;;
    esac
    [[ " $* " == *" $group "* ]] || continue
    state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done <packages.txt
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
    command -v sudo >/dev/null || {
        echo "Please install as root: ${missing[*]}" >&2
        exit 1
    }
    as_root=(sudo)
fi
echo "Installing ${#missing[@]} Debian packages: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for step in "update" "install --yes --no-install-recommends ${missing[*]}"; do
    # shellcheck disable=SC2086 # the step is a list of words
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get $step >"$log" 2>&1 || {
        cat "$log" >&2
        exit 1
    }
done

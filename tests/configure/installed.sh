#!/usr/bin/env bash
# Installs a build into a folder of its own and tries what is there.
#   installed.sh BUILD CMAKE SANITIZERS BUILD_TYPE
set -euo pipefail
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
"$2" --install "$1" --prefix "$prefix" >/dev/null

# The updater finds the device SDK where the embedded systems keep it, and nowhere else by itself.
path=$(readelf --dynamic "$prefix/bin/MirskoFirmwareUpdater" | sed -n 's/.*R.*PATH.*\[\(.*\)\]/\1/p')
[ "$path" = /lib:/lib/genicam/bin/Linux64_ARM ] || {
    echo "The installed updater's run path is \"$path\"" >&2
    exit 1
}
"$(dirname "$0")/run_paths.sh" "$prefix"
# A sanitizer's build has its own checks in place of these.
[ -n "$3" ] || "$(dirname "$0")/hardened.sh" "$4" "$prefix"
library=$(dirname "$(find "$prefix" -name libNxBase.so | head -n 1)")
LD_LIBRARY_PATH=$library "$prefix/bin/MirskoFirmwareUpdater" --help | grep --quiet -- --localinterface
for program in mirsko-devices mirsko-package mirsko-simulator mirsko-update; do
    "$prefix/bin/$program" --help >/dev/null
done
[ -f "$(find "$prefix" -name '*.xsd')" ]
[ -f "$(find "$prefix" -name '70-mirsko-u3v.rules')" ]

#!/usr/bin/env bash
# Succeeds when what a user installs without the simulator needs neither Aravis nor GLib.
#   needed_libraries.sh BUILD
set -euo pipefail
looked_at=0
status=0
for file in "$1"/bin/MirskoFirmwareUpdater "$1"/bin/mirsko-devices "$1"/bin/mirsko-package \
    "$1"/bin/mirsko-update "$1"/lib/libN*.so; do
    needed=$(readelf --dynamic --wide "$file" | sed -n 's/.*(NEEDED).*\[\(.*\)\]$/\1/p')
    looked_at=$((looked_at + 1))
    if grep -iE 'aravis|glib|gobject|gio' <<<"$needed"; then
        echo "$file needs them" >&2
        status=1
    fi
done
[ "$looked_at" = 9 ] || {
    echo "$looked_at programs and libraries instead of 9 in $1" >&2
    exit 1
}
exit "$status"

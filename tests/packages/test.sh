#!/usr/bin/env bash
# In a clean Debian system (in_system.sh): installs the packages, tries what they bring, removes them.
set -euo pipefail
say() { printf '\n%s\n' "$*"; }
fail() {
    echo "$*" >&2
    exit 1
}
install() { apt-get --quiet --quiet --yes --no-install-recommends install "$@" >log 2>&1 || {
    cat log >&2
    exit 1
}; }
is_installed() { dpkg-query --show --showformat='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed; }
# What apt and dpkg themselves note of any package ever installed.
files() {
    find / -xdev -not -path '/trial/*' -not -path '/var/log/*' -not -path '/var/cache/*' \
        -not -path '/var/lib/apt/*' -not -path '/var/lib/dpkg/*' | sort
}
files >before
packages=(mirsko-firmware-updater mirsko-tools libnxsdk-dev mirsko-simulator)

say "The updater alone"
install ./mirsko-firmware-updater_*.deb
MirskoFirmwareUpdater --help | grep --quiet -- --localinterface
[ -f /usr/lib/udev/rules.d/70-mirsko-u3v.rules ]
for package in umockdev mirsko-tools libnxsdk-dev; do
    ! is_installed "$package" || fail "$package came with the updater"
done
status=0
MirskoFirmwareUpdater --u3v firmware.dfw >log 2>&1 || status=$?
[ "$status" = 100 ] || fail "Without a device, the status is $status"

say "All packages"
for package in "${packages[@]}"; do
    is_installed "$package" || install "./${package}"_*.deb
    dpkg-query --show --showformat='${Package} ${Version} ${Installed-Size} KiB: ${Depends}\n' "$package"
done
for program in mirsko-devices mirsko-package mirsko-simulator mirsko-update; do
    "$program" --version
done
for program in MirskoFirmwareUpdater mirsko-devices mirsko-package mirsko-simulator mirsko-update; do
    gzip --test "/usr/share/man/man1/$program.1.gz"
done
/trial/packages/completion.sh

say "Installed files are hardened and stripped"
mkdir installed
dpkg-query --listfiles "${packages[@]}" | sort --unique | while read -r file; do
    [ ! -f "$file" ] || [ -L "$file" ] || cp --parents "$file" installed
done
/trial/configure/hardened.sh RelWithDebInfo installed
/trial/configure/run_paths.sh installed
while read -r file; do
    ! readelf --sections --wide "$file" 2>/dev/null | grep --quiet '\.symtab' ||
        fail "$file is not stripped"
done < <(find installed -type f \( -perm /111 -o -name '*.so*' \))
path=$(readelf --dynamic /usr/bin/MirskoFirmwareUpdater | sed -n 's/.*PATH.*\[\(.*\)\]/\1/p')
[ "$path" = /lib:/lib/genicam/bin/Linux64_ARM ] || fail "The updater's run path is \"$path\""

say "Simulated cameras are updated"
for demo in genicam tftp package u3v; do
    MIRSKO_BIN=/usr/bin "/trial/demo/$demo.sh" >log 2>&1 || {
        cat log >&2
        fail "The demo $demo failed"
    }
    tail --lines=1 log
done

say "Another project uses the SDK"
cmake -S packages/third_party -B by-cmake >log && cmake --build by-cmake >>log || fail "$(cat log)"
# shellcheck disable=SC2046 # a list of options
g++ -std=c++17 -o by-pkg-config packages/third_party/main.cpp $(pkg-config --cflags --libs nxsdk)
mirsko-simulator --serial 4711 --firmware-version 3.2 --ready-file ready &
simulator=$!
until [ -e ready ]; do
    kill -0 "$simulator"
    sleep 0.05
done
for program in by-cmake/third_party ./by-pkg-config; do
    [ "$("$program")" = "4711 3.2" ] || fail "$program does not find the camera"
    echo "$program finds the camera"
done
kill "$simulator"
wait "$simulator"
schema=/usr/share/mirsko-firmware-updater
[ -f "$schema/FirmwareUpdate.xsd" ] && [ -f "$schema/example-package/Manifest.xml" ]

say "The packages are removed"
apt-get --quiet --quiet --yes purge --autoremove "${packages[@]}" >log 2>&1 || fail "$(cat log)"
! dpkg-query --show | grep --extended-regexp "mirsko|nxsdk" || fail "They are still there"
! ldconfig --print-cache | grep --extended-regexp 'libN[xy]' || fail "Their libraries are still known"
files >after
diff before after || fail "These files are left (>) or gone (<)"
say "Nothing of them is left."

#!/usr/bin/env bash
# Inside tests/isolated.sh: a camera at the other end of a cable, and what a user types to update it.
# Prints the commands and all that they print.
set -euo pipefail
work=$(mktemp -d)
cd "$work"

unshare --net sleep infinity &
far=$!
until [ "$(readlink "/proc/$far/ns/net")" != "$(readlink /proc/self/ns/net)" ]; do sleep 0.01; done
ip link add eth1 address 00:11:22:ab:cd:ef type veth peer name far0 netns "$far"
ip address add 192.168.1.10/24 dev eth1
ip link set eth1 up
nsenter --target "$far" --net ip address add 192.168.1.20/24 dev far0
nsenter --target "$far" --net ip link set far0 up

nsenter --target "$far" --net "$MIRSKO_BIN/mirsko-simulator" --interface far0 --address 192.168.1.20 \
    --profile no-file-access --model ORLA-25M --serial 4711 --family ORLA --state camera \
    --ready-file ready &
camera=$!
until [ -e ready ]; do
    kill -0 "$camera"
    sleep 0.05
done
until ip -brief link show eth1 | grep -q ' UP '; do sleep 0.05; done

head --bytes=3000000 /dev/zero >firmware.bin
"$MIRSKO_BIN/mirsko-package" payload --family ORLA --version 2.1 firmware.bin camera-2.1.dfw >/dev/null

# show COMMAND…
show() {
    echo "\$ $*"
    "$MIRSKO_BIN/$1" "${@:2}" 2>&1
}
show mirsko-devices
show MirskoFirmwareUpdater --localinterface=00:11:22:ab:cd:ef camera-2.1.dfw
# The picture of a failure would be of no use.
cmp firmware.bin camera/firmware.bin >&2
kill "$camera" "$far"

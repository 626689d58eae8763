# Network interfaces with simulated cameras on them, for scripts that source this file inside
# tests/isolated.sh. Settings: $bin, the folder of the programs; $work, a folder for the cameras' states.
far=        # process ID of the network that the cameras are in
cameras=()  # process IDs by number

on_far_side() { nsenter --target "$far" --net -- "$@"; }

open_far_side() {
    unshare --net sleep infinity &
    far=$!
    while [ "$(readlink "/proc/$far/ns/net")" = "$(readlink /proc/self/ns/net)" ]; do
        sleep 0.01
    done
    on_far_side ip link set lo up
}

# add_interface NAME SUBNET [PID]: an interface with address SUBNET.1, here or in the network of that
# process; its other end, with the same name, is on the cameras' side
add_interface() {
    local near=${3:-$$}
    ip link add "$1" netns "$near" type veth peer name "$1" netns "$far"
    nsenter --target "$near" --net sh -ec "ip address add $2.1/24 dev $1; ip link set $1 up"
    on_far_side ip link set "$1" up
}

# add_camera NUMBER INTERFACE ADDRESS OPTION…: starts a camera with serial number SIM-NUMBER; its state is
# kept in $work/camera-NUMBER
add_camera() {
    on_far_side ip address add "$3/24" dev "$2"
    rm -f "$work/ready-$1"
    on_far_side "$bin/mirsko-simulator" --state "$work/camera-$1" --ready-file "$work/ready-$1" \
        --serial "SIM-$1" --mac "$(printf '02:4d:53:00:%02x:%02x' $(($1 / 256)) $(($1 % 256)))" \
        --interface "$2" --address "$3" "${@:4}" &
    cameras[$1]=$!
}

# await_cameras: waits until each camera replies
await_cameras() {
    local number
    for number in "${!cameras[@]}"; do
        until [ -e "$work/ready-$number" ]; do
            kill -0 "${cameras[$number]}" 2>/dev/null || {
                echo "Simulated camera $number did not start." >&2
                return 1
            }
            sleep 0.02
        done
    done
}

stop_cameras() {
    [ "${#cameras[@]}" = 0 ] || kill "${cameras[@]}" 2>/dev/null || true
    wait "${cameras[@]}" || true
    cameras=()
}

# holds_firmware NUMBER PAYLOAD: whether the camera holds exactly the bytes after the payload's 64-byte header
holds_firmware() {
    cmp --quiet <(tail --bytes=+65 "$2") "$work/camera-$1/firmware.bin" 2>/dev/null
}

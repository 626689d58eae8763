# Eight simulated cameras on each of some interfaces, for scripts that source this file inside
# tests/isolated.sh. Setting: MIRSKO_BIN, the folder of the programs.
bin=$MIRSKO_BIN
work=$(mktemp -d)
number_of_cameras=0
. "$(dirname "$0")/network.sh"

# make_payload VERSION: 1 MB, $work/VERSION.dfw
make_payload() {
    head --bytes=1000000 /dev/urandom >"$work/body"
    "$bin/mirsko-package" payload --family SIMCAM --version "$1" "$work/body" "$work/$1.dfw" >"$work/output"
}

# start_fleet INTERFACES
start_fleet() {
    open_far_side
    local interface host profile
    for interface in $(seq "$1"); do
        add_interface "cam$interface" "10.0.$interface"
        for host in $(seq 8); do
            number_of_cameras=$((number_of_cameras + 1))
            profile=file-access
            [ $((host % 2)) = 1 ] || profile=loader
            add_camera "$number_of_cameras" "cam$interface" "10.0.$interface.$((host + 1))" \
                --family SIMCAM --profile "$profile"
        done
    done
    await_cameras
}

# right_cameras VERSION: prints how many cameras run it with exactly the bytes of its payload
right_cameras() {
    local number right=0
    for number in $(seq "$number_of_cameras"); do
        if holds_firmware "$number" "$work/$1.dfw" &&
            grep --quiet "\"running_version\": *\"$1\"" "$work/camera-$number/state.json"; then
            right=$((right + 1))
        fi
    done
    echo "$right"
}

all_are_right() { [ "$(right_cameras "$1")" = "$number_of_cameras" ]; }

#!/usr/bin/env bash
# Twenty hosts with two simulated cameras each, updated by the Ansible role; runs inside tests/isolated.sh,
# as root. Setting: MIRSKO_BIN, the folder of the programs.
set -euo pipefail
repository=$(dirname "$(dirname "$(dirname "$(readlink -f "$0")")")")
cd "$repository"
bin=$MIRSKO_BIN
work=$(mktemp -d)
. scripts/fleet/network.sh
number_of_hosts=${HOSTS:-20}
faulty_flash=9      # camera 1 of host 5
faulty_control=22   # camera 2 of host 11
template='{{7*191}}' # that camera's model: no text of a camera may be evaluated
vanishing=13        # this host is switched off
cut_off=12          # this host loses its network
sides=()  # of each host's cameras
hosts=()
export ANSIBLE_HOME=$work/ansible ANSIBLE_ROLES_PATH=packaging/ansible/roles ANSIBLE_NOCOLOR=1
export ANSIBLE_PIPELINING=1 ANSIBLE_FORKS=${FORKS:-20} ANSIBLE_HOST_KEY_CHECKING=0 ANSIBLE_TIMEOUT=30
export ANSIBLE_RETRY_FILES_ENABLED=0 ANSIBLE_DEPRECATION_WARNINGS=0

say() { printf '\n== %s\n' "$*"; }
fail() {
    echo "NOT AS EXPECTED: $*" >&2
    sed "/^ok:/d; /^changed:/d; /^skipping:/d; /^included:/d; /^$/d" "$work/output" >&2
    exit 1
}
name_of() { printf 'host%02d' "$1"; }

# start_host NUMBER: with its cameras connected, and reachable from here
start_host() {
    local folder=$work/$(name_of "$1")
    mkdir -p "$folder"
    rm -f "$folder/go"
    unshare --net --mount --pid --fork --kill-child=KILL tests/ansible/host.sh "$folder" 2>>"$folder/log" &
    hosts[$1]=$!
    while [ "$(readlink "/proc/${hosts[$1]}/ns/net")" = "$(readlink /proc/self/ns/net)" ]; do sleep 0.01; done
    ip link add "to$1" type veth peer name eth0 netns "${hosts[$1]}"
    ip link set "to$1" master control up
    nsenter --target "${hosts[$1]}" --net sh -ec "ip address add 10.0.0.$((100 + $1))/24 dev eth0; ip link set eth0 up"
    ip link add cam0 netns "${hosts[$1]}" type veth peer name uplink netns "${sides[$1]}"
    nsenter --target "${hosts[$1]}" --net sh -ec "ip address add 192.168.7.1/24 dev cam0; ip link set cam0 up"
    nsenter --target "${sides[$1]}" --net ip link set uplink master cam0 up
    touch "$folder/go"
}

# start_camera HOST CAMERA OPTION…
start_camera() {
    far=${sides[$1]}
    local number=$((2 * $1 - 2 + $2)) profile=file-access
    [ "$2" = 1 ] || [ "$number" = "$faulty_control" ] || profile=no-file-access # by TFTP
    add_camera "$number" cam0 "192.168.7.$((10 + $2))" --family SIMCAM --profile "$profile" \
        --events "$work/events-$number" "${@:3}"
}

# await_host NUMBER: waits until its sshd answers
await_host() {
    for _ in $(seq 600); do
        ! (exec 3<>"/dev/tcp/10.0.0.$((100 + $1))/22") 2>/dev/null || return 0
        sleep 0.05
    done
    fail "$(name_of "$1") does not answer: $(cat "$work/$(name_of "$1")/log")"
}

# bytes: that went to the hosts and came from them so far
bytes() { awk '/^ *to[0-9]+:/ { sub(/^[^:]*:/, ""); bytes += $1 + $9 } END { print bytes + 0 }' /proc/net/dev; }
# play OPTION…: the playbook; its status is in $status, its figures (of this computer) in $figures
play() {
    local before
    before=$(bytes)
    status=0
    mkdir -p "$work/facts"
    rm -f "$work"/facts/* "$work/figures"
    scripts/fleet/measured.py "$work/figures" \
        ansible-playbook --inventory "$work/inventory" --extra-vars "facts=$work/facts" "$@" \
        tests/ansible/playbook.yml >"$work/output" 2>&1 </dev/null || status=$?
    figures="$(cat "$work/figures"), $((($(bytes) - before) / 1000)) kB on the network"
}
# hosts_with COLUMN: the hosts whose recap counts any, e.g. changed, failed or unreachable; in one line
hosts_with() { sed -n "/^PLAY RECAP/,\$s/^\\(host[0-9]*\\) .* $1=[1-9].*/\\1/p" "$work/output" | sort | tr '\n' ' '; }
# outcomes: of the cameras, as the facts have them: how many of each
outcomes() { cat "$work"/facts/*.json | grep --only-matching '"outcome": "[^"]*"' | cut -d '"' -f 4 | sort | uniq -c | tr -s ' \n' ' '; }
# right VERSION: how many cameras run it with exactly the bytes of its payload
right() {
    local number count=0
    for number in $(seq $((2 * number_of_hosts))); do
        if holds_firmware "$number" "$work/$1.dfw" &&
            grep --quiet "\"running_version\": *\"$1\"" "$work/camera-$number/state.json"; then
            count=$((count + 1))
        fi
    done
    echo "$count"
}
expect() { [ "$2" = "$3" ] || fail "$1: \"$2\" instead of \"$3\""; }
all_hosts() { for host in $(seq "$number_of_hosts"); do printf '%s ' "$(name_of "$host")"; done; }
all=$((2 * number_of_hosts))

ssh-keygen -q -t ed25519 -N '' -f "$work/key"
ip link add control type bridge
ip address add 10.0.0.1/24 dev control
ip link set control up
for signer in maker stranger; do
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout "$work/$signer.key" \
        -out "$work/$signer.pem" -subj /CN=$signer -days 2 2>"$work/output"
done
for version in 2.1 2.2; do
    head --bytes=1000000 /dev/urandom >"$work/body"
    "$bin/mirsko-package" payload --family SIMCAM --version $version "$work/body" "$work/$version.dfw" >"$work/output"
    "$bin/mirsko-package" sign --key "$work/maker.key" --certificate "$work/maker.pem" "$work/$version.dfw" >"$work/output"
done
for host in $(seq "$number_of_hosts"); do
    open_far_side
    sides[$host]=$far
    # A switch: the cameras stay connected to it when their host vanishes.
    on_far_side ip link add cam0 type bridge
    on_far_side ip link set cam0 up
    start_host "$host"
    for camera in 1 2; do
        options=()
        case $((2 * host - 2 + camera)) in
        "$faulty_flash") options=(--fail-flash --model "$template") ;;
        "$faulty_control") options=(--refuse-control) ;;
        esac
        start_camera "$host" $camera "${options[@]}"
    done
done
await_cameras
for host in $(seq "$number_of_hosts"); do await_host "$host"; done
{
    echo "[all:vars]"
    echo "ansible_user=root"
    echo "ansible_ssh_private_key_file=$work/key"
    echo "ansible_python_interpreter=/usr/bin/python3"
    # A host that is gone is given up after 15 s.
    echo "ansible_ssh_common_args='-o UserKnownHostsFile=$work/known -o ServerAliveInterval=5 -o ServerAliveCountMax=3'"
    echo "mirsko_update_program=$bin/mirsko-update"
    echo "mirsko_update_firmware=['$work/2.1.dfw']"
    echo "mirsko_update_certificates=$work/maker.pem"
    echo "mirsko_update_expected_cameras=2"
    echo "[cameras]"
    for host in $(seq "$number_of_hosts"); do
        echo "$(name_of "$host") ansible_host=10.0.0.$((100 + host))"
    done
} >"$work/inventory"

say "Check mode: every camera is asked, none is written, and the hosts are left as they were"
play --check
echo "$figures; outcomes:$(outcomes)"
expect "hosts that would change" "$(hosts_with changed)" "$(all_hosts)"
expect "hosts that would fail" "$(hosts_with failed)" "host11 "
expect "cameras" "$(outcomes)" " $((all - 1)) needed 1 refused "
expect "right cameras" "$(right 2.1)" 0
[ -z "$(find "$work"/host*/upper/var/lib/mirsko-update "$work"/host*/upper/tmp -name '*.dfw' 2>/dev/null)" ] ||
    fail "files were left on a host"

say "The first run: all but the two faulty cameras"
play
echo "$figures; outcomes:$(outcomes)"
grep '^fatal' "$work/output"
grep --quiet --fixed-strings "$template SIM-$faulty_flash (192.168.7.11): failed, its status" "$work/output" ||
    fail "a camera's text was taken for a template"
expect "changed" "$(hosts_with changed)" "$(all_hosts)"
expect "failed" "$(hosts_with failed)" "host05 host11 "
expect "cameras" "$(outcomes)" " 1 failed 1 refused $((all - 2)) updated "
expect "status" "$status" 2
expect "right cameras" "$(right 2.1)" $((all - 2))

say "The second run changes nothing"
play
echo "$figures; outcomes:$(outcomes)"
expect "changed" "$(hosts_with changed)" ""
expect "failed" "$(hosts_with failed)" "host05 host11 "
expect "cameras" "$(outcomes)" " $((all - 2)) current 1 failed 1 refused "

say "The two cameras are repaired; batches of five hosts"
for number in $faulty_flash $faulty_control; do
    kill "${cameras[$number]}"
    wait "${cameras[$number]}" || true
    start_camera $(((number + 1) / 2)) $((1 + (number + 1) % 2))
done
await_cameras
play --extra-vars batch=5
echo "$figures; outcomes:$(outcomes)"
expect "changed" "$(hosts_with changed)" "host05 host11 "
expect "failed" "$(hosts_with failed)" ""
expect "status" "$status" 0
expect "right cameras" "$(right 2.1)" "$all"

say "Another firmware; while they write it, $(name_of $vanishing) is switched off and $(name_of $cut_off) cut off"
sed -i 's/2\.1\.dfw/2.2.dfw/' "$work/inventory"
# once_it_writes HOST COMMAND…: runs it as soon as the host's first camera is being written
once_it_writes() {
    : >"$work/events-$((2 * $1 - 1))"
    (
        until grep --quiet file_open "$work/events-$((2 * $1 - 1))"; do sleep 0.02; done
        "${@:2}"
    ) &
}
once_it_writes $vanishing kill -KILL "${hosts[$vanishing]}"
once_it_writes $cut_off ip link set "to$cut_off" down
play
echo "$figures; outcomes:$(outcomes)"
grep 'UNREACHABLE' "$work/output" | cut -c 1-200
expect "unreachable" "$(hosts_with unreachable)" "$(name_of $cut_off) $(name_of $vanishing) "
expect "failed" "$(hosts_with failed)" ""
expect "status" "$status" 4
echo "$(right 2.2) of $all cameras right"

say "Both are back; the next run finishes them: $(name_of $cut_off) had gone on by itself"
ip link delete "to$vanishing" 2>/dev/null || true
nsenter --target "${sides[$vanishing]}" --net ip link delete uplink 2>/dev/null || true
start_host $vanishing
await_host $vanishing
ip link set "to$cut_off" up
await_host $cut_off
play
echo "$figures; outcomes:$(outcomes)"
expect "changed" "$(hosts_with changed)" "$(name_of $vanishing) "
expect "failed and unreachable" "$(hosts_with failed)$(hosts_with unreachable)" ""
expect "right cameras" "$(right 2.2)" "$all"

say "The reason why $(name_of 1) is not updated is reported: a missing camera, a signer who is not trusted, no program"
# expect_failure REASON OPTION…
expect_failure() {
    play --limit "$(name_of 1)" --extra-vars "${@:2}"
    grep '^fatal' "$work/output"
    grep --quiet "^fatal.*$1" "$work/output" || fail "the reason"
    expect "failed" "$(hosts_with failed)" "$(name_of 1) "
}
expect_failure '"2 cameras found, 3 expected"' mirsko_update_expected_cameras=3
expect_failure 'mirsko-update failed: .*signed by CN=maker, whose certificate cannot be verified' \
    "mirsko_update_certificates=$work/stranger.pem"
expect_failure 'mirsko-update failed: .*No such file' mirsko_update_program=/nowhere/mirsko-update

debs=("$repository/build/package/packages"/mirsko-{firmware-updater,tools}_*.deb)
if [ -e "${debs[0]}" ] && [ -e "${debs[1]}" ]; then
    say "$(name_of 1) gets mirsko-update from Debian packages"
    {
        echo "mirsko_update_program: mirsko-update"
        echo "mirsko_update_certificates: ''"
        echo "mirsko_update_debs: ['${debs[0]}', '${debs[1]}']"
    } >"$work/debs.yml"
    play --limit "$(name_of 1)" --extra-vars "@$work/debs.yml"
    echo "$figures; outcomes:$(outcomes)"
    expect "changed, status" "$(hosts_with changed)$status" "$(name_of 1) 0"
    play --limit "$(name_of 1)" --extra-vars "@$work/debs.yml"
    expect "changed by the second run, status" "$(hosts_with changed)$status" "0"
else
    say "Debian packages were not tried: run scripts/package.sh before"
fi
say "All as expected"

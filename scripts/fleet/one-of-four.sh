#!/usr/bin/env bash
# Updates four simulated cameras, the third of which has a fault, by one mirsko-update --all, and prints one
# line: "ok" if the other three are updated, and the third is as expected.
#   one-of-four.sh "NAME | OUTCOME | TRANSPORT | OPTIONS"       a line of faults.txt, which explains it
# Runs inside tests/isolated.sh. Setting: MIRSKO_BIN, the folder of the programs.
set -euo pipefail
IFS='|' read -r name expected transport options <<<"$1"
read -r name <<<"$name"
read -r expected <<<"$expected"
read -r transport <<<"$transport"
read -r -a options <<<"$options"
bin=$MIRSKO_BIN
work=$(mktemp -d)
body=200000
head --bytes=$body /dev/urandom >"$work/body"
"$bin/mirsko-package" payload --family SIMCAM --version 2.1 "$work/body" "$work/2.1.dfw" >"$work/log"

family=(--family SIMCAM)
[[ " ${options[*]} " != *' --family '* ]] || family=()
# start NUMBER OPTION…: a camera on loopback
start() {
    "$bin/mirsko-simulator" --state "$work/camera-$1" --ready-file "$work/ready-$1" --serial "SIM-$1" \
        --address "127.0.0.$1" --mac "02:4d:53:00:00:0$1" "${family[@]}" "${@:2}" 2>>"$work/log" &
    until [ -e "$work/ready-$1" ]; do
        kill -0 $! || exit 1
        sleep 0.02
    done
}

usb=()
case $transport in
file-access | no-file-access) start 3 --profile "$transport" "${options[@]}" ;;
tftp) start 3 --profile loader "${options[@]}" ;;
usb)
    usb=("$bin/mirsko-simulator" --u3v --state "$work/camera-3" --serial SIM-3 "${family[@]}" "${options[@]}" --)
    ;;
esac
family=(--family SIMCAM)
start 1
start 2 --profile loader
start 4

status=0
"${usb[@]}" "$bin/mirsko-update" --all --wait 15 --json "$work/2.1.dfw" >"$work/lines" 2>"$work/log" || status=$?

# is_right NUMBER: whether the camera holds and runs the new firmware
is_right() {
    cmp --quiet "$work/body" "$work/camera-$1/firmware.bin" 2>/dev/null &&
        grep --quiet '"running_version": *"2.1"' "$work/camera-$1/state.json"
}
# member NUMBER NAME: of what mirsko-update reports about the camera
member() {
    grep "\"serial\":\"SIM-$1\"" "$work/lines" | grep --only-matching "\"$2\":\"\([^\"\\\\]\|\\\\.\)*\"" | cut -d '"' -f 4-
}
verdict=ok
for number in 1 2 4; do
    is_right $number && [ "$(member $number outcome)" = 'updated"' ] || verdict=BAD
done
outcome=$(member 3 outcome) || outcome=absent
outcome=${outcome%\"}
reason=$(member 3 reason) || reason=
reason=${reason%\"}
reason=${reason//\\\"/\"}
case $outcome in
updated) is_right 3 && [ "$status" = 0 ] || verdict=BAD ;;
refused | failed | stored) [ -n "$reason" ] && [ "$status" = 1 ] || verdict=BAD ;;
absent) [ "$status" = 0 ] || verdict=BAD ;; # never seen, so never selected
*) verdict=BAD ;;
esac
[ "$outcome" = "$expected" ] || verdict=BAD
printf '%-3s | %-40s | %-8s | %s\n' "$verdict" "$name" "$outcome" "$reason"
[ "$verdict" = ok ] || sed 's/^/    /' "$work/lines" "$work/log" >&2

#!/usr/bin/env bash
# Compares this project's TFTP client with curl, tftp-hpa and atftp on tftpd-hpa and atftpd, with
# client and server on the same CPU and on different ones, in a network of its own.
#   bench/run-tftp.sh [MiB [rounds [JSON]]]        default: 256 MiB, 5 rounds
# The size is that of the files for 8192-byte blocks; smaller blocks get smaller files (a ninth for
# 512), so that every client works long enough for its start to count little.
# The figures are also appended to the file JSON, one object a line.
# Exit status: 0 every aim is met, 1 one is missed (marked MISSED).
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" != --isolated ]; then
    scripts/fetch-peers.sh
    exec tests/isolated.sh "$0" --isolated "$@"
fi
size=${2:-256}
rounds=${3:-5}
json=()
[ -z "${4:-}" ] || json=(--json "$4")
program=$PWD/build/bench/bin/bench-tftp
[ -x "$program" ] || { echo "Run cmake --preset bench && cmake --build --preset bench first" >&2; exit 2; }
peers=$PWD/build/peers

# tftpd-hpa resolves its address only where some interface has one that is not 127.x.
ip address add 10.99.99.1/32 dev lo
mkdir -m 777 /tmp/tftpd-hpa /tmp/atftpd
head -c "$((size << 20))" /dev/urandom >/tmp/file-8192
head -c "$(((size << 20) / 4))" /tmp/file-8192 >/tmp/file-1428
head -c "$(((size << 20) / 9))" /tmp/file-8192 >/tmp/file-512

serve() { # CPU of the servers
    taskset -c "$1" "$peers/tftpd-hpa/usr/sbin/in.tftpd" -L -4 -c -p -u root \
        -a 127.0.0.1:69 -s /tmp/tftpd-hpa &
    hpa=$!
    taskset -c "$1" "$peers/atftpd/usr/sbin/atftpd" --daemon --no-fork --user root --group root \
        --bind-address 127.0.0.2 --port 69 --logfile /dev/null /tmp/atftpd &
    at=$!
    until [ "$(grep -c ':0045 ' /proc/net/udp)" = 2 ]; do sleep 0.1; done
}
stop() {
    kill "$hpa" "$at"
    wait "$hpa" "$at" 2>/dev/null || true
}
missed=0
compare() { # address, name, further options
    "$program" --address "$1" --server-name "$2" --file /tmp/file \
        --remote-file "/tmp/$2/upload" --cpu 0 --rounds "$rounds" "${json[@]}" "${@:3}" || missed=1
}

echo "server     block  window  MB/s, medians of $rounds; then what ours is compared with"
for cpu in 0 1; do
    other=()
    [ "$cpu" = 0 ] && echo "same CPU" || { echo "different CPUs"; other=(--other-cpu); }
    serve "$cpu"
    compare 127.0.0.1 tftpd-hpa "${other[@]}"
    compare 127.0.0.2 atftpd --windows "${other[@]}"
    stop
done
exit "$missed"

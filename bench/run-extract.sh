#!/usr/bin/env bash
# Unpacks one member of 256 MiB with the updater's package reader and with unzip, alternately, into the
# same /tmp, and compares the whole processes' times.
#   bench/run-extract.sh [BUILD-FOLDER [ROUNDS [JSON]]]
# The figures are also written to the file JSON.
# Exit status: 0 the reader is at least as fast as unzip and stays under 32 MiB, for every kind of
# member; 1 it does not; 2 something is missing.
set -eu
repository=$(dirname "$(dirname "$(readlink -f "$0")")")
build=$(readlink -m "${1:-$repository/build/bench}")
rounds=${2:-7}
program=$build/bin/bench-extract
[ -x "$program" ] || { echo "no $program: cmake --preset bench && cmake --build --preset bench" >&2; exit 2; }
for tool in zip unzip python3; do
    command -v "$tool" >/dev/null || { echo "needs $tool" >&2; exit 2; }
done
# In a /tmp of its own, in memory: no disk takes part and nothing is left behind.
if [ "${MIRSKO_ISOLATED:-}" != 1 ]; then
    MIRSKO_ISOLATED=1 exec "$repository/tests/isolated.sh" "$0" "$build" "$rounds" "${3:-}"
fi
exec python3 - "$program" "$rounds" "${3:-}" <<'PYTHON'
import json, os, random, statistics, subprocess, sys, time

program, rounds = sys.argv[1], int(sys.argv[2])
size = 256 * 1024 * 1024
random.seed(1)
# Half of it like code and tables, half like compressed images, alternating every 64 KiB.
words = [random.randbytes(random.randint(2, 12)) for _ in range(4000)]
structured = b"".join(random.choice(words) for _ in range(200000))
piece = b"".join(structured[i:i + 65536] + random.randbytes(65536)
                 for i in range(0, 8 * 65536, 65536))
kinds = {
    "deflated": (piece * (size // len(piece) + 1), "-6"),
    "stored": (piece * (size // len(piece) + 1), "-0"),
    "zeros": (bytes(1024 * 1024) * 257, "-6"),
}

def timed(command):
    begin = time.perf_counter()
    out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return time.perf_counter() - begin, out

good = True
rows = []
print(f"{'member':10}{'reader s':>10}{'unzip s':>10}{'ratio':>8}{'peak MiB':>10}")
for kind, (content, level) in kinds.items():
    with open("/tmp/member.dfw", "wb") as member:
        member.write(content[:size])
    subprocess.run(["zip", "-q", "-j", level, "/tmp/p.zip", "/tmp/member.dfw"], check=True)
    os.remove("/tmp/member.dfw")
    ours, theirs, peak = [], [], 0
    for _ in range(rounds):
        seconds, out = timed([program, "/tmp/p.zip", "member.dfw"])
        answer = json.loads(out)
        assert answer["bytes"] == size
        ours.append(seconds)
        peak = max(peak, answer["peak_kib"])
        seconds, _ = timed(["unzip", "-q", "-o", "-d", "/tmp", "/tmp/p.zip"])
        os.remove("/tmp/member.dfw")
        theirs.append(seconds)
    mine, other = statistics.median(ours), statistics.median(theirs)
    good = good and mine <= other and 0 < peak < 32 * 1024
    print(f"{kind:10}{mine:10.3f}{other:10.3f}{other / mine:8.2f}{peak / 1024:10.1f}")
    rows.append({"member": kind, "reader": mine, "unzip": other, "peak_kib": peak})
    os.remove("/tmp/p.zip")
if sys.argv[3]:
    with open(sys.argv[3], "w") as file:
        json.dump(rows, file)
sys.exit(0 if good else 1)
PYTHON

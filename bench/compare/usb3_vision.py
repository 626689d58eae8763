"""USB3 Vision: the SDK and a plain Aravis client in one emulated bed, and commands counted."""

import json
import pathlib
import subprocess
import tempfile

from harness import BIN, REPOSITORY, aim, median, payload, run
from tables import table

TITLE = "USB3 Vision"
COLUMNS = ("command", "ack", "buffer", "sdk", "aravis", "bus", "sdk/aravis", "sdk/bus")
AIM = 0.9
# Command limit, ack limit, buffer, register layout, and the fewest commands per chunk: the data, the
# offset, the execute register and one read of all that shows the outcome.
COUNTED = [(65548, 1024, 65536, "plain", 2 + 3), (65548, 65548, 4096, "plain", 1 + 3),
           (1024, 1024, 4096, "plain", 5 + 3), (65548, 65548, 4096, "wide", 1 + 4),
           (65548, 65548, 4096, "bitfields", 1 + 4), (65548, 65548, 4096, "local-selectors", 1 + 4),
           (65548, 65548, 4096, "command-register", 1 + 3)]
CHUNKS = 12
ROUNDS = 5


def throughput():
    """Each row is the median of ROUNDS alternating rounds of bench-u3v itself."""
    out = subprocess.run([REPOSITORY / "bench/run-u3v.sh"], capture_output=True, text=True)
    if out.returncode not in (0, 1):
        raise RuntimeError(out.stderr)
    print(out.stdout, flush=True)
    return [dict(zip(COLUMNS, map(float, line.split()[:len(COLUMNS)])))
            for line in out.stdout.splitlines()[1:]]


def counted(command, ack, buffer, layout, guid):
    with tempfile.TemporaryDirectory() as folder:
        events = pathlib.Path(folder) / "events"
        run([BIN / "mirsko-simulator", "--u3v", "--max-command", command, "--max-ack", ack,
             "--buffer-size", buffer, "--layout", layout, "--operation-events", "--events", events,
             "--", BIN / "bench-file-access", "sdk", guid, payload(CHUNKS * buffer)])
        lines = [json.loads(line) for line in events.read_text().splitlines()]
    writes = [line["commands"] for line in lines
              if line["event"] == "file_operation" and line["operation"] == "write"][1:-1]
    return (writes[-1] - writes[0]) / (len(writes) - 1)


def measure(_):
    listing = run([BIN / "mirsko-simulator", "--u3v", "--", BIN / "mirsko-devices"])
    guid = next(word for word in listing.replace('"', " ").split() if word.startswith("u3v:"))
    return {"throughput": throughput(),
            "counts": [{"command": command, "ack": ack, "buffer": buffer, "layout": layout, "least": least,
                        "sdk": counted(command, ack, buffer, layout, guid)}
                       for command, ack, buffer, layout, least in COUNTED]}


def aims(result):
    return [aim(f"limits {row['command']:g}/{row['ack']:g}, {row['buffer']:g} bytes: speed / Aravis",
                row["sdk/aravis"], AIM, most=False) for row in result["throughput"]] + [
        aim(f"{row['layout']}, limits {row['command']}/{row['ack']}, {row['buffer']} bytes: "
            "commands per chunk", row["sdk"], row["least"]) for row in result["counts"]]


def report(result):
    return (table(["command limit", "ack limit", "buffer", "SDK, MB/s", "Aravis, MB/s", "bus, MB/s",
                   "SDK / Aravis", "SDK / bus"],
                  [[f"{row[name]:g}" if name in COLUMNS[:3] else f"{row[name]:.2f}" for name in COLUMNS]
                   for row in result["throughput"]]) + "\n"
            + table(["layout", "command limit", "ack limit", "buffer", "commands per chunk", "minimum"],
                    [[row["layout"], row["command"], row["ack"], row["buffer"], f"{row['sdk']:g}",
                      row["least"]] for row in result["counts"]]))


def plots(result):
    return {}

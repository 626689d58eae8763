"""GigE Vision file access: the SDK, three clients made of Aravis, and a bare loop."""

import contextlib
import json

from harness import BIN, CLIENT_CPU, DEVICE_CPU, Camera, aim, alternate, busy, median, payload, run
from tables import table

TITLE = "GigE Vision file access"
BLOCK = 536
LATENCIES = (0, 100, 300, 1000)  # microseconds per command
BUFFERS = (512, 4096, 65536)
# Register layouts of real cameras, and the buffers and latencies that each is measured with.
LAYOUTS = {
    "plain": (BUFFERS, LATENCIES),
    "selector": (BUFFERS, (0, 1000)),
    "local-selectors": ((1024, 4096), (0, 1000)),
    "bitfields": ((1024,), (0, 1000)),
    "command-register": ((1024,), (0, 1000)),
    "write-only-execute": ((4096,), (0,)),
    "read-only-offset": ((4096,), (0,)),
    "little-endian": ((4096,), (0,)),
    "wide": ((4096,), (0,)),
}
# With another program on the client's CPU that never waits: layout, buffer and latencies.
BESIDE_ANOTHER = ("plain", 4096, (0, 1000))
# What the protocol needs beside the data: a WRITEREG and a READREG. Registers of 8 bytes do not fit
# into these: the offset, the command and its end take a WRITEMEM or READMEM each.
BESIDE_DATA = {"wide": 4}
CLIENTS = ("sdk", "straightforward", "lean", "resolved", "bare", "bare-spin")
WITH_RESOLVED = ("plain", "selector")
WITHOUT_BARE = ("wide",)
SECONDS = 0.15  # of the bare loop, about
COUNTED_CHUNKS = 12
# Resends are due to other load on the machine, and PENDING_ACK is not a command.
NOT_COUNTED = ("DISCOVERY", "HEARTBEAT", "REPEATED", "PENDING_ACK")
ADDRESS = "127.0.0.1"
AT_MOST = {512: 0.45, 4096: 0.65, 65536: 0.70}


def least_commands(layout, buffer):
    return -(-buffer // BLOCK) + BESIDE_DATA.get(layout, 2)


def clients(layout, cpus="different"):
    return [name for name in CLIENTS
            if (name != "resolved" or layout in WITH_RESOLVED)
            and (not name.startswith("bare") or layout not in WITHOUT_BARE)
            and (name != "bare-spin" or cpus != "busy")]  # Takes minutes there.


def client_command(name, file, layout, buffer):
    command = [BIN / "bench-file-access", name, ADDRESS, file]
    return command + [layout, buffer] if name.startswith("bare") else command


def options(layout, buffer):
    return ["--no-tftp", "--layout", layout, "--buffer-size", buffer]


def total(event):
    return sum(count for kind, count in event["commands"].items() if kind not in NOT_COUNTED)


def counted(layout, buffer, name):
    """Commands per chunk between the second chunk and the last but one."""
    with Camera(*options(layout, buffer), "--operation-events") as camera:
        run(client_command(name, payload(COUNTED_CHUNKS * buffer), layout, buffer))
        writes = [event for event in camera.events("file_operation") if event["operation"] == "write"]
    writes = writes[1:-1]
    return (total(writes[-1]) - total(writes[0])) / (len(writes) - 1)


def timed(layout, buffer, latency, rounds, cpus):
    commands = least_commands(layout, buffer)
    chunks = max(4, round(SECONDS / (commands * (latency + 20) * 1e-6)))
    file = payload(chunks * buffer)
    cpu = CLIENT_CPU if cpus == "same" else DEVICE_CPU
    beside = busy() if cpus == "busy" else contextlib.nullcontext()
    with Camera(*options(layout, buffer), "--latency", latency, cpu=cpu) as camera, beside:
        def contestant(name):
            return lambda: json.loads(run(client_command(name, file, layout, buffer)))
        found = alternate(rounds, {name: contestant(name) for name in clients(layout, cpus)})
        if len(camera.events("file_close")) != rounds * len(found):
            raise RuntimeError("a file was not closed")
    return {"chunks": chunks,
            "seconds": {name: median([one["seconds"] for one in all]) for name, all in found.items()},
            "cpu": {name: median([one["cpu_seconds"] for one in all]) for name, all in found.items()}}


def measure(rounds):
    rows = []
    for layout, (buffers, latencies) in LAYOUTS.items():
        for buffer in buffers:
            counts = {name: counted(layout, buffer, name) for name in clients(layout)}
            cases = [(latency, "different") for latency in latencies]
            if layout == "plain":
                cases.append((0, "same"))
            if (layout, buffer) == BESIDE_ANOTHER[:2]:
                cases += [(latency, "busy") for latency in BESIDE_ANOTHER[2]]
            for latency, cpus in cases:
                row = {"layout": layout, "buffer": buffer, "latency": latency, "counts": counts,
                       "least": least_commands(layout, buffer), "cpus": cpus}
                row.update(timed(layout, buffer, latency, rounds, cpus))
                print(f"{layout} {buffer} bytes, {latency} us, {row['cpus']} CPU: "
                      f"{row['seconds']['sdk'] / row['seconds']['lean']:.2f} x lean", flush=True)
                rows.append(row)
    return {"rows": rows}


def ratio(row, other, what="seconds"):
    return row[what]["sdk"] / row[what][other] if other in row[what] else None


def aims(result):
    found = []
    for row in result["rows"]:
        name = f"{row['layout']}, {row['buffer']} bytes"
        if row["cpus"] == "busy":
            found.append(aim(f"{name}, {row['latency']} us, busy CPU: time / lean Aravis client",
                             ratio(row, "lean"), 1.0))
            continue
        if (row["layout"], row["buffer"], row["latency"]) == ("plain", 4096, 0):
            found.append(aim(f"{name}, {row['cpus']} CPU: CPU time / lean Aravis client",
                             ratio(row, "lean", "cpu"), 0.75))
        if row["latency"] == 0 and row["cpus"] == "different":
            found.append(aim(f"{name}: commands per chunk", row["counts"]["sdk"], row["least"]))
            if row["layout"] == "plain":
                found.append(aim(f"{name}: time / lean Aravis client", ratio(row, "lean"),
                                 AT_MOST[row["buffer"]]))
            if (row["layout"], row["buffer"]) in (("selector", 4096), ("local-selectors", 1024)):
                found.append(aim(f"{name}: time / lean Aravis client", ratio(row, "lean"), 0.30))
        if row["latency"] == 1000:
            found.append(aim(f"{name}: time / (commands x 1 ms)", per_command(row), 1.03))
    return found


def per_command(row):
    """Time as a ratio to the sum of what the camera took for the commands of the chunks."""
    return row["seconds"]["sdk"] / (row["chunks"] * row["counts"]["sdk"] * row["latency"] * 1e-6)


def number(value):
    return "" if value is None else f"{value:.2f}"


def report(result):
    counts = [[row["layout"], row["buffer"], row["least"],
               *[f"{row['counts'][name]:g}" if name in row["counts"] else "" for name in CLIENTS[:4]]]
              for row in result["rows"] if row["latency"] == 0 and row["cpus"] == "different"]
    times = [[row["layout"], row["buffer"], row["cpus"], row["latency"],
              f"{row['chunks'] * row['buffer'] / row['seconds']['sdk'] / 1e6:.2f}",
              *[number(ratio(row, name)) for name in CLIENTS[1:]],
              number(ratio(row, "lean", "cpu")),
              number(per_command(row) if row["latency"] else None)]
             for row in result["rows"]]
    return (table(["layout", "buffer", "minimum", "SDK", "straightforward", "lean", "resolved"], counts)
            + "\n"
            + table(["layout", "buffer", "CPUs", "µs", "SDK, MB/s", "/ straightforward", "/ lean", "/ resolved",
                     "/ bare, poll", "/ bare, spin", "CPU / lean", "/ (commands × latency)"], times))


def plots(result):
    rows = [row for row in result["rows"] if row["layout"] == "plain" and row["cpus"] == "different"]
    data = "\n\n\n".join(
        f'"{buffer} bytes"\n' + "\n".join(
            f"{row['latency']} {ratio(row, 'lean'):.4f}" for row in rows if row["buffer"] == buffer)
        for buffer in BUFFERS)
    return {"file-access": {
        "title": "File access: time of the SDK / time of the lean Aravis client (plain registers)",
        "x": "microseconds per command", "y": "ratio", "data": data, "series": len(BUFFERS),
        "more": "set yrange [0:1.2]"}}

"""From the first command to the first byte of the payload: the SDK and Aravis."""

from capture import Capture
from harness import BIN, Camera, aim, alternate, median, payload, run
from tables import table

TITLE = "Connecting"
KB = 1000
OWN = 10 * KB  # the simulated camera's own description, about; what is added to it:
DESCRIPTIONS = {"26 KB": 16 * KB, "250 KB": 240 * KB, "1.2 MB": 1200 * KB}
LATENCIES = (0, 1000)
CLIENTS = {"sdk": "sdk", "aravis": "lean"}


def connect(client):
    """Seconds and commands from the first command until the first byte of the payload is sent."""
    with Capture() as capture:
        run([BIN / "bench-file-access", client, "127.0.0.1", payload(20000)])
    commands = [packet for packet in capture.packets() if packet.is_command()]
    before = next(i for i, packet in enumerate(commands) if packet.is_payload())
    return {"seconds": commands[before].time - commands[0].time, "commands": before}


def measure(rounds):
    rows = []
    for size, added in DESCRIPTIONS.items():
        for storage in ("raw", "zipped"):
            for latency in LATENCIES:
                options = ["--no-tftp", "--additional-nodes", added, "--latency", latency]
                with Camera(*options, *(["--zipped-xml"] if storage == "zipped" else [])):
                    found = alternate(rounds, {name: lambda client=client: connect(client)
                                               for name, client in CLIENTS.items()})
                rows.append({"description": size, "storage": storage, "latency": latency,
                             **{name: {what: median([one[what] for one in all]) for what in all[0]}
                                for name, all in found.items()}})
                print(f"{size} {storage}, {latency} us: {ratio(rows[-1]):.2f} x Aravis", flush=True)
    return {"rows": rows}


def ratio(row):
    return row["sdk"]["seconds"] / row["aravis"]["seconds"]


def aims(result):
    return [aim(f"{row['description']} {row['storage']}: connecting / Aravis", ratio(row), 0.5)
            for row in result["rows"] if row["description"] == "1.2 MB" and row["latency"] == 0]


def report(result):
    return table(["description", "stored", "µs per command", "SDK, ms", "Aravis, ms", "ratio",
                  "SDK, commands", "Aravis, commands"],
                 [[row["description"], row["storage"], row["latency"],
                   f"{row['sdk']['seconds'] * 1e3:.1f}", f"{row['aravis']['seconds'] * 1e3:.1f}",
                   f"{ratio(row):.2f}", row["sdk"]["commands"], row["aravis"]["commands"]]
                  for row in result["rows"]])


def plots(result):
    series = []
    for name, title in (("sdk", "SDK"), ("aravis", "Aravis")):
        for storage in ("raw", "zipped"):
            points = [f"{(OWN + DESCRIPTIONS[row['description']]) / KB} {row[name]['seconds'] * 1e3:.2f}"
                      for row in result["rows"] if row["storage"] == storage and row["latency"] == 0]
            series.append(f'"{title}, {storage}"\n' + "\n".join(points))
    return {"connecting": {"title": "First command to first byte of the payload, no latency",
                           "x": "description, KB", "y": "milliseconds", "log": "xy",
                           "data": "\n\n\n".join(series), "series": len(series)}}

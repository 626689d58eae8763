"""TFTP: our client, curl, tftp-hpa and atftp on two servers, and with a round-trip time."""

import json
import pathlib
import subprocess
import tempfile
import time

from harness import BIN, REPOSITORY, Camera, aim, alternate, median, payload, run
from tables import table

TITLE = "TFTP"
FILE_MIB = 192
BLOCK, WINDOW = 1428, 64
# Microseconds of round-trip time, and bytes of a file that clients need seconds for, block by block.
ROUND_TRIPS = {1000: 2 << 20, 5000: 1 << 20}
ADDRESS = "127.0.0.1"


def on_servers(rounds):
    with tempfile.TemporaryDirectory() as folder:
        rows = pathlib.Path(folder) / "rows"
        status = subprocess.run([REPOSITORY / "bench/run-tftp.sh", "--isolated", str(FILE_MIB),
                                 str(rounds), rows]).returncode
        if status not in (0, 1):
            raise RuntimeError("run-tftp.sh failed")
        return [json.loads(line) for line in rows.read_text().splitlines()]


def commands(file):
    ours = [BIN / "bench-tftp-upload", ADDRESS, file, "RemoteUpdateDfw"]
    atftp = ["atftp", "--option", f"blksize {BLOCK}", "--put", "--local-file", file, "--remote-file",
             "RemoteUpdateDfw", ADDRESS]
    return {"ours": [*ours, BLOCK, WINDOW],
            "ours, block by block": [*ours, BLOCK, 1],
            "atftp": atftp,
            "atftp, same window": [*atftp[:1], "--option", f"windowsize {WINDOW}", *atftp[1:]],
            "curl": ["curl", "--silent", "--upload-file", file, "--tftp-blksize", BLOCK,
                     f"tftp://{ADDRESS}/RemoteUpdateDfw"]}


def with_round_trip(microseconds, size, rounds):
    file = payload(size)

    def seconds(command):
        begin = time.monotonic()
        run(command)
        return time.monotonic() - begin
    with Camera("--profile", "loader", "--tftp-latency", microseconds) as camera:
        found = alternate(rounds, {name: lambda command=command: seconds(command)
                                   for name, command in commands(file).items()})
        complete = [event for event in camera.events("tftp") if event["complete"] and event["bytes"] == size]
    if len(complete) != rounds * len(found):
        raise RuntimeError(f"{len(complete)} of {rounds * len(found)} files arrived")
    return {"round_trip": microseconds, "size": size,
            "seconds": {name: median(all) for name, all in found.items()}}


def measure(rounds):
    return {"file_mib": FILE_MIB, "round_trips": [with_round_trip(time_, size, rounds) for time_, size in ROUND_TRIPS.items()],
            "servers": on_servers(rounds)}


def seconds_of_round_trips(row):
    """That any client waits: for the options, then for each window's ack."""
    windows = -(-(row["size"] // BLOCK + 1) // WINDOW)
    return (1 + windows) * row["round_trip"] / 1e6


def fastest_lock_step(row):
    return min(row["seconds"]["atftp"], row["seconds"]["curl"])


def where(row):
    return (f"{row['server']}, {row['block']} bytes x {row['window']}, "
            f"{'different CPUs' if row['other_cpu'] else 'same CPU'}")


def aims(result):
    found = [aim(f"{where(row)}: speed / {one['than']}", one["value"], one["limit"], most=False)
             for row in result["servers"] for one in row["aims"] if one["limit"] > 0]
    for row in result["round_trips"]:
        name = f"{row['round_trip'] / 1000:g} ms round trip"
        found.append(aim(f"{name}: speed / atftp with the same window",
                         row["seconds"]["atftp, same window"] / row["seconds"]["ours"], 1.1, most=False))
        if row["round_trip"] == 5000:
            found.append(aim(f"{name}: speed / fastest client block by block",
                             fastest_lock_step(row) / row["seconds"]["ours"], 20, most=False))
    return found


def speeds(row):
    return ", ".join(f"{name} {speed:.1f}" if speed else f"{name} failed"
                     for name, speed in row["speeds"].items() if name != "ours")


def report(result):
    return "\n".join((
        f"Files of {result['file_mib']} MiB for blocks of 8192 bytes, a quarter for 1428, a ninth for 512.\n",
        table(["server", "block", "window", "CPUs", "ours, MB/s", "others, MB/s", "ours / others"],
              [[row["server"], row["block"], row["window"], "different" if row["other_cpu"] else "same",
                f"{row['speeds']['ours']:.1f}", speeds(row),
                "; ".join(f"{one['value']:.2f} × {one['than']}" for one in row["aims"])]
               for row in result["servers"]]),
        table(["round trip, ms", "KiB", *[f"{name}, s" for name in result["round_trips"][0]["seconds"]],
               "/ block by block", "/ same window", "round trips alone, s"],
              [[f"{row['round_trip'] / 1000:g}", row["size"] >> 10,
                *[f"{seconds:.3f}" for seconds in row["seconds"].values()],
                f"{fastest_lock_step(row) / row['seconds']['ours']:.1f}",
                f"{row['seconds']['atftp, same window'] / row['seconds']['ours']:.2f}",
                f"{seconds_of_round_trips(row):.3f}"]
               for row in result["round_trips"]])))


def plots(result):
    return {}

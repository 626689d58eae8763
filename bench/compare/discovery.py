"""Listing the devices behind many interfaces."""

import contextlib
import json
import os
import subprocess
import time

from harness import BIN, DEVICE_CPU, Camera, aim, median, run
from harness import measure as measured
from tables import table

TITLE = "Discovery"
COUNTS = (1, 16, 64)
WINDOW = 1.0  # seconds that discovery listens
MARGIN = 0.1


def ip(*words, inside=()):
    subprocess.run([*inside, "ip", *words], check=True, capture_output=True)


@contextlib.contextmanager
def cables(count):
    """So many interfaces, each with a cable to a namespace for the cameras.
    @return the words that start a program there"""
    far = subprocess.Popen(["unshare", "--net", "sleep", "infinity"])
    try:
        while os.readlink(f"/proc/{far.pid}/ns/net") == os.readlink("/proc/self/ns/net"):
            time.sleep(0.01)
        inside = ["nsenter", "--target", str(far.pid), "--net"]
        for i in range(count):
            ip("link", "add", f"near{i}", "type", "veth", "peer", "name", f"far{i}", "netns", str(far.pid))
            for end, where in (("near", ()), ("far", inside)):
                host = 1 if end == "near" else 2
                ip("address", "add", f"10.1.{i}.{host}/24", "dev", f"{end}{i}", inside=where)
                ip("link", "set", f"{end}{i}", "up", inside=where)
        yield inside
    finally:
        # The system would do it too, some time after the other namespace has ended.
        for i in range(count):
            ip("link", "delete", f"near{i}")
        far.kill()
        far.wait()


def measure(rounds):
    rows = []
    for count in COUNTS:
        with contextlib.ExitStack() as stack:
            inside = stack.enter_context(cables(count))
            for i in range(count):
                stack.enter_context(Camera(
                    "--no-tftp", "--interface", f"far{i}", "--address", f"10.1.{i}.2",
                    "--mac", f"06:00:00:00:00:{i:02x}", "--serial", f"S{i}",
                    cpu=DEVICE_CPU, prefix=inside))
            found = json.loads(run([BIN / "mirsko-devices", "--json"]))
            devices = sum(len(interface["devices"]) for interface in found["interfaces"])
            runs = [measured([BIN / "mirsko-devices"]) for _ in range(rounds)]
        rows.append({"interfaces": count, "devices": devices,
                     **{what: median([one[what] for one in runs])
                        for what in ("seconds", "cpu_seconds", "peak_kib")}})
        print(f"{count} interfaces: {rows[-1]['seconds']:.3f} s", flush=True)
    return {"rows": rows}


def aims(result):
    found = []
    for row in result["rows"]:
        name = f"{row['interfaces']} interfaces"
        found.append(aim(f"{name}: devices found", row["devices"], row["interfaces"], most=False))
        found.append(aim(f"{name}: seconds, the whole program", row["seconds"], WINDOW + MARGIN))
    return found


def report(result):
    return table(["interfaces", "devices found", "seconds", "CPU seconds", "peak memory, MiB"],
                 [[row["interfaces"], row["devices"], f"{row['seconds']:.3f}", f"{row['cpu_seconds']:.3f}",
                   f"{row['peak_kib'] / 1024:.1f}"] for row in result["rows"]])


def plots(result):
    return {}

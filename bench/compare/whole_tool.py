"""The updater as a whole: time outside of the transfer, CPU time, memory, growth."""

from capture import Capture
from harness import BIN, Camera, aim, median, payload
from harness import measure as measured
from tables import table

TITLE = "The whole updater"
# What the updater waits for on purpose: the second of discovery, the next look at the worker, and the
# pause after a reset.
DISCOVERY, POLL, RESET_PAUSE = 1.0, 0.5, 0.5
PAUSES = DISCOVERY + POLL + RESET_PAUSE
SMALL = 64 * 1024
CAMERA = ["--reboot-time", 50]
TRANSPORTS = {"file access": [*CAMERA, "--buffer-size", 4096],
              "TFTP": [*CAMERA, "--profile", "no-file-access"]}
SIZES = (1024, 65536, 1 << 20, 16 << 20, 256 << 20)
LATENCIES = (0, 100, 300, 1000)
MIB = 1 << 20
FLASH_SECONDS = 4
LARGE_NODES = 1_290_000


def update(size):
    return measured([BIN / "MirskoFirmwareUpdater", "--localinterface=00:00:00:00:00:00", payload(size)])


def medians(runs):
    return {what: median([one[what] for one in runs]) for what in runs[0]}


def phases():
    """Where the time of an update with a small payload goes."""
    with Capture() as capture:
        times = update(SMALL)
    packets = [packet for packet in capture.packets() if times["begin"] <= packet.time <= times["end"]]
    discovery = next(packet.time for packet in packets if packet.is_discovery())
    carriers = [packet for packet in packets if packet.is_payload()]
    # Not the record that resets the device by TFTP: it goes to another port.
    payload_times = [packet.time for packet in carriers if packet.target == carriers[0].target]
    others = [packet.time for packet in packets if not packet.is_discovery()
              and packet.time > discovery + DISCOVERY * 0.9]
    return {"start": discovery - times["begin"],
            "after_discovery": others[0] - discovery - DISCOVERY,
            "connect": payload_times[0] - others[0],
            "transfer": payload_times[-1] - payload_times[0],
            "end": times["end"] - payload_times[-1],
            "seconds": times["seconds"],
            "overhead": times["seconds"] - PAUSES - (payload_times[-1] - payload_times[0])}


def measure(rounds):
    result = {"phases": {}, "growth": [], "latency": [], "waiting": {}}
    for transport, options in TRANSPORTS.items():
        with Camera(*options):
            result["phases"][transport] = medians([phases() for _ in range(rounds)])
            for size in SIZES:
                found = medians([update(size) for _ in range(rounds)])
                result["growth"].append({"transport": transport, "size": size, **found})
                print(f"{transport}, {size} bytes: {found['seconds']:.2f} s", flush=True)
        plain = next(row for row in result["growth"] if (row["transport"], row["size"]) == (transport, SMALL))
        # Once: by file access, a status that was busy is read for a minute, on purpose.
        with Camera(*options, "--flash-time", FLASH_SECONDS * 1000):
            found = update(SMALL)
        result["waiting"][transport] = {
            "seconds": found["seconds"] - plain["seconds"],
            "cpu_seconds": found["cpu_seconds"] - plain["cpu_seconds"]}
    for latency in LATENCIES:
        with Camera(*CAMERA, "--latency", latency, "--no-tftp"):
            found = medians([update(MIB) for _ in range(rounds)])
        result["latency"].append({"latency": latency, **found})
    with Camera(*CAMERA, "--additional-nodes", LARGE_NODES, "--no-tftp"):
        result["large_description"] = medians([update(SMALL) for _ in range(rounds)])
    return result


def aims(result):
    found = [aim(f"{transport}: ms outside the transfer and the updater's pauses",
                 row["overhead"] * 1e3, 50) for transport, row in result["phases"].items()]
    for transport in TRANSPORTS:
        waiting = result["waiting"][transport]
        found.append(aim(f"{transport}: % of a CPU while the device flashes and its status is waited for",
                         100 * waiting["cpu_seconds"] / waiting["seconds"], 2))
    found += [aim(f"{row['transport']}, 256 MiB: peak memory, MiB", row["peak_kib"] / 1024, 32)
              for row in result["growth"] if row["size"] == SIZES[-1]]
    found.append(aim("a description of 1.3 MB: peak memory, MiB",
                     result["large_description"]["peak_kib"] / 1024, 32))
    return found


def report(result):
    def ms(seconds):
        return f"{seconds * 1e3:.1f}"
    return "\n".join((
        table(["64 KiB by", "start → discovery, ms", "discovery → first command, ms",
               "→ first byte, ms", "→ last byte, ms", "last byte → exit, ms", "overhead, ms"],
              [[name, ms(row["start"]), ms(row["after_discovery"]), ms(row["connect"]), ms(row["transfer"]),
                ms(row["end"]), ms(row["overhead"])] for name, row in result["phases"].items()]),
        table(["transport", "payload, KiB", "seconds", "CPU seconds", "CPU seconds per 100 MiB",
               "peak memory, MiB"],
              [[row["transport"], row["size"] // 1024, f"{row['seconds']:.2f}", f"{row['cpu_seconds']:.3f}",
                f"{row['cpu_seconds'] * 100 * MIB / row['size']:.2f}" if row["size"] >= MIB else "",
                f"{row['peak_kib'] / 1024:.1f}"] for row in result["growth"]]),
        table(["1 MiB by file access, µs per command", "seconds", "CPU seconds"],
              [[row["latency"], f"{row['seconds']:.2f}", f"{row['cpu_seconds']:.3f}"]
               for row in result["latency"]]),
        table(["device flashes, its status is waited for", "seconds", "CPU seconds"],
              [[name, f"{row['seconds']:.1f}", f"{row['cpu_seconds']:.3f}"]
               for name, row in result["waiting"].items()])))


def plots(result):
    def series(transport):
        return f'"{transport}"\n' + "\n".join(
            f"{row['size'] / MIB:g} {row['seconds'] - PAUSES:.4f}" for row in result["growth"]
            if row["transport"] == transport)
    return {"payload-size": {"title": "Update without two seconds of waiting (the rest shows in steps of 0.5 s)",
                             "x": "payload, MiB", "y": "seconds", "log": "xy",
                             "data": "\n\n\n".join(map(series, TRANSPORTS)), "series": len(TRANSPORTS)}}

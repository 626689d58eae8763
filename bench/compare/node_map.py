"""Loading a description of 1.2 MB: the SDK and Aravis."""

import json

from harness import BIN, aim, run
from tables import table

TITLE = "Loading a description"
ROUNDS = 21


def measure(_):
    return json.loads(run([BIN / "bench-node-map", ROUNDS], check=False))


def aims(result):
    return [aim("SDK, ms", result["ours_ms"], 50),
            aim("time / Aravis", result["ours_ms"] / result["aravis_ms"], 0.5)]


def report(result):
    return table(["bytes", "SDK, ms", "Aravis, ms", "ratio"],
                 [[result["bytes"], f"{result['ours_ms']:.1f}", f"{result['aravis_ms']:.1f}",
                   f"{result['ours_ms'] / result['aravis_ms']:.2f}"]])


def plots(result):
    return {}

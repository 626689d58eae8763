#!/usr/bin/env python3
"""Makes one comparison and stores what it found.

    measure.py NAME ROUNDS FOLDER

Writes FOLDER/NAME.json: the figures, the aims, the machine and its load before and after.
"""

import importlib
import json
import os
import pathlib
import sys

import harness


def main():
    name, rounds, folder = sys.argv[1], int(sys.argv[2]), pathlib.Path(sys.argv[3])
    comparison = importlib.import_module(name)
    machine = harness.machine()
    result = comparison.measure(rounds)
    machine["load_after"] = os.getloadavg()[0]
    machine["rounds"] = getattr(comparison, "ROUNDS", rounds)
    machine["real_time"] = os.sched_getscheduler(0) == os.SCHED_RR
    result.update({"machine": machine, "aims": comparison.aims(result)})
    (folder / f"{name}.json").write_text(json.dumps(result, indent=1) + "\n")


if __name__ == "__main__":
    main()

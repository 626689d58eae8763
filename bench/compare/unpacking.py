"""Unpacking a member of 256 MiB: the package reader and unzip."""

import json
import pathlib
import subprocess
import tempfile

from harness import REPOSITORY, aim
from tables import table

TITLE = "Unpacking"


def measure(rounds):
    with tempfile.TemporaryDirectory() as folder:
        figures = pathlib.Path(folder) / "figures"
        status = subprocess.run([REPOSITORY / "bench/run-extract.sh", REPOSITORY / "build/bench",
                                 str(rounds), figures], env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin",
                                                             "MIRSKO_ISOLATED": "1"}).returncode
        if status not in (0, 1):
            raise RuntimeError("run-extract.sh failed")
        return {"rows": json.loads(figures.read_text())}


def aims(result):
    return [one for row in result["rows"] for one in (
        aim(f"{row['member']}: unzip's time / the reader's", row["unzip"] / row["reader"], 1, most=False),
        aim(f"{row['member']}: peak memory, MiB", row["peak_kib"] / 1024, 32))]


def report(result):
    return table(["member", "reader, s", "unzip, s", "ratio", "peak memory, MiB"],
                 [[row["member"], f"{row['reader']:.3f}", f"{row['unzip']:.3f}",
                   f"{row['unzip'] / row['reader']:.2f}", f"{row['peak_kib'] / 1024:.1f}"]
                  for row in result["rows"]])


def plots(result):
    return {}

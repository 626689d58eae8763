#!/usr/bin/env python3
"""Prints the aims of comparisons, and writes their tables and plots into docs.

    report.py [--keep] FOLDER NAME…

Reads FOLDER/NAME.json, as measure.py writes it. In docs/performance.md it replaces the text between
the lines "<!-- bench NAME -->" and "<!-- end -->"; plots go to docs/picture. With --keep nothing in docs
changes. Status 1 when an aim is missed.
"""

import importlib
import json
import pathlib
import re
import subprocess
import sys

from harness import REPOSITORY
from tables import table

PAGE = REPOSITORY / "docs/performance.md"
PICTURES = REPOSITORY / "docs/picture"


def verdict(aim):
    return "met" if aim["met"] else "MISSED"


def bound(aim):
    return f"{'≤' if aim['most'] else '≥'} {aim['limit']:g}"


def machine_line(machine):
    return (f"Measured {machine['date']} on {machine['cpus']} CPUs ({machine['cpu']}), "
            f"{machine['kernel']}, load {machine['load']:.1f} before and {machine['load_after']:.1f} "
            f"after{', with real-time priority' if machine['real_time'] else ''}; medians of "
            f"{machine['rounds']} rounds.\n")


def block(name, comparison, result):
    aims = [[aim["text"], f"{aim['value']:g}", bound(aim), verdict(aim)] for aim in result["aims"]]
    pictures = "".join(f"![{plot['title']}](picture/{file}.svg)\n\n"
                       for file, plot in comparison.plots(result).items())
    return (machine_line(result["machine"]) + "\n" + comparison.report(result) + "\n" + pictures
            + (table(["aim", "figure", "limit", ""], aims) if aims else ""))


def write_page(name, text):
    page = PAGE.read_text(encoding="utf-8")
    pattern = re.compile(rf"(<!-- bench {name} -->\n).*?(<!-- end -->)", re.DOTALL)
    if not pattern.search(page):
        sys.exit(f"{PAGE} has no place for {name}")
    PAGE.write_text(pattern.sub(lambda found: found[1] + text + found[2], page), encoding="utf-8")


def draw(file, plot):
    log = f"set logscale {plot['log']}\n" if "log" in plot else ""
    curves = ", ".join(f"$data index {i} using 1:2 with linespoints title columnheader(1)"
                       for i in range(plot["series"]))
    script = (f"set terminal svg size 720,400 font 'sans,12' background 'white'\n"
              f"set output '{PICTURES / file}.svg'\nset title \"{plot['title']}\"\n"
              f"set xlabel '{plot['x']}'\nset ylabel '{plot['y']}'\nset grid\nset key outside\n"
              f"{log}{plot.get('more', '')}\n$data << EOD\n{plot['data']}\nEOD\nplot {curves}\n")
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    words = [word for word in sys.argv[1:] if word != "--keep"]
    folder, names = pathlib.Path(words[0]), words[1:]
    missed = 0
    for name in names:
        comparison = importlib.import_module(name)
        result = json.loads((folder / f"{name}.json").read_text())
        print(f"== {comparison.TITLE}")
        for aim in result["aims"]:
            print(f"{verdict(aim):6} {aim['text']}: {aim['value']:g} ({bound(aim)})")
            missed += not aim["met"]
        if "--keep" not in sys.argv:
            write_page(name, block(name, comparison, result))
            for file, plot in comparison.plots(result).items():
                draw(file, plot)
    print(f"{missed} aims missed" if missed else "every aim is met")
    sys.exit(1 if missed else 0)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Runs a command and adds one line to a file: its time, its processor time and its peak memory.

   measured.py FILE COMMAND…     ends with the command's exit status
"""
import resource
import subprocess
import sys
import time

start = time.monotonic()
status = subprocess.run(sys.argv[2:], check=False).returncode
used = resource.getrusage(resource.RUSAGE_CHILDREN)
with open(sys.argv[1], "a", encoding="utf-8") as figures:
    figures.write(f"{time.monotonic() - start:.1f} s, {used.ru_utime + used.ru_stime:.2f} s of processor time, "
                  f"{used.ru_maxrss / 1024:.0f} MiB\n")
sys.exit(status)

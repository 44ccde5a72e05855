#!/usr/bin/env python3
"""Time CLEAN: some 50,000 visibilities, 512 x 512 pixels, 500 components, on one thread and on two.

usage: clean.py ZELTRA_COMMAND [FOLDER]
"""
# SPDX-License-Identifier: MIT
import os
import re
import resource
import subprocess
import sys
import tempfile
import time

zeltra = os.path.abspath(sys.argv[1])


def run(*arguments):
    """What the command says, its wall time and its processor time, seconds."""
    before, began = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    done = subprocess.run([zeltra, *arguments], check=True, capture_output=True, text=True)
    after, wall = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic() - began
    return done.stderr, wall, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


with tempfile.TemporaryDirectory(dir=sys.argv[2] if len(sys.argv) > 2 else None) as folder:
    data = os.path.join(folder, "s.uvx")
    run("simulate", data, "--minutes", "52", "--antennas", "10", "--seed", "3")
    for threads in "1", "2":
        best = None
        for _ in range(3):
            said, wall, cpu = run("clean", data, os.path.join(folder, "s.fits"), "--force", "--no-sync", "--source", "3C273",
                                  "--size", "512", "--stop", "0", "--niter", "3100", "--threads", threads)
            best = min(best or (wall, cpu), (wall, cpu))
        components, iterations, cycles = re.search(r"(\d+) components .* in (\d+) iterations and (\d+) cycles", said).groups()
        visibilities = re.search(r"of (\d+) visibilities", said)[1]
        print(f"{threads} threads: {visibilities} visibilities, {components} components, {iterations} iterations, "
              f"{cycles} cycles: {best[0]:.2f} s, {best[1]:.2f} s of processor time")

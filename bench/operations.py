"""Measure operations on files beside `cp` of the same file: operations.py ZELTRA_COMMAND [FOLDER] [GB] [NAME...]

Prints the time and memory of each operation, and the ratio of its time to that of the copies just before and after it.
All outputs are written with --no-sync, as `cp` does.
"""
# SPDX-License-Identifier: MIT
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

# Name, command and options; IN, SHUFFLED, which is IN in another order, OUT and the folder PARTS stand for the files.
OPERATIONS = [
    ("copy one IF", "copy IN OUT --if 1"),
    ("average 60 s", "average IN --interval 60 -o OUT"),
    ("sort, in order", "sort IN OUT"),
    ("sort, shuffled", "sort SHUFFLED OUT"),
    ("sort, shuffled, 16 MiB", "sort SHUFFLED OUT --memory 16"),
    ("split", "split IN PARTS"),
    ("join", "join PARTS/3C273.uvx PARTS/3C279.uvx OUT"),
]


def run(words):
    """Seconds, and KiB of memory at most."""
    begin = time.monotonic()
    process = subprocess.Popen(words)
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit("failed: " + " ".join(words))
    return time.monotonic() - begin, usage.ru_maxrss


def main(zeltra, folder=None, size="1", *names):
    folder = tempfile.mkdtemp(dir=folder)
    try:
        names_of = ("in.uvx", "shuffled.uvx", "cp.uvx", "out.uvx")
        given, shuffled, copied, out = (os.path.join(folder, name) for name in names_of)
        # 45 baselines a second of 8 IFs of 16 channels and 4 polarisations are 278,730 bytes.
        minutes = float(size) * 1e9 / 278730 / 60
        run([zeltra, "simulate", given, "--integration", "1", "--ifs", "8", "--channels", "16", "--minutes", str(minutes)])
        print("%.2f GB" % (os.path.getsize(given) / 1e9))
        for name, words in OPERATIONS:
            if names and name not in names:
                continue
            if "SHUFFLED" in words and not os.path.exists(shuffled):
                run([zeltra, "sort", given, shuffled, "--order", "UV", "--no-sync", "--quiet"])
            before = run(["cp", given, copied])[0]
            places = {"IN": given, "SHUFFLED": shuffled, "OUT": out, "PARTS": os.path.join(folder, "parts")}
            words = [re.sub("^[A-Z]+", lambda name: places.get(name[0], name[0]), word) for word in words.split()]
            seconds, memory = run([zeltra] + words + ["-f", "--no-sync", "--quiet"])
            after = run(["cp", given, copied])[0]
            print("%-24s %6.2f s  %5.2f x cp  %7.1f MiB" % (name, seconds, 2 * seconds / (before + after), memory / 1024),
                  flush=True)
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main(*sys.argv[1:])

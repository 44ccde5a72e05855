"""Time operations on files against `cp` of the same file: operations.py ZELTRA_COMMAND [FOLDER] [GB] [NAME...]

Prints the time and memory of each operation, and the ratio of its time to that of the copies just before and after it.
All outputs are written with --no-sync, as `cp` does.
"""
# SPDX-License-Identifier: MIT
import os
import shutil
import subprocess
import sys
import tempfile
import time

# Name, command and options; IN and OUT stand for the files.
OPERATIONS = [
    ("copy one IF", "copy IN OUT --if 1"),
    ("delete one IF", "delete-if IN OUT --if 1"),
    ("average 4 channels", "average-frequency IN OUT --channels 4"),
    ("squeeze the IFs", "squeeze IN OUT --ifs"),
    ("squeeze the channels", "squeeze IN OUT --channels"),
    ("unfold the IFs", "unfold IN OUT --ifs"),
    ("flag clip and trim", "flag IN OUT --clip 4 --trim 10%"),
    ("shift", "shift IN OUT --ra 3 --dec -2 --source 1,2"),
    ("average 60 s", "average IN --interval 60 -o OUT"),
]


def run(words):
    """Seconds, and peak memory in KiB."""
    begin = time.monotonic()
    process = subprocess.Popen(words)
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit("failed: " + " ".join(words))
    return time.monotonic() - begin, usage.ru_maxrss


def main(zeltra, folder=None, size="1", *names):
    folder = tempfile.mkdtemp(dir=folder)
    try:
        given, copied, out = (os.path.join(folder, name) for name in ("in.uvx", "cp.uvx", "out.uvx"))
        # One second of 45 baselines with 8 IFs, 16 channels and 4 polarisations takes 278,730 bytes.
        minutes = float(size) * 1e9 / 278730 / 60
        run([zeltra, "simulate", given, "--integration", "1", "--ifs", "8", "--channels", "16", "--minutes", str(minutes)])
        print("%.2f GB" % (os.path.getsize(given) / 1e9))
        for name, words in OPERATIONS:
            if names and name not in names:
                continue
            before = run(["cp", given, copied])[0]
            places = {"IN": given, "OUT": out}
            seconds, memory = run([zeltra] + [places.get(word, word) for word in words.split()] + ["-f", "--no-sync", "--quiet"])
            after = run(["cp", given, copied])[0]
            print("%-24s %6.2f s  %5.2f x cp  %7.1f MiB" % (name, seconds, 2 * seconds / (before + after), memory / 1024),
                  flush=True)
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main(*sys.argv[1:])

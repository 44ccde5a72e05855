"""Time operations on files against `cp` of the same file: operations.py ZELTRA_COMMAND [FOLDER] [GB] [NAME...]

Prints the time and memory of each operation, and the ratio of its time to that of the copies just before and after it.
All outputs are written with --no-sync, as `cp` does.
"""
# SPDX-License-Identifier: MIT
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time

# Name, command and options; IN, OUT, GAINS and the folder PARTS stand for files, SHUFFLED for IN in another order.
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
    ("solve for phases", "solve IN --model point --interval 1 -o OUT"),
    ("sort, in order", "sort IN OUT"),
    ("sort, shuffled", "sort SHUFFLED OUT"),
    ("sort, shuffled, 32 MiB", "sort SHUFFLED OUT --memory 32"),
    ("split", "split IN PARTS"),
    ("join", "join PARTS/3C273.uvx PARTS/3C279.uvx OUT"),
    ("apply gains", "apply IN OUT --gains GAINS"),
]


def run(words):
    """Seconds, and peak memory in KiB."""
    begin = time.monotonic()
    process = subprocess.Popen(words)
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit("failed: " + " ".join(words))
    return time.monotonic() - begin, usage.ru_maxrss


def write_gains(given, path):
    """A gain file: every 10 s a gain of each of 10 antennas, 8 IFs and 2 hands."""
    with open(given, "rb") as file:
        head = file.read(226)
    date_obs, freq0 = struct.unpack_from("<d", head, 28)[0], struct.unpack_from("<d", head, 218)[0]
    records, record_bytes = struct.unpack_from("<i", head, 16)[0], 26 + 12 * 8 * 16 * 4
    with open(given, "rb") as file:
        file.seek(481 + (records - 1) * record_bytes + 16)
        last = struct.unpack("<d", file.read(8))[0]
    times = [date_obs + 7 / 24 + i * 10 / 86400 for i in range(int((last - date_obs - 7 / 24) * 8640) + 2)]
    items = [struct.pack("<dfhbhBBhbfdddd", time, 10, 0, 0, 0, antenna, 1, i, hand, 10, 1.1, 0.2, 0, 0)
             for time in times for antenna in range(1, 11) for i in range(8) for hand in range(2)]
    with open(path, "wb") as file:
        file.write(struct.pack("<iiddi5h2hBB8s16si", 0x4E41475A, 1, date_obs, freq0, len(items), 0, 0, 0, 8, 2, -1, -2, 1, 0,
                               b"UTC", b"", len(items)))
        file.write(b"".join(items))


def main(zeltra, folder=None, size="1", *names):
    folder = tempfile.mkdtemp(dir=folder)
    try:
        names_of = ("in.uvx", "shuffled.uvx", "cp.uvx", "out.uvx", "a.gain")
        given, shuffled, copied, out, gains = (os.path.join(folder, name) for name in names_of)
        # One second of 45 baselines with 8 IFs, 16 channels and 4 polarisations takes 278,730 bytes.
        minutes = float(size) * 1e9 / 278730 / 60
        run([zeltra, "simulate", given, "--integration", "1", "--ifs", "8", "--channels", "16", "--minutes", str(minutes)])
        write_gains(given, gains)
        print("%.2f GB" % (os.path.getsize(given) / 1e9))
        for name, words in OPERATIONS:
            if names and name not in names:
                continue
            if "SHUFFLED" in words and not os.path.exists(shuffled):
                run([zeltra, "sort", given, shuffled, "--order", "UV", "--no-sync", "--quiet"])
            before = run(["cp", given, copied])[0]
            places = {"IN": given, "SHUFFLED": shuffled, "OUT": out, "GAINS": gains, "PARTS": os.path.join(folder, "parts")}
            words = [re.sub("^[A-Z]+", lambda name: places.get(name[0], name[0]), word) for word in words.split()]
            seconds, memory = run([zeltra] + words + ["-f", "--no-sync", "--quiet"])
            after = run(["cp", given, copied])[0]
            print("%-24s %6.2f s  %5.2f x cp  %7.1f MiB" % (name, seconds, 2 * seconds / (before + after), memory / 1024),
                  flush=True)
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main(*sys.argv[1:])

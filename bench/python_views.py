"""Time and memory of the Python package on a large file: python_views.py ZELTRA_COMMAND [FOLDER] [GB]

Each way of reading runs in a process of its own. The one that reads every 1000th record must stay below 100 MB.
"""
# SPDX-License-Identifier: MIT
import os
import shutil
import subprocess
import sys
import tempfile

WAYS = [("import only", "pass"),
        ("every 1000th record", "f.vis[::1000].sum()"),
        ("one source and antenna",
         "sum(len(b) for b in f.select(source=1, antenna='PT').blocks())"),
        ("sum of blocks", "sum(b.vis.sum() for b in f.blocks())"),
        ("sum of the view", "f.vis.sum()")]
PROGRAM = """
import sys, time
import zeltra
f = zeltra.open(sys.argv[1])
begin = time.monotonic()
{way}
seconds = time.monotonic() - begin
peak = next(line.split()[1] for line in open("/proc/self/status") if line.startswith("VmHWM"))
print("%6.2f s  %6.0f MB" % (seconds, int(peak) / 1024))
"""


def main(zeltra, folder=None, size="1"):
    folder = tempfile.mkdtemp(dir=folder)
    try:
        path = os.path.join(folder, "in.uvx")
        minutes = float(size) * 1e9 / 278730 / 60
        subprocess.run([
            zeltra, "simulate", path, "--integration", "1", "--ifs", "8",
            "--channels", "16", "--minutes",
            str(minutes), "-q"
        ],
                       check=True)
        package = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                               "..", "python")
        for name, way in WAYS:
            done = subprocess.run(
                [sys.executable, "-c",
                 PROGRAM.format(way=way), path],
                capture_output=True,
                text=True,
                env={
                    **os.environ, "PYTHONPATH": package
                },
                check=True)
            print("%-24s%s" % (name, done.stdout.rstrip()))
    finally:
        shutil.rmtree(folder)


main(*sys.argv[1:])

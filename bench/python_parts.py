"""Time and memory that 10,000 parts cost the process of the scheduler: python_parts.py

The parts do nothing, so that only their administration counts, which must stay below 200 MB. ZELTRA_LIBRARY names the
library.
"""
# SPDX-License-Identifier: MIT
import os
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "python"))
os.environ["PYTHONPATH"] = sys.path[0]

import zeltra  # noqa: E402
from zeltra import distributed  # noqa: E402


def divided(file, options, tasks):
    return distributed._stamp(file.path), 1000


def idle(file, number, options):
    pass


def join(file):
    open(file.made, "w").close()


def peak():
    """The most memory that this process has taken, MB."""
    with open("/proc/self/status") as status:
        return int(next(line for line in status if line.startswith("VmHWM")).split()[1]) / 1024


def main():
    import distributed as dask
    distributed._divide = divided
    with tempfile.TemporaryDirectory() as folder, \
            dask.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, dask.Client(cluster) as client:
        paths = [os.path.join(folder, f"{number}.uvx") for number in range(10)]
        for path in paths:
            zeltra.jobs.simulate(path, minutes=1, no_sync=True)
        before, begin = peak(), time.monotonic()
        done = distributed._run(paths, os.path.join(folder, "out"), ".uvx", {}, client, False, None, idle, join)
        print(
            f"{len(done.outputs)} files in {time.monotonic() - begin:.1f} s, {before:.0f} MB before, {peak():.0f} MB after"
        )


if __name__ == "__main__":  # workers start by importing this
    main()

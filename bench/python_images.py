"""One large file imaged and cleaned by one worker process and by two: python_images.py [GIGABYTES]

The ratio of their times is what the second one gains; it waits while components are found and images are transformed.
ZELTRA_LIBRARY names the library.
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

JOBS = {"image": {"weight": "uniform"}, "clean": {"niter": 100, "stop": "0"}}


def main():
    import distributed as dask
    minutes = 270 * float(sys.argv[1] if len(sys.argv) > 1 else 1)  # of 1 s, in two sources
    with tempfile.TemporaryDirectory(dir=".") as folder:
        path = os.path.join(folder, "large.uvx")
        zeltra.jobs.simulate(path, minutes=int(minutes), integration=1, channels=16, no_sync=True)
        print(f"{os.path.getsize(path) / 1e9:.2f} GB")
        for job, options in JOBS.items():
            seconds = {}
            for workers in 1, 2:
                with dask.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as cluster, \
                        dask.Client(cluster) as client:
                    for _ in range(2):  # the first run reads the file into memory
                        begin = time.monotonic()
                        getattr(distributed, job)(path, os.path.join(folder, "a.fits"), client, force=True, source="3C273",
                                                  size=512, **options)
                        seconds[workers] = time.monotonic() - begin
            print(f"{job}: {seconds[1]:.2f} s with one, {seconds[2]:.2f} s with two, {seconds[1] / seconds[2]:.2f} times")


if __name__ == "__main__":  # workers start by importing this
    main()

"""Work in parts: the bytes of a single process, whatever happens to workers and files."""
# SPDX-License-Identifier: MIT
import functools
import os
import random
import shutil
import signal
import threading
import time
import types

import numpy as np
import pytest
from astropy.table import Table

import zeltra as z
import zeltra.distributed

pytestmark = pytest.mark.filterwarnings("ignore")  # of distributed and what it is made of


def bytes_of(path):
    with open(path, "rb") as file:
        return file.read()


@pytest.fixture(scope="module")
def whole(big, tmp_path_factory):
    """What a single job makes of the file."""
    path = tmp_path_factory.mktemp("whole") / "whole.uvx"
    z.jobs.average(big, interval=30, output=path)
    return bytes_of(path)


class Shuffled:
    """A client that finishes tasks in any order."""

    def submit(self, call, *arguments, pure):
        return lambda: call(*(self.gather(a) if isinstance(a, list) else a for a in arguments))

    def gather(self, tasks):
        results = {}
        for place in random.Random(1).sample(range(len(tasks)), len(tasks)):
            results[place] = tasks[place]()
        return [results[place] for place in range(len(tasks))]


@pytest.mark.parametrize("client, tasks", [(None, None), (None, 1), (Shuffled(), 5), (Shuffled(), 1000)])
def test_averages_have_the_bytes_of_one_job(big, whole, tmp_path, client, tasks):
    outcome = zeltra.distributed.average(big, tmp_path / "a.uvx", 30, client, tasks=tasks)
    assert bytes_of(outcome.outputs[big]) == whole and os.listdir(tmp_path) == ["a.uvx"]


@pytest.fixture(scope="module")
def client():
    """Of a cluster of four workers."""
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=4, threads_per_worker=1, dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        yield client


@pytest.mark.parametrize("workers", [1, 2, 4])
def test_clusters_make_the_bytes_of_one_job(client, big, whole, tmp_path, workers):
    chosen = list(client.scheduler_info()["workers"])[:workers]
    some = types.SimpleNamespace(submit=functools.partial(client.submit, workers=chosen), gather=client.gather)
    zeltra.distributed.average(big, tmp_path / "a.uvx", 30, some, tasks=7)
    assert bytes_of(tmp_path / "a.uvx") == whole


def test_a_broken_file_among_20_costs_one_sentence(sim, tmp_path):
    paths = [str(tmp_path / f"{number}.uvx") for number in range(20)]
    for path in paths:
        shutil.copy(sim, path)
    os.truncate(paths[7], 1000000)
    outcome = zeltra.distributed.average(paths, tmp_path / "out", 60)
    assert list(outcome.failures) == [paths[7]] and len(outcome.outputs) == len(os.listdir(tmp_path / "out")) == 19
    assert outcome.failures[paths[7]].startswith(paths[7] + ": damaged or cut short")
    with pytest.raises(z.Error, match="7.uvx: damaged or cut short"):
        zeltra.distributed.average(paths[7], tmp_path / "a.uvx", 60)


def test_workers_that_die_of_a_file_cost_that_file(sim, tmp_path):

    class Dying(Shuffled):

        def gather(self, tasks):
            self.gathered = getattr(self, "gathered", 0) + 1
            if self.gathered == 2:  # that divides the second file
                raise RuntimeError("killed")
            return super().gather(tasks)

    shutil.copy(sim, tmp_path / "b.uvx")
    paths = [sim, str(tmp_path / "b.uvx")]
    outcome = zeltra.distributed.average(iter(paths), tmp_path / "out", 60, Dying(), tasks=1)
    assert list(outcome.outputs) == [sim] and outcome.failures == {paths[1]: paths[1] + ": RuntimeError: killed"}


def test_closures_and_images_of_files(big, sim, tmp_path):
    zeltra.distributed.closures(big, tmp_path / "a.fits", 600, Shuffled(), tasks=3, source=1)
    wanted, made = z.jobs.closure(big, interval=600, source=1).columns, Table.read(tmp_path / "a.fits")
    for name in ("time", "ant1", "ant3", "phase", "sigma"):
        assert np.array_equal(made[name], wanted[name])
    outcome = zeltra.distributed.image([sim], tmp_path, source="3C273", size=64)
    z.jobs.image(sim, fits=tmp_path / "b.fits", source="3C273", size=64)
    assert bytes_of(outcome.outputs[sim]) == bytes_of(tmp_path / "b.fits")


def test_images_of_a_large_file_have_the_bytes_of_one_job(client, big, tmp_path):
    tasks = []

    class Counting(Shuffled):

        def gather(self, given):
            tasks.append(len(given))
            return super().gather(given)

    options = {"source": "3C273", "size": 128, "cell": 0.2}
    z.jobs.image(big, fits=tmp_path / "a.fits", **options)
    zeltra.distributed.image(big, tmp_path / "b.fits", Counting(), **options)
    assert bytes_of(tmp_path / "a.fits") == bytes_of(tmp_path / "b.fits") and tasks == [1, 4]
    options |= {"niter": 1, "stop": "0"}
    z.jobs.clean(big, tmp_path / "a.fits", force=True, **options)
    zeltra.distributed.clean(big, tmp_path / "b.fits", client, force=True, **options)
    assert bytes_of(tmp_path / "a.fits") == bytes_of(tmp_path / "b.fits")
    assert sorted(os.listdir(tmp_path)) == ["a.fits", "b.fits"]


def test_a_killed_worker_costs_no_result(client, big, whole, tmp_path):
    links = [tmp_path / f"{number}.uvx" for number in range(3)]
    for link in links:
        os.symlink(big, link)
    out = tmp_path / "out"
    pids = client.run(os.getpid)

    def kill():
        while not list(tmp_path.glob("out/.*/*-of-*")):
            time.sleep(0.001)
        os.kill(list(pids.values())[0], signal.SIGKILL)

    killer = threading.Thread(target=kill)
    killer.start()
    outcome = zeltra.distributed.average(links, out, 30, client, tasks=16)
    killer.join()
    assert set(client.run(os.getpid).values()) != set(pids.values())
    assert len(outcome.outputs) == 3 and outcome.failures == {}
    assert all(bytes_of(path) == whole for path in outcome.outputs.values())
    assert len(os.listdir(out)) == 3


def test_an_image_ends_with_its_parts(big, tmp_path):

    class Failing(Shuffled):

        def gather(self, given):
            return super().gather(given) if len(given) == 1 else [(None, "big.uvx: lost")]

    outcome = zeltra.distributed.image([big], tmp_path, Failing(), source="3C273", size=64)
    assert outcome.failures == {big: "big.uvx: lost"}

    class Waiting(Shuffled):

        def gather(self, given):
            if len(given) == 1:
                return super().gather(given)
            os.kill(os.getpid(), signal.SIGINT)
            time.sleep(5)

    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        zeltra.distributed.image([big], tmp_path, Waiting(), source="3C273", size=64)
    assert time.monotonic() - began < 2 and os.listdir(tmp_path) == []


def test_outputs_are_not_replaced_unasked_and_versions_must_agree(sim, tmp_path, monkeypatch):
    (tmp_path / "a.uvx").write_bytes(b"mine")
    with pytest.raises(z.Error, match="a.uvx: exists already and is not replaced unasked"):
        zeltra.distributed.average(sim, tmp_path / "a.uvx", 60)
    assert bytes_of(tmp_path / "a.uvx") == b"mine"
    zeltra.distributed.average(sim, tmp_path / "a.uvx", 60, force=True)
    assert len(z.open(tmp_path / "a.uvx")) > 0

    os.chmod(tmp_path / "a.uvx", 0o640)
    os.symlink("a.uvx", tmp_path / "link.uvx")
    zeltra.distributed.average(sim, tmp_path / "link.uvx", 120, force=True)
    assert os.path.islink(tmp_path / "link.uvx") and os.stat(tmp_path / "a.uvx").st_mode & 0o777 == 0o640
    with pytest.raises(z.Error, match="is not a regular file"):
        zeltra.distributed.average(sim, tmp_path, 60, force=True)

    class Stale(Shuffled):

        def gather(self, tasks):
            monkeypatch.setattr(z, "__version__", "0.0.9")
            return super().gather(tasks)

    with pytest.raises(z.Error, match="a worker has version 0.0.9/"):
        zeltra.distributed.average(sim, tmp_path / "b.uvx", 60, Stale())

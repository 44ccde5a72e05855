"""Jobs through the library, against the command."""
# SPDX-License-Identifier: MIT
import csv
import gzip
import io
import os
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest
from astropy import units as u
from astropy.io import fits
from astropy.time import Time

import zeltra as z


def bytes_of(path):
    with open(path, "rb") as file:
        return file.read()


def check_table(columns, text):
    """Columns are those of the command's CSV, but for numbers that count from 0."""
    rows = list(csv.DictReader(io.StringIO(text)))
    assert list(columns) == list(rows[0])
    for name, cells in columns.items():
        for row, cell in zip(rows, cells.tolist()):
            wanted = row[name]
            if name in ("if", "channel", "first", "last") and wanted:
                wanted = str(int(wanted) - 1)
            assert (cell is None and wanted == "") or cell == type(cell)(wanted), name
        assert len(cells) == len(rows)


def test_averages_are_those_of_the_command(sim, command, tmp_path):
    average = z.open(sim).select(source="3C279", ifs=1).average(0.5 * u.min, mean="plain")
    command("average", sim, "--interval", 30, "--source", "3C279", "--if", 2, "--mean", "plain", "-o",
            tmp_path / "a.uvx")
    average.to_uvx(tmp_path / "b.uvx")
    assert bytes_of(tmp_path / "a.uvx") == bytes_of(tmp_path / "b.uvx")
    f = z.open(tmp_path / "a.uvx")
    assert average.vis.shape == (54, 45, 1, 4, 4) and average.frequencies().shape == (1, 4)
    for number in range(0, len(f), 97):
        interval = np.flatnonzero(average.time == f.time[number])[0]
        baseline = np.flatnonzero((average.baseline == [f.records["ant1"][number],
                                                        f.records["ant2"][number]]).all(axis=1))[0]
        good = ~f.flags[number]
        assert (average.vis[interval, baseline][good] == f.vis[number][good]).all()
        assert np.isnan(average.vis[interval, baseline][~good]).all() and (average.weight[interval, baseline][~good]
                                                                           == 0).all()
    assert (average.weight > 0).sum() == (~f.flags).sum()


@pytest.mark.parametrize("options, words",
                         [({}, []), ({"each": True, "channel": [0, 2]}, ["--each", "--channel", "1,3"]),
                          ({"amplitudes": True, "set": "independent"}, ["--amplitudes", "--set", "independent"])])
def test_closures_are_those_of_the_command(sim, command, options, words):
    result = z.open(sim).select(source=1).run("closure", interval=300, **options)
    check_table(result.columns, command("closure", sim, "--interval", 300, "--source", 1, "--csv", *words))


def test_closures_are_a_table_with_units(sim):
    table = z.open(sim).select(source=1, antenna=["BR", "FD", "HN"]).closures(5 * u.min)
    assert table.colnames == ["time", "source", "ant1", "ant2", "ant3", "phase", "sigma"]
    assert isinstance(table["time"], Time) and table["phase"].unit == u.rad and len(table) == 6


def test_images_are_those_of_the_command(sim, command, tmp_path):
    image = z.open(sim).select(source="3C273").image(size=128, cell=0.3 * u.mas, weight="robust=0")
    path = tmp_path / "a.fits"
    command("image", sim, "--fits", path, "--source", "3C273", "--size", 128, "--cell", "0.3mas", "--weight",
            "robust=0")
    image.to_fits(tmp_path / "b.fits")
    assert bytes_of(path) == bytes_of(tmp_path / "b.fits")
    with fits.open(path) as file:
        assert (image.data == file[0].data.squeeze()).all()
        assert image.beam.major == file[0].header["BMAJ"] * u.deg and image.noise.unit == u.Jy / u.beam
    center = image.wcs.pixel_to_world(64, 64)
    assert np.allclose([center.ra.deg, center.dec.deg], [187.2779154, 2.0523883], rtol=0, atol=1e-9)
    with pytest.raises(z.Error, match="b.fits: exists already"):
        image.to_fits(tmp_path / "b.fits")


def test_cleaned_images_have_components_that_can_be_fitted(sim, command, tmp_path):
    options = {"size": 128, "cell": 0.3 * u.mas, "niter": 40, "box": ["-5,5,-5,5", "5,15,-5,5"], "stop": "1mJy"}
    image = z.open(sim).select(source="3C273", time=("07:30", None)).clean(**options)
    words = ["--size", 128, "--cell", "0.3mas", "--niter", 40, "--box=-5,5,-5,5", "--box=5,15,-5,5", "--stop", "1mJy"]
    command("clean", sim, tmp_path / "a.fits", "--source", "3C273", "--start", "2458928.8125", *words)
    image.to_fits(tmp_path / "b.fits")
    assert bytes_of(tmp_path / "a.fits") == bytes_of(tmp_path / "b.fits")
    z.jobs.clean(sim, tmp_path / "c.fits", source="3C273", size=128, niter=10, save_model=tmp_path / "c.mod")
    z.open(sim).select(source="3C273").fit(tmp_path / "b.mod", model=tmp_path / "c.mod", free=["flux", "x"])
    words = ["--source", "3C273", "--model", tmp_path / "c.mod", "--free", "flux,x"]
    command("fit", sim, "-o", tmp_path / "a.mod", *words)
    assert bytes_of(tmp_path / "a.mod") == bytes_of(tmp_path / "b.mod")
    brightest = image.components[image.components["flux"].argmax()]
    assert abs(brightest["east"]) < 0.2 * u.mas and abs(brightest["north"]) < 0.2 * u.mas


def test_every_job_has_its_function(sim, tmp_path, command):
    subprocess.run([sys.executable, "../scripts/make-python-jobs", "--check", os.environ["ZELTRA_LIBRARY"]], check=True)
    z.jobs.delete_if(sim, tmp_path / "a.uvx", if_=0)
    command("delete-if", sim, tmp_path / "b.uvx", "--if", 1)
    assert bytes_of(tmp_path / "a.uvx") == bytes_of(tmp_path / "b.uvx")
    check_table(
        z.jobs.plan(sim, interval=60, start=Time("2020-03-20T07:30:00")).columns,
        command("plan", sim, "--interval", 60, "--start", "07:30", "--csv"))
    z.jobs.solve(z.open(sim).select(source=1), model="point", interval=1 * u.min, output=tmp_path / "a.gain")
    applied = z.open(sim).apply(tmp_path / "c.uvx", gains=tmp_path / "a.gain", from_="3C273", missing="pass")
    assert len(applied) == 14580


def test_uv_fits_opens_as_its_import_does(sim, command, tmp_path):
    command("export", sim, tmp_path / "a.uvfits")
    z.open(sim).to_uvfits(tmp_path / "b.uvfits")
    assert bytes_of(tmp_path / "a.uvfits") == bytes_of(tmp_path / "b.uvfits")
    summary = z.import_uvfits(tmp_path / "a.uvfits", tmp_path / "a.uvx")
    assert (summary.records, summary.sorted, summary.tables[:2]) == (14580, False,
                                                                     z.open(tmp_path / "a.uvx").tables[:2])
    with gzip.open(tmp_path / "c.uvfits.gz", "wb", 1) as packed:
        packed.write(bytes_of(tmp_path / "a.uvfits"))
    for name in ("a.uvfits", "c.uvfits.gz"):
        with z.open(tmp_path / name) as f:
            made = f.path
            assert bytes_of(made) == bytes_of(tmp_path / "a.uvx")
        del f
        assert not os.path.exists(made)
    z.open(sim).select(source=1, pols="RR").to_uvfits(tmp_path / "d.uvfits")
    assert z.open(tmp_path / "d.uvfits").shape == (7290, 2, 4, 1)


def test_failures_have_the_sentences_of_the_command(sim, tmp_path):
    for words, options in [(["average"], {"interval": 0}), (["average"], {"interval": 60, "source": "X"}),
                           (["sort", str(tmp_path / "none" / "a.uvx")], {})]:
        with pytest.raises(z.Error) as failure:
            z.open(sim).run(*words, **options)
        listed = [f"--{name}={value}" for name, value in options.items()]
        done = subprocess.run([os.environ["ZELTRA_COMMAND"], words[0], sim, *words[1:], *listed], capture_output=True,
                              text=True)
        assert str(failure.value) in done.stderr
    with pytest.raises(z.Error, match="selected already"):
        z.open(sim).select(source=1).average(60, source=2)
    with pytest.raises(z.Error, match="zero byte"):
        z.open(sim).run("copy", "a\0b")


@pytest.mark.filterwarnings("ignore")  # of leap seconds
def test_options_mean_what_they_say(sim, tmp_path):
    f = z.open(sim)
    z.run("copy", [sim], [tmp_path / "a.uvx"], {"start": f.time[5000].tai, "force": np.False_})
    assert len(z.open(tmp_path / "a.uvx")) == len(f.select(time=(f.time[5000].tai, None))) == 9585
    for wrong, sentence in [({"force": 0}, "is True or False"), ({"if": "1,2"}, "takes a whole number from 0")]:
        with pytest.raises(z.Error, match=sentence):
            z.run("copy", [sim], [tmp_path / "b.uvx"], wrong)


def test_jobs_of_daemon_threads_end_with_the_interpreter(big, tmp_path):
    code = ("import sys, threading, zeltra as z\nruns = threading.Event()\n"
            "words = dict(order='UV', progress=lambda *_: runs.set())\n"
            "threading.Thread(target=z.jobs.sort, args=(sys.argv[1], 'a.uvx'), kwargs=words, daemon=True).start()\n"
            "runs.wait()\n")
    assert subprocess.run([sys.executable, "-c", code, big], cwd=tmp_path).returncode == 0
    assert os.listdir(tmp_path) == []


def test_progress_is_told_and_may_cancel(big, tmp_path):
    steps = []
    z.jobs.sort(big, tmp_path / "a.uvx", order="UV", progress=lambda step, percent: steps.append((step, percent)))
    assert len(steps) > 2 and steps[-1][1] == 100 and all(0 <= percent <= 100 for _, percent in steps)

    def stop(step, percent):
        raise LookupError("enough")

    with pytest.raises(LookupError, match="enough"):
        z.jobs.sort(big, tmp_path / "b.uvx", order="UV", progress=stop)
    assert os.listdir(tmp_path) == ["a.uvx"]


def test_two_threads_run_jobs_at_once(big):
    """Each waits, in a callback, until the other's job runs as well."""
    both, failures = threading.Barrier(2, timeout=30), []

    def work():
        waited = []
        try:
            z.jobs.average(big, interval=3600, progress=lambda *_: waited or waited.append(both.wait()))
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=work) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures


def test_an_interrupt_ends_a_job_within_02_s(big, tmp_path):
    code = ("import sys, zeltra as z\n"
            "def told(step, percent):\n    global first\n    if first: print('runs', flush=True)\n    first = False\n"
            "first = True\n"
            "try:\n    while True: z.jobs.sort(sys.argv[1], 'a.uvx', order='UV', force=True, progress=told)\n"
            "except KeyboardInterrupt: print('ended', flush=True)\n")
    seconds = []
    for _ in range(3):  # the machine may be busy
        with subprocess.Popen([sys.executable, "-c", code, big], cwd=tmp_path, stdout=subprocess.PIPE,
                              text=True) as job:
            assert job.stdout.readline() == "runs\n"
            begin = time.monotonic()
            job.send_signal(signal.SIGINT)
            assert job.stdout.readline() == "ended\n"
            seconds.append(time.monotonic() - begin)
        assert job.returncode == 0 and os.listdir(tmp_path) in ([], ["a.uvx"])
    assert min(seconds) < 0.2


def test_an_interrupt_leaves_no_output(big, tmp_path):
    code = ("import sys, zeltra as z\n"
            "try: z.jobs.sort(sys.argv[1], 'a.uvx', order='UV', progress=lambda *_: print('runs', flush=True))\n"
            "except KeyboardInterrupt: print('ended')\n")
    with subprocess.Popen([sys.executable, "-c", code, big], cwd=tmp_path, stdout=subprocess.PIPE, text=True) as job:
        job.stdout.readline()
        job.send_signal(signal.SIGINT)
        assert job.stdout.read().splitlines()[-1] == "ended"
    assert os.listdir(tmp_path) == []

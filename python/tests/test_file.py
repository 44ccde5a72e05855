"""What a file holds, against the second reader of tests/interop and the command."""
# SPDX-License-Identifier: MIT
import csv
import io
import json
import subprocess
import sys

import numpy as np
import pytest
import uvx

import zeltra as z


def check_against_second_reader(path):
    wanted, f = uvx.File(path), z.open(path)
    values = np.ascontiguousarray(wanted.records["vis"])
    assert f.records.tobytes() == wanted.records["group"].tobytes()
    assert f.vis.tobytes() == values[..., :2].tobytes()
    assert f.weight.tobytes() == values[..., 2].tobytes()
    assert [code for code in f.tables] == [table.code for table in wanted.tables]
    for code in ("AN", "SU", "FQ", "NX"):
        table, other = f.table(code), wanted.table(code)
        assert {name: str(table.meta[name]) for name in table.meta}.keys() == other.keywords.keys()
        for name, _, letter, count in other.columns:
            column = np.asarray(table[name].value if hasattr(table[name], "value") else table[name])
            if letter == "A":
                assert [text.encode() for text in column] == list(other.column(name))
            elif letter in "IJED":
                np.testing.assert_array_equal(column.reshape(len(table), -1),
                                              other.column(name).reshape(len(table), -1))


def test_real_files_have_the_bytes_of_the_second_reader(real):
    for path in real.values():
        check_against_second_reader(path)


def test_simulated_file_has_the_bytes_of_the_second_reader(sim):
    check_against_second_reader(sim)


def test_lists_agree_with_the_command(sim, real, command):
    for path in [sim, *real.values()]:
        told, f = json.loads(command("info", path, "--json")), z.open(path)
        assert list(f.antennas["name"]) == [antenna["name"] for antenna in told["antennas"]]
        assert np.allclose(f.antennas["xyz"].value, [[antenna[axis] for axis in "xyz"] for antenna in told["antennas"]],
                           rtol=1e-15)
        assert list(f.scans["first"] + 1) == [scan["first"] for scan in told["scans"]]
        start = [told["date_obs_jd"] + scan["start_s"] / 86400 for scan in told["scans"]]
        assert np.allclose(f.scans["start"].jd, start, rtol=0, atol=2e-9)
        for setup in told["frequencies"]:
            wanted = [
                [one["start_hz"] + channel * one["delta_hz"] for channel in range(f.shape[2])] for one in setup["ifs"]
            ]
            np.testing.assert_allclose(f.frequencies(setup["setup"]).value, wanted, rtol=1e-15)
        assert f.sources["coord"].shape == (len(told["sources"]),)


CASES = [
    (dict(source="3C279"), ["--source", "3C279"]),
    (dict(source=[1], antenna="PT"), ["--source", "1", "--antenna", "PT"]),
    (dict(antenna=["PT", "LA", 1]), ["--antenna", "PT,LA,1"]),
    (dict(baseline=[("LA", "PT"), "BR-FD"]), ["--baseline", "LA-PT,BR-FD"]),
    (dict(time=("07:30", 2458928.82)), ["--start", "07:30", "--stop", "2458928.82"]),
    (dict(uvrange=(1e7, 2e7), ifs=1), ["--uvrange", "10M,20M", "--if", "2"]),
    (dict(scan=slice(1, 3), setup=1), ["--scan", "2-3", "--freqsel", "1"]),
]


@pytest.mark.parametrize("conditions, words", CASES)
def test_selections_have_the_records_of_the_command(sim, command, conditions, words):
    rows = csv.DictReader(io.StringIO(command("records", sim, "--csv", "--stokes", "RR", *words)))
    selected = z.open(sim).select(**conditions)
    assert selected.numbers.tolist() == [int(row["index"]) - 1 for row in rows]
    assert 0 < len(selected) < 14580


def test_selections_of_values_are_views_and_blocks_have_the_same_bytes(sim):
    f = z.open(sim)
    s = f.select(source=2, ifs=1, channels=slice(1, 4, 2), pols=["RR", "LR"])
    assert s.shape == (7290, 1, 2, 2)
    assert z.open(sim).select(scan=0, pols="LL").vis.base is not None
    for numbers in (s, f.select(antenna="HN", uvrange=(1e7, 1e9)), f.select(scan=[0, 1, 4])):
        whole = f.vis[numbers.numbers][:, numbers.ifs][:, :, numbers.channels][...,
                                                                               [f.pols.index(p) for p in numbers.pols]]
        blocks = list(numbers.blocks(1000))
        assert all(block.vis.flags.c_contiguous and block.vis.flags.aligned and len(block) <= 1000 for block in blocks)
        assert np.concatenate([block.vis for block in blocks]).tobytes() == whole.tobytes() == numbers.vis.tobytes()
        assert np.array_equal(np.concatenate([block.flags for block in blocks]), numbers.flags)
        assert np.concatenate([block.records for block in blocks]).tobytes() == numbers.records.tobytes()


def test_flags_count_records_weights_and_values_that_are_not_finite(sim, tmp_path):

    def spoil(records):
        records["group"]["flag"][0] = 1
        records["vis"][1, 0, 0, 0, 2] = 0
        records["vis"][2, 0, 0, 0, 0] = np.inf
        records["vis"][3, 0, 0, 0, 2] = np.nan
        records["vis"][4:6, :, :, :, 2] = 1

    flags = z.open(uvx.edited(sim, str(tmp_path / "a.uvx"), spoil)).flags
    assert flags[0].all() and flags[[1, 2, 3], 0, 0, 0].all() and not flags[4:6].any()


def test_views_cannot_be_written_and_outlive_the_file(sim):
    with z.open(sim) as f:
        vis, weight, records = f.vis, f.weight, f.records
        first = vis[0].tobytes()
        for array in (vis, weight, records["u"]):
            with pytest.raises(ValueError):
                array[0] = 0
            with pytest.raises(ValueError):
                array.flags.writeable = True
    assert vis[0].tobytes() == first
    with pytest.raises(z.Error, match="is closed"):
        f.vis


@pytest.mark.parametrize("size", [0, 3, 480, 481, 100000, 5978300])
def test_truncated_files_raise(sim, tmp_path, size):
    with open(sim, "rb") as given, open(tmp_path / "a.uvx", "wb") as made:
        made.write(given.read(size))
    with pytest.raises(z.Error, match="a.uvx: (not a UVX file|damaged)"):
        z.open(tmp_path / "a.uvx")


def test_a_file_that_shrinks_raises_and_does_not_end_the_interpreter(sim, tmp_path):
    code = ("import os, shutil, sys, zeltra as z\nshutil.copy(sys.argv[1], 'a.uvx')\nf = z.open('a.uvx')\n"
            "os.truncate('a.uvx', f._contents.header.end)\n"
            "for read in (lambda: f.vis.sum(), lambda: [b for b in f.blocks()], lambda: f.antennas):\n"
            "    try: read()\n    except z.Error as failure: print(failure)\n")
    done = subprocess.run([sys.executable, "-c", code, sim], cwd=tmp_path, capture_output=True, text=True)
    assert (done.returncode, len(done.stdout.splitlines())) == (0, 3), done.stderr


def test_sentences_name_what_there_is(sim):
    f = z.open(sim)
    for conditions, sentence in [(dict(source="X"), "no record of source X; there are 1 (3C273), 2 (3C279)"),
                                 (dict(setup=3), "no record of frequency setup 3; there are 1"),
                                 (dict(ifs=2), "no IF 2; there are 2, numbered from 0"),
                                 (dict(pols="XX"), "no polarisation XX is stored; there are RR, LL, RL, LR")]:
        with pytest.raises(z.Error) as failure:
            len(f.select(**conditions))
        assert str(failure.value) == f"{sim}: {sentence}"
    with pytest.raises(z.Error, match="none.uvx: cannot be read: no such file or directory"):
        z.open("none.uvx")


def test_slices_and_masks_select_what_they_say(sim):
    f = z.open(sim)
    assert np.array_equal(f.select(channels=slice(3, 0, -1)).vis, f.vis[:, :, 1:4])
    assert f.select(channels=np.array([True, False, False, True])).channels.tolist() == [0, 3]
    for wrong in ([True, False], "1,2", [1.0]):
        with pytest.raises(z.Error, match="no numbers of channels"):
            f.select(channels=wrong)


def test_times_keep_two_doubles(sim):
    f = z.open(sim)
    assert f.time[0].utc.iso == "2020-03-20 07:01:05.000"
    assert (f.time.jd1 + f.time.jd2 == f.records["time"]).all()
    assert np.allclose(f.uvw.value[7], [f.records[axis][7] * 299792458.0 for axis in "uvw"], rtol=1e-15)

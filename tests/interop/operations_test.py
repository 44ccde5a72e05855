"""Do every operation on files again with numpy, and compare records, frequencies and tables.

usage: operations_test.py ZELTRA_COMMAND SHARED_DATA_FOLDER [unittest arguments]

A row of OPERATIONS is a command with its options and what it should do to a file in numpy: a function that takes a
`Model` of the input and changes it.
"""
# SPDX-License-Identifier: MIT
import glob
import os
import subprocess
import unittest

# First of all: it skips the test where astropy is missing.
from command import SHARED, Case, zeltra
import numpy as np

import uvx


class Model:
    """What a file holds, as numpy arrays that may be changed. `frequencies`: {setup: [(start, width) of each IF]}, Hz."""

    def __init__(self, path):
        file = uvx.File(path)
        self.group = file.records["group"].copy()
        self.vis = file.records["vis"].copy()  # [record][IF][channel][polarisation][re, im, weight]
        self.stokes, self.freq0, self.date_obs = file.stokes, file.freq0, file.date_obs
        self.tables = {table.code: table for table in file.tables}
        setups = self.tables["FQ"]
        names = [name for name, *_ in setups.columns]
        first, width = (setups.column(names.index(name)).astype("f8") for name in ("IF FREQ", "CH WIDTH"))
        self.frequencies = {int(number): list(zip(self.freq0 + start, step)) for number, start, step
                            in zip(setups.column(0)[:, 0], first, width)}


def keep_second_half(model):
    """`copy --if` with the upper half of the IFs."""
    half = model.vis.shape[1] // 2
    model.vis = model.vis[:, half:]
    model.frequencies = {number: setup[half:] for number, setup in model.frequencies.items()}


def mean(vis, axis, needs_all=False):
    """The mean over an axis of [...][re, im, weight], by the weights; what is flagged comes from what is flagged."""
    vis = vis.astype("f8")
    finite = np.isfinite(vis).all(-1)
    valid = finite & (vis[..., 2] > 0)
    any_valid = valid.any(axis, keepdims=True)
    weight = np.where(np.where(any_valid, valid, finite), abs(vis[..., 2]), 0)
    total = weight.sum(axis, keepdims=True)
    share = np.where(total > 0, weight, finite)[..., None]
    value = (share * np.where(finite[..., None], vis, 0)[..., :2]).sum(axis) / np.maximum(share.sum(axis), 1e-300)
    sign = np.where(valid.all(axis) if needs_all else any_valid.squeeze(axis), 1, -1)
    return np.concatenate([value, (sign * total.squeeze(axis))[..., None]], -1).astype("f4")


def average(count, edge=0, needs_all=False):
    """Channels that follow each other, some of them left out at the ends; count 0 for all."""
    def change(model):
        records, ifs, channels = model.vis.shape[:3]
        cut = int(edge * channels + 0.5)
        n = min(count, channels) or channels - 2 * cut
        new = (channels - 2 * cut) // n
        vis = model.vis[:, :, cut:cut + n * new].reshape(records, ifs, new, n, *model.vis.shape[3:])
        model.vis = mean(vis, 3, needs_all)
        model.frequencies = {number: [(start + (cut + (n - 1) / 2) * width, n * width) for start, width in setup]
                             for number, setup in model.frequencies.items()}
    return change


def squeeze_ifs(model):
    model.vis = mean(model.vis, 1)[:, None]
    model.frequencies = {number: [tuple(np.mean(setup, 0))] for number, setup in model.frequencies.items()}


def contiguous(model):
    """The option that joins IFs, if those of the file can be."""
    channels = model.vis.shape[2]
    ends = [(start + channels * width, width) for start, width in model.frequencies[1]]
    return "--ifs" if ends[:-1] == model.frequencies[1][1:] else "--quiet"


def average_all(model):
    if contiguous(model) == "--ifs":
        model.vis = model.vis.reshape(len(model.vis), 1, -1, *model.vis.shape[3:])
        model.frequencies = {number: setup[:1] for number, setup in model.frequencies.items()}
    average(0)(model)


def unfold_ifs(model):
    scans = {name: model.tables["NX"].column(i)[:, 0] for i, (name, *_) in enumerate(model.tables["NX"].columns)}
    ifs = model.vis.shape[1]
    records = [(record, i) for first, last in zip(scans["START VIS"], scans["END VIS"]) for i in range(ifs)
               for record in range(first - 1, last)]
    model.vis = np.stack([model.vis[record, i:i + 1] for record, i in records])
    model.group = model.group[[record for record, _ in records]]
    model.group["frqsel"] = [i + 1 for _, i in records]
    model.frequencies = {i + 1: [item] for i, item in enumerate(model.frequencies[1])}


def upper_ifs(model):
    count = model.vis.shape[1]
    return "%d-%d" % (count // 2 + 1, count)


# Command, options (values may be functions of the input's model), what it does in numpy, relative tolerance of values
# (0: to the bit).
OPERATIONS = [
    ("copy", ["--if", upper_ifs], keep_second_half, 0),
    ("delete-if", ["--keep", upper_ifs], keep_second_half, 0),
    ("average-frequency", ["--channels", "all", contiguous], average_all, 1e-6),
    ("average-frequency", ["--channels", lambda model: str(min(3, model.vis.shape[2])), "--trim", "12.5%",
                           "--remainder", "drop", "--require", "all"], average(3, 0.125, True), 1e-6),
    ("squeeze", ["--ifs"], squeeze_ifs, 1e-6),
    ("squeeze", ["--channels"], average(0), 1e-6),
    ("unfold", ["--ifs"], unfold_ifs, 0),
]


class Operations(Case):
    def check(self, made, expected, tolerance):
        for name in expected.group.dtype.names:
            np.testing.assert_array_equal(made.group[name], expected.group[name], name)
        self.assertEqual(made.vis.shape, expected.vis.shape)
        if tolerance == 0:
            np.testing.assert_array_equal(made.vis.view("u4"), expected.vis.view("u4"))
        else:
            for part in (slice(0, 2), slice(2, 3)):  # values, weights
                wanted = expected.vis[..., part]
                np.testing.assert_allclose(made.vis[..., part], wanted, tolerance, tolerance * np.nanmax(np.abs(wanted)))
        self.assertEqual(made.stokes, expected.stokes)
        self.assertEqual(made.frequencies.keys(), expected.frequencies.keys())
        for number, setup in expected.frequencies.items():
            np.testing.assert_allclose(made.frequencies[number], setup, rtol=0, atol=0.5)

    def check_export(self, path):
        """The UV FITS of a file passes fitsverify, and comes back with its frequencies to the bit."""
        zeltra("export", path, self.path("out.uvfits"), "-f")
        report = subprocess.run(["fitsverify", "-e", self.path("out.uvfits")], capture_output=True, text=True).stdout
        self.assertIn("and 0 error(s)", report)
        zeltra("import", self.path("out.uvfits"), self.path("back.uvx"), "-f")
        self.assertEqual(Model(self.path("back.uvx")).frequencies, Model(path).frequencies)

    def test_operations_agree_with_numpy(self):
        paths = sorted(glob.glob(SHARED + "/*.uvfits") + glob.glob(SHARED + "/maps/*.uvf"))
        if not paths:
            self.skipTest("no real files")
        for path in paths:
            name = os.path.basename(path)
            zeltra("import", path, self.path(name))
            for command, options, change, tolerance in OPERATIONS:
                with self.subTest(name, command=command, options=options):
                    expected = Model(self.path(name))
                    words = [option(expected) if callable(option) else option for option in options]
                    change(expected)
                    out = self.path(command + ".uvx")
                    zeltra(command, self.path(name), out, "-f", *words)
                    self.check(Model(out), expected, tolerance)
                    self.check_export(out)


    def test_means_of_a_delay_have_the_phase_of_their_middle(self):
        path, out = self.path("in.uvx"), self.path("out.uvx")
        zeltra("simulate", path, "--minutes", "1", "--ifs", "2", "--channels", "16")
        file = uvx.File(path)
        frequencies = np.array([[start + np.arange(16) * width for start, width in Model(path).frequencies[1]]])
        delay = 0.9 / 8e6  # the means are over four channels of 2 MHz
        records = file.records.copy()
        phases = 2 * np.pi * delay * (frequencies - 8.4e9)
        records["vis"][..., 0], records["vis"][..., 1] = np.cos(phases)[..., None], np.sin(phases)[..., None]
        records["vis"][..., 2] = 3
        with open(path, "r+b") as changed:
            changed.seek(file.data_offset)
            changed.write(records.tobytes())
        zeltra("average-frequency", path, out, "--channels", "4")
        vis, made = Model(out).vis.astype("f8"), Model(out).frequencies[1]
        middle = np.array([[start + np.arange(4) * width for start, width in made]])[..., None]
        turned = (vis[..., 0] + 1j * vis[..., 1]) * np.exp(-2j * np.pi * delay * (middle - 8.4e9))
        self.assertLess(np.abs(np.angle(turned)).max(), 1e-6)

    def test_images_are_those_of_the_ifs_that_stay(self):
        path = self.path("in.uvx")
        zeltra("simulate", path, "--minutes", "4", "--ifs", "3", "--channels", "2")
        zeltra("delete-if", path, self.path("out.uvx"), "--if", "2")
        zeltra("image", path, self.path("a.map"), "--source", "1", "--size", "64", "--if", "1,3")
        zeltra("image", self.path("out.uvx"), self.path("b.map"), "--source", "1", "--size", "64")
        with open(self.path("a.map"), "rb") as wanted, open(self.path("b.map"), "rb") as made:
            self.assertEqual(made.read(), wanted.read())


if __name__ == "__main__":
    unittest.main()

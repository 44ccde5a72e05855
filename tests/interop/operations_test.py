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


def upper_ifs(model):
    count = model.vis.shape[1]
    return "%d-%d" % (count // 2 + 1, count)


# Command, options (values may be functions of the input's model), what it does in numpy, relative tolerance of values
# (0: to the bit).
OPERATIONS = [
    ("copy", ["--if", upper_ifs], keep_second_half, 0),
]


class Operations(Case):
    def check(self, made, expected, tolerance):
        for name in expected.group.dtype.names:
            np.testing.assert_array_equal(made.group[name], expected.group[name], name)
        self.assertEqual(made.vis.shape, expected.vis.shape)
        if tolerance == 0:
            np.testing.assert_array_equal(made.vis.view("u4"), expected.vis.view("u4"))
        else:
            np.testing.assert_allclose(made.vis, expected.vis, rtol=tolerance, atol=tolerance * np.nanmax(np.abs(expected.vis)))
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


if __name__ == "__main__":
    unittest.main()

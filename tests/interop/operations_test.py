"""Do every operation on files again with numpy, and compare records, frequencies and tables.

usage: operations_test.py ZELTRA_COMMAND SHARED_DATA_FOLDER [unittest arguments]

A row of OPERATIONS is a command with its options and what it should do to a file in numpy: a function that takes a
`Model` of the input and changes it.
"""
# SPDX-License-Identifier: MIT
import glob
import os
import shutil
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


def sort(order):
    """`sort`: what is no number comes last, and what has the same keys keeps its order."""
    def change(model):
        group = model.group
        u, v = group["u"].astype("f8"), group["v"].astype("f8")
        keys = {"B": group["ant1"] * 256.0 + group["ant2"], "T": group["time"], "U": u, "V": v, "W": group["w"],
                "R": np.sqrt(u * u + v * v).astype("f4"), "P": np.arctan2(u, v).astype("f4"), "X": -abs(u), "Y": -abs(v),
                "Z": abs(u), "M": abs(v), "*": np.zeros(len(u))}
        model.place = np.lexsort((keys[order[1]], keys[order[0]]))
        model.group, model.vis = group[model.place], model.vis[model.place]
    return change


# Command, options (values may be functions of the input's model), what it does in numpy, relative tolerance of values
# (0: to the bit).
OPERATIONS = [
    ("copy", ["--if", upper_ifs], keep_second_half, 0),
    *(("sort", ["--order", order], sort(order), 0) for order in ("BT", "XY", "UV", "WR", "PZ", "M*")),
    ("sort", ["--memory", "1"], sort("TB"), 0),
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

    def integrations(self, path):
        table = uvx.File(path).table("IT")
        first, count = table.column(0)[:, 0], int(table.keywords["RECORDS"][0])
        return np.repeat(table.column(1)[:, 0], np.diff([*first, count + 1]))

    def assert_same(self, made, expected):
        """Records, and all tables but HD, NX and BL, rows in any order."""
        a, b = uvx.File(made), uvx.File(expected)
        self.assertEqual(a.records.tobytes(), b.records.tobytes())
        self.assertEqual(sorted(t.code for t in a.tables), sorted(t.code for t in b.tables))
        rows = lambda t: sorted(t.data[i * t.row_bytes:(i + 1) * t.row_bytes] for i in range(t.rows))
        for table in b.tables:
            if table.code not in ("HD", "NX", "BL"):
                other = a.table(table.code)
                self.assertEqual((table.keywords, table.columns, rows(table)), (other.keywords, other.columns, rows(other)))

    def observation(self):
        """Two sources in turn and two setups of each, with flags, gains and integration times."""
        base, path = self.path("base.uvx"), self.path("in.uvx")
        zeltra("simulate", base, "--minutes", "16", "--integration", "20", "--antennas", "5", "--ifs", "2", "--channels", "2")
        for i in "12":
            zeltra("delete-if", base, self.path(i), "--keep", i)
        zeltra("join", self.path("1"), self.path("2"), path)
        zeltra("sort", path, self.path("sorted.uvx"))
        self.assertEqual(Model(path).frequencies, {i + 1: [item] for i, item in enumerate(Model(base).frequencies[1])})
        shutil.copy(self.path("sorted.uvx"), path)
        return uvx.with_tables(path, [
            ("FG", [("SOURCE", "1J"), ("SUBARRAY", "1J"), ("FREQ ID", "1J"), ("ANTS", "2J"), ("TIME RANGE", "2E"), ("IFS", "2J"),
                    ("CHANS", "2J"), ("PFLAGS", "4X"), ("REASON", "24A")],
             [(1, 0, -1, 2, 0, 0.25, 0.5, 1, 0, 1, 0, b"\xf0", b"one"), (0, 0, 2, 1, 3, 0, 0, 1, 0, 1, 0, b"\x10", b"all")]),
            ("SN", [("TIME", "1D"), ("TIME INTERVAL", "1E"), ("SOURCE ID", "1J"), ("ANTENNA NO.", "1J"), ("SUBARRAY", "1J"),
                    ("FREQ ID", "1J"), ("REAL1", "2E"), ("REFANT 1", "2J")],
             [(0.3 + 0.001 * a, 0.01, s, a, 1, f, 1.5, 2.5, 3, 1) for s in (1, 2) for a in range(1, 6) for f in (1, 2)])])

    def test_split_and_join_give_back_the_file(self):
        path, folder = self.observation(), self.path("parts")
        zeltra("split", path, folder)
        names = ["%s_setup%d.uvx" % (name, setup) for name in ("3C273", "3C279") for setup in (1, 2)]
        self.assertEqual(sorted(os.listdir(folder)), names)
        whole, frequencies = uvx.File(path), Model(path).frequencies
        for name in names:
            part, setup = Model(os.path.join(folder, name)), int(name[-5])
            self.assertEqual(part.frequencies, {setup: frequencies[setup]})
            self.assertEqual(part.freq0, frequencies[setup][0][0])
            source = 1 if name.startswith("3C273") else 2
            kept = (whole.records["group"]["source"] == source) & (whole.records["group"]["frqsel"] == setup)
            np.testing.assert_array_equal(part.group, whole.records["group"][kept])
            self.assertEqual(set(part.tables["SN"].column(2)[:, 0]), {source})
            self.assertEqual(part.tables["FG"].rows, (source == 1) + (setup == 2))
        both, back = self.path("both.uvx"), self.path("back.uvx")
        zeltra("join", *(os.path.join(folder, name) for name in names), both)
        zeltra("sort", both, back)
        self.assert_same(back, path)

    def test_join_matches_what_is_the_same(self):
        first, second, out = self.path("first.uvx"), self.path("second.uvx"), self.path("out.uvx")
        path = self.observation()
        zeltra("copy", path, first, "--source", "3C273", "--antenna", "1,2,3")
        # The other source as number 1, antennas in another order, and a day before.
        uvx.renumber(path, second, {1: 2, 2: 1}, {1: 5, 2: 4, 3: 3, 4: 2, 5: 1}, days=-1)
        zeltra("join", first, second, out)
        file, given = uvx.File(out), uvx.File(path)
        half = uvx.File(first)
        group = file.records["group"][half.count:]
        for name in ("source", "ant1", "ant2", "frqsel"):
            np.testing.assert_array_equal(group[name], given.records["group"][name], name)
        np.testing.assert_array_equal(group["time"], given.records["group"]["time"] - 1)
        self.assertEqual(file.date_obs, given.date_obs - 1)
        gains = file.table("SN")
        rows = sorted(zip(*(gains.column(i)[:, 0] for i in (0, 2, 3, 5))))
        table = given.table("SN")
        wanted = sorted(zip(*(table.column(i)[:, 0] for i in (0, 2, 3, 5))))
        # Those of the copy, which lists three antennas, are a day later than the date now.
        kept = [(time + 1, *others) for time, *others in wanted if others[0] == 1 and others[1] <= 3]
        np.testing.assert_allclose(rows, sorted(wanted + kept), rtol=0, atol=1e-9)
        self.assertEqual(file.table("FG").rows, 3)
        # A flag about all times is about those of the input that has it.
        zeltra("join", self.path("sorted.uvx"), second, out, "-f")
        np.testing.assert_allclose(uvx.File(out).table("FG").column(4)[1], np.ptp(given.records["group"]["time"]) * np.arange(2) +
                                   given.records["group"]["time"][0] - given.date_obs, rtol=0, atol=1e-6)

    def test_join_refuses_what_contradicts(self):
        path, other = self.observation(), self.path("other.uvx")
        for change, sentence in (({"position": 30}, "antenna BR lies 30 m from that of"),
                                 ({"name": True}, "source 3C27. lies .* mas from that of"),
                                 ({"unit": b"UNCALIB"}, "has the unit UNCALIB, and .* JY")):
            uvx.renumber(path, other, {}, {}, **change)
            with self.assertRaisesRegex(AssertionError, sentence):
                zeltra("join", path, other, self.path("none.uvx"))
            self.assertFalse(os.path.exists(self.path("none.uvx")))

    def test_integration_times_follow_their_records(self):
        for path in sorted(glob.glob(SHARED + "/maps/*.uvf"))[:1]:
            zeltra("import", path, self.path("in.uvx"))
            for memory in ("256", "1"):
                model = Model(self.path("in.uvx"))
                sort("UV")(model)
                zeltra("sort", self.path("in.uvx"), self.path("out.uvx"), "--order", "UV", "--memory", memory, "-f")
                expected = self.integrations(self.path("in.uvx"))[model.place]
                np.testing.assert_array_equal(self.integrations(self.path("out.uvx")), expected)


if __name__ == "__main__":
    unittest.main()

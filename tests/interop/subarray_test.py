"""Compare the import of files with several subarrays with astropy's and numpy's reading of what they are made of."""
# SPDX-License-Identifier: MIT
import unittest

from command import Case, run, zeltra
import numpy as np
from astropy.io import fits

import synthetic
import uvx

BASELINE, THIRD_DATE = 3, 6  # places of its random parameters; the last one was INTTIM


class Subarrays(Case):
    def setUp(self):
        super().setUp()
        self.source, = self.shared("mojave.uvfits")
        with fits.open(self.source) as hdus:
            self.tables = [hdu.copy() for hdu in hdus[1:]]
        _, self.header, self.groups = synthetic.load(self.source)
        self.baseline = self.groups["par"][:, BASELINE].astype(int)
        times = self.groups["par"][:, [4, 5]].astype(float).sum(axis=1)
        self.half = np.flatnonzero(np.diff(times))[70] + 1
        # AIPS sets a second subarray ahead by five days.
        self.groups["par"][:, THIRD_DATE] = np.arange(len(self.groups)) >= self.half
        self.groups["par"][:, THIRD_DATE] *= 5
        self.groups["par"][self.half:, BASELINE] += 0.01
        self.first = next(hdu for hdu in self.tables if hdu.name == "AIPS AN")
        self.second = self.first.copy()
        self.second.header["EXTVER"] = 2

    def number(self, half, numbers):
        """Renumber the antennas of one half, as `numbers` maps 1 to 10, in its groups."""
        numbers = np.concatenate([[0], numbers])
        pair = numbers[self.baseline >> 8] * 256 + numbers[self.baseline & 255]
        self.groups["par"][half, BASELINE] += (pair - self.baseline)[half]

    def write(self):
        return synthetic.store(self.path("in.uvfits"), self.header.replace(b"'INTTIM  '", b"'DATE    '"), self.groups,
                               [*self.tables, self.second])

    def refusal(self, *arguments):
        done = run(*arguments)
        self.assertEqual(done.returncode, 1)
        return done.stderr

    def names(self, file):
        """Names of the two antennas of each record."""
        table = file.table("AN")
        name = dict(zip(table.column("NOSTA")[:, 0], table.column("ANNAME")))
        return [[name[number] for number in file.records["group"][end]] for end in ("ant1", "ant2")]

    def check(self, file):
        """Records are those of the whole file, but for numbers of antennas."""
        zeltra("import", self.source, self.path("whole.uvx"))
        whole = uvx.File(self.path("whole.uvx"))
        self.assertEqual(file.records["vis"].tobytes(), whole.records["vis"].tobytes())
        for field in ("time", "u", "v", "w", "source", "frqsel", "flag"):
            np.testing.assert_array_equal(file.records["group"][field], whole.records["group"][field], field)
        self.assertEqual(self.names(file), self.names(whole))

    def test_antennas_are_matched_by_name_and_place(self):
        # The first table numbers backwards, so that antennas of the second half change their order.
        self.first.data["NOSTA"] = 11 - self.first.data["NOSTA"]
        self.number(slice(0, self.half), np.arange(10, 0, -1))
        # Both tables say the same in other words: one is about a centre.
        self.second.data["STABXYZ"] -= [1e6, -2e6, 3e6]
        self.second.header.update(ARRAYX=1e6, ARRAYY=-2e6, ARRAYZ=3e6)
        path, made, back, again = (self.path(name) for name in ("in.uvx", "out.uvx", "back.uvfits", "again.uvx"))
        zeltra("import", self.write(), made)
        file = uvx.File(made)
        self.check(file)
        self.assertTrue(np.all(file.records["group"]["ant1"] > file.records["group"]["ant2"]))
        self.assertEqual([table.code for table in file.tables].count("AN"), 1)
        end, subarray = (file.table("NX").column(name)[:, 0] for name in ("END VIS", "SUBARRAY"))
        np.testing.assert_array_equal(subarray, np.where(end <= self.half, 1, 2))
        zeltra("export", made, back)
        with fits.open(back) as hdus:
            self.assertEqual(set(hdus["AIPS NX"].data["SUBARRAY"]), {1})
        zeltra("import", back, again)
        self.assertEqual(uvx.File(again).records.tobytes(), file.records.tobytes())

    def test_other_antennas_get_free_numbers(self):
        self.second.data["ANNAME"][4] = "XX"
        self.second.data["STABXYZ"][4] += 1e5
        self.second.data["STABXYZ"][5] += 0.5  # metres: the same place
        made = self.path("out.uvx")
        zeltra("import", self.write(), made)
        group = uvx.File(made).records["group"]
        numbers = np.arange(11)
        numbers[5] = 11
        second = np.arange(len(group)) >= self.half
        for end, original in (("ant1", self.baseline >> 8), ("ant2", self.baseline & 255)):
            np.testing.assert_array_equal(group[end], np.where(second, numbers[original], original))
        table = uvx.File(made).table("AN")
        self.assertEqual(table.rows, 11)
        np.testing.assert_array_equal(table.column(1)[10], self.second.data["STABXYZ"][4])

    def test_antennas_that_contradict_each_other_are_refused(self):
        self.second.data["STABXYZ"][4] += 1e5
        path, made = self.write(), self.path("out.uvx")
        self.assertRegex(self.refusal("import", path, made), "antenna LA of subarray 2 lies 173205.1 m from that of "
                         "subarray 1; zeltra import --subarray N imports a single one")
        zeltra("import", path, made, "--subarray", "2")
        file = uvx.File(made)
        self.assertEqual(file.count, len(self.groups) - self.half)
        np.testing.assert_array_equal(file.records["group"]["ant1"], self.baseline[self.half:] >> 8)
        np.testing.assert_array_equal(file.table("AN").column(1), self.second.data["STABXYZ"])
        self.assertIn("there are 1, 2", self.refusal("import", path, made, "--subarray", "3", "--force"))

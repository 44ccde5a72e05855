"""Solve for gains that were put in, and apply them: simulated observations and real files with published models."""
# SPDX-License-Identifier: MIT
import os
import re
import shutil
import subprocess
import unittest

from command import SHARED, ZELTRA, Case, zeltra
import numpy as np

import uvx

MAPS = SHARED + "/maps/"


def solved(*arguments):
    """What the command says on standard error: gains found and asked for, chi^2/2N before and after."""
    done = subprocess.run([ZELTRA, "solve", *map(str, arguments)], capture_output=True, text=True, check=True)
    found = re.search(r"(\d+) of (\d+) gains.*visibilities ([\d.e+-]+), with gains ([\d.e+-]+)", done.stderr)
    return tuple(float(number) for number in found.groups())


class Solve(Case):
    def real(self, name):
        if not os.path.exists(MAPS + name):
            self.skipTest("no real files")
        zeltra("import", MAPS + name, self.path("real.uvx"))
        return self.path("real.uvx")

    def corrupted(self, path, hands, seed=3):
        """A copy of a file with V' = g V conj(g'), w' = w / |g g'|^2, and the gains, [antenna][IF][hand]."""
        out = self.path("corrupted.uvx")
        shutil.copy(path, out)
        file = uvx.File(path)
        random = np.random.default_rng(seed)
        shape = (256, max(1, file.ifs), 2)
        gains = random.uniform(0.6, 1.6, shape) * np.exp(1j * random.uniform(-np.pi, np.pi, shape))
        records = np.memmap(out, file.records.dtype, "r+", file.data_offset, file.count)
        first, second = records["group"]["ant1"], records["group"]["ant2"]
        factor = np.stack([gains[first][..., p] * np.conj(gains[second][..., q]) for p, q in hands], -1)[:, :, None]
        vis = records["vis"].astype("f8")
        value = factor * (vis[..., 0] + 1j * vis[..., 1])
        records["vis"] = np.stack([value.real, value.imag, vis[..., 2] / np.abs(factor) ** 2], -1)
        records.flush()
        return out, gains

    def test_phases_of_a_simulation_come_back(self):
        """The model is the same observation without the errors, of two sources that are not symmetric."""
        common = ["--minutes", 12, "--noise", 0, "--seed", 5]
        zeltra("simulate", self.path("true.uvx"), *common)
        zeltra("simulate", self.path("wrong.uvx"), *common, "--phase-errors")
        zeltra("solve", self.path("wrong.uvx"), "--model", self.path("true.uvx"), "--refant", 1, "-o", self.path("sn.uvx"))
        zeltra("apply", self.path("sn.uvx"), self.path("right.uvx"))
        true, right = uvx.File(self.path("true.uvx")).records["vis"], uvx.File(self.path("right.uvx")).records["vis"]
        parallel = [0, 1]  # the phase between the hands is lost
        valid = right[..., parallel, 2] > 0
        self.assertGreater(valid.mean(), 0.99)
        np.testing.assert_allclose(right[..., parallel, :][valid], true[..., parallel, :][valid], atol=2e-6)

    def test_what_was_corrupted_is_restored(self):
        """The same gains are found beside those that were put in, so that applying them gives what applying the gains
        of the file as it was gives; forgetting the weights does not."""
        path = self.real("3C111_Q_2014_05_08.uvf")
        model = MAPS + "3C111_Q_2014_05_08.mod"
        hands = {-1: (0, 0), -2: (1, 1), -3: (0, 1), -4: (1, 0)}
        corrupted, put = self.corrupted(path, [hands[code] for code in uvx.File(path).stokes])
        options = ["--mode", "ap", "--model", model, "--normalize", "none", "--snr", 0, "--refant", "PT"]
        for name, source in (("as-it-was", path), ("corrupt", corrupted)):
            chi = solved(source, *options, "-o", self.path(name + ".sn.uvx"))
            self.assertGreater(chi[0], 0.9 * chi[1])
            zeltra("apply", self.path(name + ".sn.uvx"), self.path(name + ".uvx"))
            if name == "as-it-was":
                before = chi
        self.assertAlmostEqual(chi[3], before[3], delta=0.01 * before[3])
        was, now = (uvx.File(self.path(name + ".uvx")).records["vis"].astype("f8") for name in ("as-it-was", "corrupt"))
        parallel = [list(uvx.File(path).stokes).index(code) for code in (-1, -2)]
        was, now = was[..., parallel, :], now[..., parallel, :]
        valid = (was[..., 2] > 0) & (now[..., 2] > 0)
        self.assertGreater(valid.sum(), 60000)
        np.testing.assert_allclose(now[valid], was[valid], rtol=2e-3, atol=2e-3 * np.abs(was[valid][:, :2]).mean())

    def test_a_calibrated_file_needs_no_gains(self):
        path = self.real("3C111_Q_2014_05_08.uvf")
        zeltra("solve", path, "--mode", "ap", "--interval", 120, "--model", MAPS + "3C111_Q_2014_05_08.mod", "-o", self.path("a.gain"))
        rows = [row.split(",") for row in zeltra("gains", self.path("a.gain"), "csv").splitlines()]
        column = {name: np.array([row[i] for row in rows[1:]]) for i, name in enumerate(rows[0])}
        gain = (column["re"].astype("f8") + 1j * column["im"].astype("f8"))[column["snr"].astype("f8") > 0]
        self.assertGreater(gain.size, 10000)
        self.assertAlmostEqual(np.median(np.abs(gain)), 1, delta=0.01)
        self.assertLess(np.median(np.abs(np.angle(gain, deg=True))), 2)

    def test_what_cannot_be_solved_is_said(self):
        zeltra("simulate", self.path("a.uvx"), "--minutes", 1)
        zeltra("simulate", self.path("b.uvx"), "--minutes", 2)
        with open(self.path("bad.mod"), "w") as file:
            file.write("1 0 0\n0.5 1 90 0.2 1 0 3\n")
        for model, sentence in (("b.uvx", "other records"), ("bad.mod", "line 2"), ("none.mod", "no such file")):
            done = subprocess.run([ZELTRA, "solve", self.path("a.uvx"), "--model", self.path(model), "-o", self.path("x.uvx")],
                                  capture_output=True, text=True)
            self.assertEqual(done.returncode, 1)
            self.assertIn(sentence, done.stderr)
            self.assertFalse(os.path.exists(self.path("x.uvx")))

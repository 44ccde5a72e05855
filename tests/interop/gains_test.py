"""Apply gains that numpy and astropy make, and do it again with numpy."""
# SPDX-License-Identifier: MIT
import csv
import io
import random
import struct
import subprocess
import unittest

from command import ZELTRA, Case, contents, put, zeltra
import numpy as np
from astropy.io import fits

import uvx

ITEM = np.dtype([("time", "<f8"), ("interval", "<f4"), ("source", "<i2"), ("setup", "i1"), ("subarray", "<i2"),
                 ("antenna", "u1"), ("reference", "u1"), ("if", "<i2"), ("hand", "i1"), ("weight", "<f4"), ("re", "<f8"),
                 ("im", "<f8"), ("delay", "<f8"), ("rate", "<f8")])
HANDS = {-1: (0, 0), -2: (1, 1), -3: (0, 1), -4: (1, 0)}


def write_gains(path, file, items):
    """A gain file, from docs/gain-format.md."""
    with open(path, "wb") as out:
        out.write(struct.pack("<iiddi5h2hBB8s16s", 0x4E41475A, 1, file.date_obs, file.freq0, len(items), 0, 0, 0,
                              file.ifs, 2, -1, -2, 1, 0, b"UTC", b""))
        out.write(struct.pack("<i", len(items)) + items.tobytes())


def items_of(times, antennas, gains, interval=10.0):
    """One for each time, antenna, IF and hand; `gains` has the shape [time][antenna number][IF][hand]."""
    t, a, i, h = (x.ravel() for x in np.meshgrid(range(len(times)), antennas, range(gains.shape[2]), [0, 1], indexing="ij"))
    items = np.zeros(t.size, ITEM)
    items["time"], items["interval"], items["antenna"], items["reference"] = times[t], interval, a, 1
    items["if"], items["hand"], items["weight"] = i, h, 10
    items["re"], items["im"] = gains[t, a, i, h].real, gains[t, a, i, h].imag
    return items


def values_of(path):
    vis = uvx.File(path).records["vis"].astype("f8")
    return vis[..., 0] + 1j * vis[..., 1], vis[..., 2]


def sn_table(file, items, code="SN", scale=1.0):
    """As AIPS has it, but for columns: names vary in case, and their order is that of CL."""
    keys = sorted({(x["time"], x["antenna"]) for x in items})
    row = {key: i for i, key in enumerate(keys)}
    blank = lambda: np.full((len(keys), file.ifs), np.nan, "f4")
    columns = {name + n: blank() for n in "12" for name in ("REAL", "IMAG", "RATE ", "DELAY ")}
    columns.update({"WEIGHT " + n: np.zeros((len(keys), file.ifs), "f4") for n in "12"})
    columns.update({"REFANT " + n: np.ones((len(keys), file.ifs), "i4") for n in "12"})
    for x in items:
        at, n = (row[x["time"], x["antenna"]], x["if"]), "12"[x["hand"]]
        s = scale / np.conj(x["re"] + 1j * x["im"])
        columns["REAL" + n][at], columns["IMAG" + n][at], columns["WEIGHT " + n][at] = s.real, s.imag, x["weight"]
        columns["DELAY " + n][at], columns["RATE " + n][at] = x["delay"], x["rate"]
    times = np.array([key[0] for key in keys]) - file.date_obs
    single = {"Time": ("1D", times), "ANTENNA NO.": ("1J", [key[1] for key in keys]),
              "TIME INTERVAL": ("1E", np.full(len(keys), items["interval"][0] / 86400)),
              "SOURCE ID": ("1J", np.zeros(len(keys))), "SUBARRAY": ("1J", np.zeros(len(keys))),
              "FREQ ID": ("1J", np.full(len(keys), -1)), "MBDELAY1": ("1E", np.zeros(len(keys))),
              "DISP 1": ("1E", np.zeros(len(keys))), "I.FAR.ROT": ("1E", np.zeros(len(keys)))}
    definitions = [fits.Column(name, form, array=array) for name, (form, array) in single.items()]
    definitions += [fits.Column(name, "%d%s" % (file.ifs, "J" if array.dtype.kind == "i" else "E"), array=array)
                    for name, array in columns.items()]
    table = fits.BinTableHDU.from_columns(definitions, name="AIPS " + code)
    table.header["NO_POL"], table.header["NO_IF"], table.header["MGMOD"] = 2, file.ifs, scale
    return table


class Gains(Case):
    def setUp(self):
        super().setUp()
        self.obs = self.path("obs.uvx")
        zeltra("simulate", self.obs, "--minutes", "20", "--antennas", "5", "-q")
        self.file = uvx.File(self.obs)
        self.group = self.file.records["group"]
        self.times = np.unique(self.group["time"])
        self.antennas = np.unique([self.group["ant1"], self.group["ant2"]])
        self.rng = np.random.default_rng(1)

    def random_gains(self, count):
        shape = (count, 256, self.file.ifs, 2)
        return self.rng.uniform(0.5, 2, shape) * np.exp(1j * self.rng.uniform(-np.pi, np.pi, shape))

    def factors(self, gains, time):
        """g_p conj(g_q) of every record, IF and polarisation."""
        p, q = self.group["ant1"], self.group["ant2"]
        return np.stack([gains[time, p, :, a] * np.conj(gains[time, q, :, b])
                         for a, b in (HANDS[code] for code in self.file.stokes)], -1)[:, :, None, :]

    def with_table(self, table, name="table.uvx", path=None):
        zeltra("export", path or self.obs, self.path("t.uvfits"), "-f")
        with fits.open(self.path("t.uvfits")) as hdus:
            hdus.append(table)
            hdus.writeto(self.path("t2.uvfits"), overwrite=True)
        zeltra("import", self.path("t2.uvfits"), self.path(name), "-f")
        return self.path(name)

    def failure(self, *words):
        done = subprocess.run([ZELTRA, *words], capture_output=True, text=True)
        self.assertEqual(done.returncode, 1, done.stderr)
        return done.stderr

    def test_gains_put_in_and_taken_out(self):
        gains = self.random_gains(len(self.times))
        time = np.searchsorted(self.times, self.group["time"])
        write_gains(self.path("in.gain"), self.file, items_of(self.times, self.antennas, 1 / gains))
        zeltra("apply", self.obs, self.path("bad.uvx"), "--gains", self.path("in.gain"))
        v, w = values_of(self.obs)
        bad, bad_w = values_of(self.path("bad.uvx"))
        factor = self.factors(gains, time)
        np.testing.assert_allclose(bad, v * factor, rtol=0, atol=1e-6 * np.abs(v * factor).max())
        np.testing.assert_allclose(bad_w, w / abs(factor) ** 2, rtol=1e-6)
        items = items_of(self.times, self.antennas, gains)
        write_gains(self.path("out.gain"), self.file, items)
        table = self.with_table(sn_table(self.file, items, "CL", scale=2.0), path=self.path("bad.uvx"))
        zeltra("gains", self.path("bad.uvx"), "average", self.path("sn.uvx"), "--table", self.path("out.gain"),
               "--interval", "10")
        for path, words in ((self.path("bad.uvx"), ["--gains", self.path("out.gain")]), (table, ["--gains", "CL:1"]),
                            (self.path("sn.uvx"), [])):
            zeltra("apply", path, self.path("back.uvx"), *words, "-f")
            back, back_w = values_of(self.path("back.uvx"))
            np.testing.assert_allclose(back, v, rtol=0, atol=1e-6 * np.abs(v).max())
            np.testing.assert_allclose(back_w, w, rtol=1e-6)
            self.assertFalse({"SN", "CL"} & {t.code for t in uvx.File(self.path("back.uvx")).tables})

    def test_tables_hold_the_inverse_conjugate(self):
        gains = self.random_gains(len(self.times))
        items = items_of(self.times, self.antennas, gains)
        items["weight"][:7] = 0
        write_gains(self.path("g.gain"), self.file, items)
        zeltra("gains", self.obs, "average", self.path("sn.uvx"), "--table", self.path("g.gain"), "--interval", "10")
        zeltra("export", self.path("sn.uvx"), self.path("sn.uvfits"))
        report = subprocess.run(["fitsverify", "-e", self.path("sn.uvfits")], capture_output=True, text=True).stdout
        self.assertIn("and 0 error(s)", report)
        with fits.open(self.path("sn.uvfits")) as hdus:
            header, rows = hdus["AIPS SN"].header, hdus["AIPS SN"].data
        self.assertEqual([header[key] for key in ("REVISION", "NO_POL", "NO_IF", "NO_ANT", "NO_NODES", "MGMOD", "APPLIED")],
                         [11, 2, 2, 5, 0, 1.0, False])
        self.assertEqual(rows.columns.names[:8], ["TIME", "TIME INTERVAL", "SOURCE ID", "ANTENNA NO.", "SUBARRAY", "FREQ ID",
                                                  "I.FAR.ROT", "NODE NO."])
        time = np.searchsorted(self.times - self.file.date_obs, rows["TIME"] - 1e-6)
        for hand, n in enumerate("12"):
            s = rows["REAL" + n] + 1j * rows["IMAG" + n]
            expected = 1 / np.conj(gains[time, rows["ANTENNA NO."], :, hand])
            missing = rows["WEIGHT " + n] == 0
            np.testing.assert_allclose(s[~missing], expected[~missing], rtol=1e-6)
            self.assertTrue(np.isnan(s[missing]).all() and np.isnan(rows["DELAY " + n][missing]).all())
            self.assertEqual((rows["RATE " + n][~missing] == 0).all() and missing.sum(), [4, 3][hand])

    def test_interpolation(self):
        """Solutions every 60 s, made again with numpy; half an interval before and after; nothing across scans."""
        times = self.times[0] + np.arange(0, 1200, 60) / 86400 + 17 / 86400
        gains = self.random_gains(len(times))
        items = items_of(times, self.antennas, gains, interval=40)
        items["reference"][items["time"] > times[4] + 1e-5] = 2
        write_gains(self.path("g.gain"), self.file, items)
        v, w = values_of(self.obs)
        scans = uvx.File(self.obs).table("NX")
        names = [name.strip() for name, *_ in scans.columns]
        ends = scans.column(names.index("END VIS"))[:, 0]
        scan = np.searchsorted(ends, np.arange(len(v)) + 1)
        first = np.array([self.group["time"][scan == i].min() for i in range(len(ends))])[scan]
        last = np.array([self.group["time"][scan == i].max() for i in range(len(ends))])[scan]
        t = self.group["time"]
        before = np.clip(np.searchsorted(times, t + 1e-9) - 1, 0, len(times) - 2)
        for words, gap in (([], False), (["--max-gap", "60"], True), (["--max-gap", "59"], None)):
            inside = (times[before] >= first - 1e-8) & (times[before + 1] <= last + 1e-8)
            joined = (t >= times[before]) & (t <= times[before + 1])
            joined &= inside if gap is False else np.full(len(t), bool(gap))
            alike = joined & ((before + 1 <= 4) | (before > 4))  # the same reference antenna
            share = ((t - times[before]) / (times[1] - times[0]))[:, None, None, None]
            a, b = gains[before], gains[before + 1]
            mean = (1 - share) * a + share * b
            mean *= ((1 - share) * abs(a) + share * abs(b)) / abs(mean)
            nearer = np.abs(t[:, None] - times).argmin(1)
            used = np.where(alike[:, None, None, None], mean, gains[nearer])
            there = joined | (np.abs(t - times[nearer]) * 86400 <= 20.001)
            factor = self.factors(used, np.arange(len(t)))
            zeltra("apply", self.obs, self.path("out.uvx"), "--gains", self.path("g.gain"), "-f", *words)
            made, made_w = values_of(self.path("out.uvx"))
            # Times are those of a Julian date, 0.04 ms of 60 s.
            np.testing.assert_allclose(made[there], (v / factor)[there], rtol=0, atol=5e-6 * np.abs(v / factor).max())
            np.testing.assert_array_equal(made_w[~there], -np.abs(w[~there]))
            self.assertTrue(((~there).any() or gap) and joined.any() == (gap is not None))

    def test_delays_and_rates(self):
        gains = self.random_gains(1)
        items = items_of(self.times[:1], self.antennas, gains, interval=10000)
        items["delay"] = self.rng.uniform(-1e-7, 1e-7, len(items))
        items["rate"] = self.rng.uniform(-1e-12, 1e-12, len(items))
        v, _ = values_of(self.obs)
        setups = self.file.table("FQ")
        names = [name.strip() for name, *_ in setups.columns]
        start, width = (setups.column(names.index(name))[0].astype("f8") for name in ("IF FREQ", "CH WIDTH"))
        start += self.file.freq0
        since = (self.group["time"] - self.times[0]) * 86400
        turn = np.zeros(v.shape[:3] + (2, 2))  # [record][IF][channel][antenna of the record][hand]
        for x in items:
            i, hand = x["if"], x["hand"]
            offset = np.arange(v.shape[2]) * width[i]
            phase = x["delay"] * offset + x["rate"] * since[:, None] * (start[i] + offset)
            for k, antenna in enumerate(("ant1", "ant2")):
                turn[:, i, :, k, hand] += np.where((self.group[antenna] == x["antenna"])[:, None], phase, 0)
        phases = np.stack([turn[..., 0, a] - turn[..., 1, b] for a, b in (HANDS[c] for c in self.file.stokes)], -1)
        expected = v / self.factors(gains, 0) * np.exp(-2j * np.pi * phases)
        table = self.with_table(sn_table(self.file, items, "SN"))
        write_gains(self.path("g.gain"), self.file, items)
        for path, words in ((self.obs, ["--gains", self.path("g.gain")]), (table, [])):
            zeltra("apply", path, self.path("out.uvx"), "-f", *words)
            made, _ = values_of(self.path("out.uvx"))
            # A rate in single precision turns by 2 pi 8.4e9 x 1e-12 x 6e-8 x 1200 s in 20 minutes.
            np.testing.assert_allclose(made, expected, rtol=0, atol=1e-5 * np.abs(expected).max())

    def test_sources_missing_solutions_and_weights(self):
        gains = self.random_gains(len(self.times))
        gains /= abs(gains)
        items = items_of(self.times, self.antennas, gains)
        source = np.zeros(len(items), int)
        first = np.isin(items["time"], self.group["time"][self.group["source"] == 1])
        items["source"] = np.where(first, 1, 2)
        write_gains(self.path("one.gain"), self.file, items[first & (items["antenna"] != 3)])
        apply = lambda *words: subprocess.run([ZELTRA, "apply", self.obs, self.path("o.uvx"), "--gains", self.path("one.gain"),
                                               "-f", *words], capture_output=True, text=True).stderr
        v, w = values_of(self.obs)
        missing = (self.group["source"] == 2) | (self.group["ant1"] == 3) | (self.group["ant2"] == 3)
        told = apply()
        _, made_w = values_of(self.path("o.uvx"))
        np.testing.assert_array_equal(made_w, np.where(missing[:, None, None, None], -np.abs(w), w))  # phases alone
        self.assertIn("%d valid visibilities" % (w[missing] > 0).sum(), told)
        self.assertIn("weights as they were", told)
        apply("--missing", "pass")
        made, made_w = values_of(self.path("o.uvx"))
        np.testing.assert_array_equal(made_w, w)
        np.testing.assert_array_equal(made[missing], v[missing])
        apply("--from", "1", "--max-gap", "1e6", "--missing", "pass")
        made, _ = values_of(self.path("o.uvx"))
        others = (self.group["ant1"] != 3) & (self.group["ant2"] != 3) & (self.group["time"] < items["time"][first].max())
        self.assertTrue((np.abs(made[others] - v[others]) > 0).all(axis=(1, 2, 3)).all())
        self.assertIn("no solution of source 2", apply("--from", "2"))

    def test_closures_stay(self):
        write_gains(self.path("g.gain"), self.file,
                    items_of(self.times, self.antennas, self.random_gains(len(self.times))))
        zeltra("apply", self.obs, self.path("o.uvx"), "--gains", self.path("g.gain"))
        phases = []
        for path in (self.obs, self.path("o.uvx")):
            rows = csv.DictReader(io.StringIO(zeltra("closure", path, "--each", "--interval", "-1", "--csv")))
            phases.append(np.array([float(row["phase"]) for row in rows]))
        difference = np.angle(np.exp(1j * (phases[0] - phases[1])))
        self.assertGreater(len(difference), 10000)
        # Values are floats: a hundredth of them is below 0.3 of the largest.
        self.assertLess(np.percentile(np.abs(difference), 99), 1e-6)

    def test_gains_that_are_refused(self):
        items = items_of(self.times[:3], self.antennas, self.random_gains(3))
        for column in ("MBDELAY1", "DISP 1", "I.FAR.ROT"):
            table = sn_table(self.file, items)
            table.data[column][4] = 1e-9
            path = self.with_table(table)
            self.assertIn(column + " is not 0 in row 5", self.failure("apply", path, self.path("o.uvx")))
        self.assertIn("no table SN", self.failure("apply", self.obs, self.path("o.uvx")))
        write_gains(self.path("g.gain"), self.file, items)
        whole = contents(self.path("g.gain"))
        random.seed(1)
        places = list(range(0, 68, 2)) + random.sample(range(68, len(whole)), 20)
        damaged = [whole[:size] for size in (0, 3, 67, 68, 71, 72, len(whole) - 1)] + [whole + b"x"]
        for number, content in enumerate(damaged + [whole[:place] + b"\xff\xff" + whole[place + 2:] for place in places]):
            put(self.path("b.gain"), content)
            jobs = ["gains", self.path("b.gain"), "info"], ["apply", self.obs, self.path("o.uvx"), "--gains", self.path("b.gain"), "-f"]
            done = subprocess.run([ZELTRA, *jobs[number % 2]], capture_output=True, text=True)
            self.assertIn(done.returncode, (0, 1), done.stderr)
            if done.returncode or content in damaged:
                self.assertIn("zeltra: error: ", done.stderr)

    def test_statistics_and_averages(self):
        gains = np.ones((len(self.times), 256, 2, 2), complex)
        seconds = (self.times - self.times[0]) * 86400
        gains *= (1 + 0.1 * (-1) ** np.arange(len(self.times)) * np.exp(0j))[:, None, None, None]
        gains *= np.exp(0.01j * seconds)[:, None, None, None]
        write_gains(self.path("g.gain"), self.file, items_of(self.times, [7], gains))
        rows = list(csv.DictReader(io.StringIO(zeltra("gains", self.path("g.gain"), "info", "--csv"))))
        self.assertEqual([(row["hand"], row["if"], row["valid"]) for row in rows],
                         [(hand, i, str(len(self.times))) for i in "12" for hand in ("RR", "LL")])
        self.assertAlmostEqual(float(rows[0]["phase_drift"]), np.degrees(0.01) * 3600, 2)
        self.assertAlmostEqual(float(rows[0]["modulus_scatter"]), np.abs(gains[:, 7, 0, 0]).std(ddof=1), 6)
        zeltra("gains", self.path("g.gain"), "average", self.path("a.gain"), "--interval", "120")
        rows = list(csv.DictReader(io.StringIO(zeltra("gains", self.path("a.gain"), "csv"))))
        rows = [row for row in rows if (row["if"], row["hand"]) == ("1", "RR")]
        number = np.floor((self.times - self.file.date_obs) * 86400 / 120 + 1e-6)
        self.assertEqual(len(rows), len(set(number)))
        for row, n in zip(rows, sorted(set(number))):
            g = gains[number == n, 7, 0, 0]
            value = float(row["re"]) + 1j * float(row["im"])
            # The same signal-to-noise ratio: errors grow with the modulus.
            self.assertAlmostEqual(abs(value), (1 / abs(g)).sum() / (1 / abs(g) ** 2).sum(), 9)
            self.assertAlmostEqual(np.angle(value), np.angle((g / abs(g)).mean()), 9)
            self.assertAlmostEqual(float(row["snr"]), 10 * np.sqrt(len(g)), 4)

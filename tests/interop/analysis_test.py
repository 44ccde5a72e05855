"""Compare averages, closure phases and coordinates with numpy's and astropy's, and harass the commands that make them."""
# SPDX-License-Identifier: MIT
import functools
import itertools
import json
import os
import unittest

from command import Case, contents, memory, run, zeltra
import numpy as np
from astropy.coordinates import FK5, SkyCoord
from astropy.time import Time
from astropy.utils import iers

import synthetic
import uvx

iers.conf.auto_download = False
SECONDS_PER_DAY = 86400.0
LIGHT = 299792458.0


def numbers(csv):
    """Names of the columns, and the values as float64."""
    names, _, body = csv.partition("\n")
    names = names.split(",")
    return names, np.fromstring(body.replace("\n", ","), sep=",").reshape(-1, len(names))


def objects(*arguments):
    return json.loads(zeltra(*arguments, "--json"))


def seconds(file, times):
    return np.round((times - file.date_obs) * 864e6) / 1e4


def complexes(vis):
    return vis[..., 0] + 1j * vis[..., 1]


def turned(angle):
    """An angle, less whole turns."""
    return (angle + np.pi) % (2 * np.pi) - np.pi


def cleaned(vis):
    """Values that are not finite become flagged zeros."""
    vis = vis.astype("f8")
    vis[~np.isfinite(vis).all(axis=-1)] = 0
    return vis


def unwrapped(phase, valid):
    """Phases less than half a turn from the valid one before."""
    phase, last = phase.copy(), 0
    for row, is_valid in zip(phase, valid):
        row -= 2 * np.pi * np.round((row - last) / (2 * np.pi))
        last = np.where(is_valid, row, last)
    return phase


def mean_of(vis, amphase, plain=False):
    """Mean over the first axis of [record][value][re, im, weight], as defined; and the mean of the amplitudes."""
    vis = vis.astype("f8")
    value, valid = complexes(vis), vis[..., 2] > 0
    share = np.where(valid, 1 if plain else vis[..., 2], 0)
    total, slots = share.sum(axis=0), vis[..., :2]
    if amphase:
        slots = np.stack([np.abs(value), unwrapped(np.angle(value), valid)], -1)
    with np.errstate(invalid="ignore", divide="ignore"):
        mean = (share[..., None] * slots).sum(axis=0) / total[:, None]
        weight = np.where(valid, vis[..., 2], 0).sum(axis=0) / np.where(plain, total, 1)
    if amphase:
        mean = np.stack([mean[:, 0] * np.cos(mean[:, 1]), mean[:, 0] * np.sin(mean[:, 1])], -1)
    mean = np.where(total[:, None] > 0, mean, vis[0, :, :2])
    return np.concatenate([mean, np.where(total > 0, weight, vis[0, :, 2])[:, None]], -1), np.abs(value).mean(axis=0)


def combined(vis, stokes, mix, plain):
    """Values [record][point][combination] of a mix, from values [record][point][polarisation]."""
    value, weight = complexes(vis), vis[..., 2]
    kept = {"all": stokes, "rl": (-6, -5, -2, -1), "cross": (-8, -7, -4, -3)}[mix]
    out = [(value[..., i], weight[..., i]) for i, code in enumerate(stokes) if code in kept]
    forms = ((-2, -1, lambda ll, rr: (ll + rr) / 2), (-2, -1, lambda ll, rr: (rr - ll) / 2),
             (-3, -4, lambda rl, lr: (rl + lr) / 2), (-3, -4, lambda rl, lr: 1j * (rl - lr) / 2))
    for p, q, form in forms:
        if mix == "all" and {p, q} <= set(stokes):
            p, q = stokes.index(p), stokes.index(q)
            one, other = np.abs(weight[..., p]), np.abs(weight[..., q])
            with np.errstate(divide="ignore"):
                joint = (one + other) / 2 if plain else 4 / (1 / one + 1 / other)
            is_valid = (weight[..., p] > 0) & (weight[..., q] > 0)
            out.append((form(value[..., p], value[..., q]), np.where(is_valid, joint, -joint)))
    return np.stack([np.stack([v.real, v.imag, w], -1) for v, w in out], -2)


def record_weights(vis):
    """Sums of the weights that count."""
    weight = vis[..., 2].astype("f8").reshape(len(vis), -1)
    return np.where(np.isfinite(weight) & (weight > 0), weight, 0).sum(axis=1)


@functools.cache
def averages(file, interval, amphase=False, source=None, mix=None, plain=False):
    """[(mean time as a Julian date, {(ant1, ant2): (mean, amplitudes, records)})] of the intervals, in time order."""
    group, vis = file.records["group"], file.records["vis"].reshape(file.count, -1, len(file.stokes), 3)
    weight = np.ones(file.count) if plain else record_weights(vis)
    vis = cleaned(vis)
    if mix:
        vis = combined(vis, file.stokes, mix, plain)
    vis = vis.reshape(file.count, -1, 3)
    ticks = np.round((group["time"] - file.date_obs) * 864e6)
    cell = ticks if interval < 0 else np.floor(ticks / (interval * 1e4))
    scan = np.searchsorted(file.table("NX").column(5)[:, 0], np.arange(file.count), "right")
    found, streams = {}, {}
    for i in range(file.count):
        stream = streams.setdefault((group["source"][i], group["frqsel"][i]), len(streams))
        if group["flag"][i] == 0 and source in (None, group["source"][i]):
            found.setdefault((stream, scan[i], cell[i]), []).append(i)
    intervals = []
    for (stream, _, _), rows in found.items():
        share = weight[rows] if weight[rows].any() else np.ones(len(rows))
        when = group["time"][rows[0]]
        when += (share * (group["time"][rows] - when)).sum() / share.sum()
        pairs = {}
        for i in rows:
            pairs.setdefault((group["ant1"][i], group["ant2"][i]), []).append(i)
        intervals.append((when, stream, {pair: (*mean_of(vis[at], amphase, plain), at) for pair, at in pairs.items()}))
    return [(when, pairs) for when, _, pairs in sorted(intervals, key=lambda entry: entry[:2])]


def triangles(legs, each):
    """{antennas: [sum b B, sum b] of the values} from {(low, high): (visibilities, weights)}."""
    parts = {}
    for pair, (z, weight) in legs.items():
        valid = weight > 0
        noise = 2 / np.where(valid, weight, 1)
        power = np.maximum(np.abs(z) ** 2 - noise, 0)
        for block in range(0, 0 if each else len(z), 64):
            at = np.arange(block, min(block + 64, len(z)))[valid[block:block + 64]]
            signal = (weight[at] * np.abs(z[at]) ** 2 - 2).sum()
            if len(at) > 1 and signal < 25 * len(at):
                power[block:block + 64] = max(signal / weight[at].sum(), 0)
        parts[pair] = z, power, noise, valid
    out = {}
    for a, b, c in itertools.combinations(sorted({x for pair in legs for x in pair}), 3):
        if {(a, b), (b, c), (a, c)} <= parts.keys():
            sides = [parts[pair] for pair in ((a, b), (b, c), (a, c))]
            # (prod(P + n) - prod(P)) / 2, multiplied out: the difference of the products has no digits where P >> n.
            (_, p, k, _), (_, q, l, _), (_, r, m, _) = sides
            variance = (k * q * r + p * l * r + p * q * m + k * l * r + k * q * m + p * l * m + k * l * m) / 2
            share = np.where(sides[0][3] & sides[1][3] & sides[2][3], 1 / variance, 0)
            total = np.array([share * sides[0][0] * sides[1][0] * sides[2][0].conj(), share])
            out[a, b, c] = total if each else total.sum(axis=1, keepdims=True)
    return out


def quadrangles(legs, each):
    """As triangles, of sum b log(|V12| |V34| / (|V13| |V24|))."""
    out = {}
    for a, b, c, d in itertools.combinations(sorted({x for pair in legs for x in pair}), 4):
        for one, two, three, four in ((a, b, c, d), (a, b, d, c), (a, c, d, b)):
            pairs = [tuple(sorted(pair)) for pair in ((one, two), (three, four), (one, three), (two, four))]
            if not set(pairs) <= legs.keys():
                continue
            square = np.array([np.abs(legs[pair][0]) ** 2 for pair in pairs])
            weight = np.maximum([legs[pair][1] for pair in pairs], 0)
            strong = (square * weight > 9).all(axis=0)
            with np.errstate(invalid="ignore", divide="ignore"):
                share = np.where(strong, 1 / (1 / (square * weight)).sum(axis=0), 0)
                log = np.where(strong, np.array([1, 1, -1, -1]) @ np.log(square) / 2, 0)
            total = np.array([share * log, share + 0j])
            out[one, two, three, four] = total if each else total.sum(axis=1, keepdims=True)
    return out


def incidence(polygons):
    """The matrix polygon x baseline, of +1 and -1."""
    pairs = {}
    column = lambda a, b: pairs.setdefault((min(a, b), max(a, b)), len(pairs))
    entries = []
    for row, polygon in enumerate(polygons):
        a, b, c, *d = polygon
        sides = ((a, b, 1), (d[0], c, 1), (a, c, -1), (b, d[0], -1)) if d else ((a, b, 1), (b, c, 1), (a, c, -1))
        entries += [(row, column(one, two), sign) for one, two, sign in sides]
    matrix = np.zeros((len(polygons), len(pairs)))
    for row, place, sign in entries:
        matrix[row, place] = sign
    return matrix


class Analysis(Case):
    def ragged(self):
        """A simulated file with uneven intervals, and weights and values of every kind."""
        path = self.simulated("--minutes", "8", "--integration", "5", "--antennas", "6", "--channels", "2")
        chance = np.random.default_rng(1)

        def change(records):
            vis, group = records["vis"], records["group"]
            some = lambda share: chance.random(vis.shape[:-1]) < share
            vis[..., 2][some(0.2)] *= -1
            for part, share, value in ((2, 0.05, 0), (2, 0.01, np.inf), (2, 0.01, np.nan), (0, 0.01, np.nan), (1, 0.01, -np.inf)):
                vis[..., part][some(share)] = value
            group["flag"][chance.random(len(group)) < 0.3] = 1
            quiet = (seconds(uvx.File(path), group["time"]) // 60) % 3 == 1
            group["flag"][quiet & (group["ant1"] == 2)] = 1
        return uvx.edited(path, self.path("ragged.uvx"), change)

    def real(self):
        for path in self.shared():
            zeltra("import", path, self.path("real.uvx"), "--force")
            with self.subTest(os.path.basename(path)):
                yield self.path("real.uvx"), uvx.File(self.path("real.uvx"))

    def check_averages(self, path, file, interval, amphase=False, source=None, mix=None, plain=False):
        options = [("--source", source), ("--mix", mix), ("--mode", amphase and "amphase"), ("--mean", plain and "plain")]
        names, rows = numbers(zeltra("average", path, "--interval", interval, "--csv",
                                     *itertools.chain(*(option for option in options if option[1]))))
        wanted = [(when, pair, *pairs[pair][:2]) for when, pairs in averages(file, interval, amphase, source, mix, plain)
                  for pair in sorted(pairs, key=lambda p: (p[0] ^ 128, p[1] ^ 128))]
        times, pairs, means, amplitudes = map(np.array, zip(*wanted))
        np.testing.assert_allclose((rows[:, 0] - times) * SECONDS_PER_DAY, 0, atol=1e-4)
        np.testing.assert_array_equal(rows[:, 1:3], pairs)
        values = rows[:, 3:].reshape(means.shape)
        np.testing.assert_array_equal(values[..., 2] > 0, means[..., 2] > 0)
        np.testing.assert_allclose(values[..., 2], means[..., 2], rtol=1e-6)
        # Amplitudes and phases are formed in single precision.
        error = np.abs(values[..., :2] - means[..., :2]).max(axis=-1)
        self.assertLessEqual((error / np.maximum(amplitudes, 1e-30)).max(), 1e-6 if amphase else 3e-7)

    def test_averages_of_a_simulated_file(self):
        path = self.simulated("--minutes", "6", "--antennas", "5")
        file = uvx.File(path)
        for interval in (-1, 10, 30, 3600):
            self.check_averages(path, file, interval)
        self.check_averages(path, file, 60, amphase=True, source=2)

    def test_averages_of_ragged_intervals(self):
        path = self.ragged()
        file = uvx.File(path)
        for interval, amphase, mix in ((-1, False, None), (-1, True, "all"), (-1, False, "rl"), (7, False, "cross"),
                                       (7, True, "rl"), (60, False, "all"), (60, True, None), (60, True, "cross")):
            with self.subTest(interval=interval, amphase=amphase, mix=mix):
                self.check_averages(path, file, interval, amphase, None, mix, mix == "rl" or interval == 7)

    def test_averages_of_real_files(self):
        for path, file in self.real():
            self.check_averages(path, file, 120)
            self.check_averages(path, file, 600, amphase=True)

    def test_threads_make_no_difference(self):
        """Parts of some MB, cut at bounds of intervals, of a file in time order and of one sorted by source."""
        path = self.simulated("--minutes", "20", "--integration", "1", "--channels", "8")

        def sort(records):
            records[:] = records[np.argsort(records["group"]["source"], kind="stable")]
        by_source = self.path("by_source.uvx")
        zeltra("copy", uvx.edited(path, self.path("sorted.uvx"), sort), by_source)
        for source in (path, by_source):
            for options in (("--interval", 10), ("--interval", 200, "--mode", "amphase"), ("--interval", -1, "--mix", "rl")):
                made = set()
                for threads in (1, 3):
                    zeltra("average", source, "-o", self.path("out.uvx"), "--force", "--threads", threads, *options)
                    made.add(contents(self.path("out.uvx")))
                self.assertEqual(len(made), 1, options)
                self.assertTrue((np.diff(uvx.File(self.path("out.uvx")).records["group"]["time"]) >= 0).all())
            self.assertEqual(len({zeltra("closure", source, "--interval", 20, "--csv", "--threads", n) for n in (1, 3)}), 1)

    def test_time_stamps_closer_than_a_second_stay_apart(self):
        path = self.simulated("--minutes", "0.2", "--integration", "0.25", "--antennas", "3")
        _, rows = numbers(zeltra("average", path, "--interval", -1, "--csv"))
        np.testing.assert_array_equal(np.unique(rows[:, 0]), np.unique(uvx.File(path).records["group"]["time"]))

    def test_start_and_stop(self):
        path = self.simulated("--minutes", "3", "--antennas", "3")
        file = uvx.File(path)
        day, group = file.date_obs, file.records["group"]
        when = np.unique(seconds(file, group["time"][group["flag"] == 0]))
        inside = when[(when >= 25255) & (when <= 25325)]
        for start, stop in (("2020-03-20T07:00:55", "2020-03-20 07:02:05Z"),
                            (repr(day + 25255 / SECONDS_PER_DAY), repr(day + 25325 / SECONDS_PER_DAY))):
            _, rows = numbers(zeltra("average", path, "--interval", 20, "--csv", "--start", start, "--stop", stop))
            cells = [np.unique(np.floor((times - 25255) / 20)) for times in (seconds(file, rows[:, 0]), inside)]
            np.testing.assert_array_equal(*cells)

    def test_averages_in_a_file(self):
        path, out = self.ragged(), self.path("out.uvx")
        source = uvx.File(path)
        for options in ((), ("--mix", "all"), ("--source", "3c279", "--mode", "amphase")):
            zeltra("average", path, "--interval", 30, "-o", out, "--force", *options)
            file = uvx.File(out)
            _, rows = numbers(zeltra("average", path, "--interval", 30, "--csv", *options))
            group = file.records["group"]
            np.testing.assert_array_equal(group["time"], rows[:, 0])
            np.testing.assert_array_equal(np.stack([group["ant1"], group["ant2"]], 1), rows[:, 1:3])
            np.testing.assert_array_equal(file.records["vis"].reshape(len(rows), -1), rows[:, 3:].astype("f4"))
            self.assertEqual(file.stokes, (-1, -2, -3, -4, 1, 4, 2, 3) if "all" in options else source.stokes)
            self.assertEqual(file.ranges["time"], group["time"].min())
            self.check_tables(file, source, b"zeltra average ", ("NX", "BL", "IT"))
            self.check_index(file, source)
            _, pairs = averages(source, 30, source=group["source"][0])[0]
            rows = pairs[group["ant1"][0], group["ant2"][0]][2]
            for name in "uvw":
                wanted = np.average(source.records["group"][name][rows].astype("f8"),
                                    weights=record_weights(source.records["vis"][rows]))
                np.testing.assert_allclose(group[name][0], wanted, rtol=1e-6)

    def check_tables(self, file, source, history, made):
        """Tables are those of the source, but for a line of history and for those that are made anew."""
        self.assertEqual([table.code for table in file.tables], [table.code for table in source.tables])
        for one, other in zip(file.tables, source.tables):
            if one.code == "HD":
                self.assertTrue(one.data.startswith(other.data + b"HISTORY " + history))
            elif one.code not in made:
                self.assertEqual((one.data, one.columns, one.keywords), (other.data, other.columns, other.keywords))

    def check_index(self, file, origin):
        """NX has the scans of the file that it was made of, with the times of the records that are there now."""
        index, group = file.table("NX"), file.records["group"]
        middle, length, source, _, start, end, setup = (index.column(i)[:, 0] for i in range(7))
        # The scan of a record is the one of its source and setup that begins last before it.
        given, records = origin.table("NX"), origin.records["group"]
        begin = records["time"][given.column(4)[:, 0] - 1] - 1e-9
        of = (group["source"][:, None] == given.column(2)[:, 0]) & (group["frqsel"][:, None] == given.column(6)[:, 0])
        scan = np.where(of & (group["time"][:, None] >= begin), begin, -1).argmax(axis=1)
        change = np.flatnonzero(np.diff(scan)) + 1
        np.testing.assert_array_equal(start - 1, np.concatenate([[0], change]))
        np.testing.assert_array_equal(end, np.concatenate([change, [file.count]]))
        for row in range(index.rows):
            when = group["time"][start[row] - 1:end[row]] - file.date_obs
            self.assertEqual((source[row], setup[row]), (group["source"][start[row] - 1], group["frqsel"][start[row] - 1]))
            # The columns are 32-bit floats.
            delta = 1e-6 * max(1, abs(when.max()))
            self.assertAlmostEqual(middle[row], (when.min() + when.max()) / 2, delta=delta)
            self.assertAlmostEqual(length[row], when.max() - when.min(), delta=delta)

    def test_scans_go_through_every_job(self):
        wanted = {"mojave.uvfits": 10, "eht_m87_095_hi.uvfits": 18, "sgra_simulated.uvfits": 3, "hera_su_1024ch.uvfits": 1,
                  "j0414_a3dtable.uvfits": 1, "maps/0506+056.u.2009_06_03.uvf": 9, "maps/3C111_Q_2014_05_08.uvf": 9}
        here, there, fits = self.path("here.uvx"), self.path("there.uvx"), self.path("there.uvfits")
        rows = lambda path: uvx.File(path).table("NX").rows
        for name, scans in wanted.items():
            zeltra("import", *self.shared(name), here, "--force")
            self.assertEqual(rows(here), scans, name)
            stokes = uvx.STOKES[uvx.File(here).stokes[-1]]
            jobs = [["copy", here, there], ["copy", here, there, "--if", 1, "--stokes", stokes], ["average", here, "--interval", 120, "-o", there], ["export", here, fits]]
            for job in jobs:
                zeltra(*job, "--force")
                if "export" in job:
                    zeltra("import", fits, there, "--force")
                self.assertEqual(rows(there), scans, (name, job))
            # Another list is kept like the one that would be made.
            zeltra("copy", here, there, "--force", "--scan-gap", 1e6)
            zeltra("export", there, fits, "--force")
            zeltra("import", fits, here, "--force")
            zeltra("copy", here, there, "--force", "--stop", uvx.File(here).records["group"]["time"][-2].item())
            self.assertEqual(rows(there), 1)

    def test_info_tells_the_times_of_the_records_in_their_time_scale(self):
        path = self.simulated("--minutes", "8", "--antennas", 3)
        file, raw = uvx.File(path), bytearray(contents(path))
        at = raw.index(b"TIMSYS\0")
        raw[at + 10:at + 13] = b"IAT"
        index = file.table("NX")
        np.frombuffer(raw, "<f4", 7 * index.rows, raw.index(index.data))[::7] -= 0.001  # as old indices may be
        with open(path, "wb") as out:
            out.write(raw)
        scans = objects("info", path)["scans"]
        when = seconds(file, file.records["group"]["time"])[[[scan["first"] - 1, scan["last"] - 1] for scan in scans]]
        self.assertEqual([scan["start_s"] for scan in scans], list(when[:, 0]))
        np.testing.assert_allclose([scan["duration_s"] for scan in scans], when[:, 1] - when[:, 0], atol=1e-6)
        self.assertIn(" IAT (", zeltra("info", path))

    def check_closures(self, path, file, interval, *options, antennas=(), source=None):
        """Compare with the formulas, all closure phases or those of each value or of the time stamps."""
        each, incoherent, amplitudes = (name in options for name in ("--each", "--incoherent", "--amplitudes"))
        chosen = ["--antenna", ",".join(map(str, antennas))] if antennas else []
        chosen += ["--source", source] if source else []
        rows = objects("closure", path, "--interval", interval, *chosen, *options)
        hands = [i for i, code in enumerate(file.stokes) if code in (-1, -2, -5, -6)] or [file.stokes.index(1)]
        names = {-1: "RR", -2: "LL", -5: "XX", -6: "YY", 1: "I"}
        vis = cleaned(file.records["vis"]).reshape(file.count, -1, 3)
        values = np.arange(vis.shape[1]).reshape(-1, len(file.stokes))[:, hands].ravel()
        points, row = len(values) // len(hands), iter(rows)
        for when, pairs in averages(file, interval, source=source):
            found, stamps = {}, {None: pairs}
            if incoherent:
                stamps = {}
                for pair, (_, _, at) in pairs.items():
                    for i in at:
                        stamps.setdefault(file.records["group"]["time"][i], {}).setdefault(pair, []).append(i)
                stamps = {stamp: {pair: mean_of(vis[at], False) for pair, at in now.items()} for stamp, now in stamps.items()}
            for now in stamps.values():
                legs = {}
                for (a, b), (mean, *_) in now.items():
                    z, weight = complexes(mean[values]), mean[values, 2]
                    if a != b:
                        legs[min(a, b), max(a, b)] = np.where(weight > 0, z if a < b else z.conj(), 0), weight
                for polygon, sums in (quadrangles if amplitudes else triangles)(legs, each).items():
                    found[polygon] = found.get(polygon, 0) + sums
            wanted = []
            for polygon, (sums, weights) in found.items():
                isHere = sum(a in polygon for a in antennas) == (1 if len(antennas) == 1 else len(polygon))
                for value in np.flatnonzero(weights.real > 0) if isHere or not antennas else ():
                    wanted.append((value if each else 0, sorted(polygon), polygon, sums[value], weights[value].real))
            # Of three forms that with 1-2 and 3-4 above comes first.
            for value, _, polygon, total, weight in sorted(wanted, key=lambda w: (w[0], w[1], w[2])):
                got = next(row)
                self.assertAlmostEqual(got["time"], when, delta=1e-9)
                self.assertEqual(tuple(got["ant%d" % (i + 1)] for i in range(len(polygon))), polygon)
                place = (value // len(hands) // file.channels + 1, value // len(hands) % file.channels + 1,
                         names[file.stokes[hands[value % len(hands)]]])
                for key, number, count in zip(("if", "channel", "stokes"), place,
                                              (points // file.channels, file.channels, len(hands))):
                    self.assertEqual(got[key], number if each or count == 1 else None)
                if amplitudes:
                    self.assertAlmostEqual(got["log_amplitude"], total.real / weight, delta=1e-9)
                    sigma = weight ** -0.5
                else:
                    sigma = min(weight ** 0.5 / max(abs(total), 1e-300), np.pi / 3 ** 0.5)
                    self.assertLess(abs(turned(got["phase"] - np.angle(total))), 1e-8 * max(1, sigma))
                self.assertAlmostEqual(got["sigma"], sigma, delta=1e-8 * sigma)
        self.assertIsNone(next(row, None))
        return rows

    def test_closures_of_ragged_intervals(self):
        path = self.ragged()
        file = uvx.File(path)
        for interval in (-1, 7, 60):
            self.assertGreater(len(self.check_closures(path, file, interval)), 10)
        self.check_closures(path, file, 30, "--incoherent", antennas=(4,), source=2)
        self.check_closures(path, file, 60, "--each", antennas=(1, 3, 4, 5))
        self.check_closures(path, file, 200, "--each", "--incoherent", antennas=(1, 2, 3))
        self.check_closures(path, file, 60, "--amplitudes")
        self.check_closures(path, file, 60, "--amplitudes", "--each", antennas=(2,))

    def test_closures_of_real_files(self):
        for path, file in self.real():
            interval = -1 if file.channels == 1024 else 600
            for form, corners in ((), 3), (("--amplitudes",), 4):
                every, some = self.check_closures(path, file, interval, *form), {}
                chosen = objects("closure", path, "--interval", interval, "--set", "independent", *form)
                for rows in every, chosen:
                    for when, now in itertools.groupby(rows, key=lambda row: (row["time"], row["source"])):
                        matrix = incidence([[row["ant%d" % (i + 1)] for i in range(corners)] for row in now])
                        some.setdefault(when, []).append((len(matrix), np.linalg.matrix_rank(matrix)))
                for (_, most), (count, independent) in some.values():
                    self.assertEqual((count, independent), (most, most))

    def test_errors_of_closures(self):
        """The scatter of closures is what their errors say, at any ratio of signal and noise."""
        path = self.simulated("--minutes", "12", "--integration", "1", "--antennas", "4", "--ifs", "4", "--channels", "8")
        chance = np.random.default_rng(3)
        for s in (1, 2, 3, 5, 10):
            def change(records):
                records["vis"][...] = chance.normal(size=records["vis"].shape)
                records["vis"][..., 0] += s
                records["vis"][..., 2] = 1
            noisy = uvx.edited(path, self.path("noisy.uvx"), change)

            def ratio(name, *options):
                rows = objects("closure", noisy, "--interval", -1, *options)
                value, sigma = (np.array([row[key] for row in rows]) for key in (name, "sigma"))
                self.assertGreater(len(rows), 500)
                return (np.mean(value ** 2) / np.mean(sigma ** 2)) ** 0.5

            mean, single = ratio("phase"), ratio("phase", "--each", "--if", 2, "--channel", 3)
            self.assertTrue(0.88 < mean < 1.12, (s, mean))
            # A phase that is hardly known is spread evenly; its error is taken from the amplitude that was measured.
            self.assertTrue(0.93 < single < (1.25 if s < 3 else 1.1), (s, single))
            if s >= 5:
                # At 5 a tenth is left out where a baseline is weak by chance, the ends of the scatter.
                self.assertTrue(0.85 < ratio("log_amplitude", "--amplitudes", "--if", 1) < 1.1, s)

    def check_same_closures(self, path, change, delta, *options):
        """A change of the records leaves closures as they are."""
        one, other = (objects("closure", name, *options) for name in (path, uvx.edited(path, self.path("new.uvx"), change)))
        name = "log_amplitude" if "--amplitudes" in options else "phase"
        self.assertEqual(*([[row[key] for key in ("ant1", "ant2", "ant3")] for row in rows] for rows in (one, other)))
        off = np.array([a[name] - b[name] for a, b in zip(one, other)])
        self.assertLess(np.abs(turned(off)).max(), delta)

    def test_gains_leave_closures_as_they_are(self):
        path = self.simulated("--minutes", "3", "--antennas", "5", "--ifs", "2")
        chance = np.random.default_rng(4)
        phases, moduli = chance.uniform(-np.pi, np.pi, (6, 1, 1)), 1 + 0.3 * chance.random((6, 2, 4))
        phases = phases + np.radians(10) * chance.normal(size=(6, 2, 4))
        for options, gain in (((), np.exp(1j * phases)), (("--each",), moduli * np.exp(1j * phases)),
                              (("--each", "--amplitudes"), moduli * np.exp(1j * phases))):
            def change(records):
                group, vis = records["group"], records["vis"]
                factor = (gain[group["ant1"]] * gain[group["ant2"]].conj())[:, :, None, :]
                value = complexes(vis) * factor
                vis[...] = np.stack([value.real, value.imag, vis[..., 2] / np.abs(factor) ** 2], -1)
            self.check_same_closures(path, change, 1e-5, "--interval", 60, *options)

    def test_closures_of_reversed_baselines(self):
        """Exchanging the antennas of records, with conjugate values and RL for LR, changes no closure phase."""
        path = self.simulated("--minutes", "2", "--antennas", "5")

        def change(records):
            group, half = records["group"], np.random.default_rng(2).random(len(records)) < 0.5
            group["ant1"][half], group["ant2"][half] = group["ant2"][half], group["ant1"][half]
            records["vis"][half] = records["vis"][half][..., [0, 1, 3, 2], :] * np.array([1, -1, 1], "f4")
        for stokes in ("RR,LL", "RL"):
            self.check_same_closures(path, change, 1e-4, "--interval", 30, "--stokes", stokes)

    def test_closures_of_known_sources(self):
        """Antenna phases drop out: a point source closes to zero, two components to the phase of their sum."""
        mas = np.pi / 180 / 3600e3
        second = {1: (3.0, 1.2, -2.1, -1.3), 2: (2.0, 0.6, 1.7, -0.8)}  # as in SimulateUVX.h
        for components in (1, 2):
            path = self.simulated("--noise", "0", "--phase-errors", "--components", components, "--minutes", "10")
            file = uvx.File(path)
            group = file.records["group"]
            uv = {(t, a, b): (u, v, s) for t, a, b, u, v, s in
                  zip(seconds(file, group["time"]), group["ant1"], group["ant2"], group["u"].astype("f8"),
                      group["v"].astype("f8"), group["source"])}
            rows = objects("closure", path, "--interval", -1, "--if", 2, "--channel", 3, "--stokes", "RR")
            self.assertGreater(len(rows), 1000)
            frequency = 8.4e9 + 16e6 + 2 * 4e6
            for row, when in zip(rows, seconds(file, np.array([row["time"] for row in rows]))):
                a, b, c = row["ant1"], row["ant2"], row["ant3"]
                legs = []
                for pair in (a, b), (b, c), (a, c):
                    u, v, s = uv[(when, *pair)]
                    first, flux, east, north = second[s]
                    legs.append(first + (components - 1) * flux * np.exp(2j * np.pi * frequency * (u * east + v * north) * mas))
                # Values and u, v are 32-bit floats.
                self.assertLess(abs(turned(row["phase"] - np.angle(legs[0] * legs[1] * legs[2].conj()))), 2e-6)

    def test_statistics_of_baselines(self):
        path = self.ragged()
        file = uvx.File(path)
        group, vis = file.records["group"], file.records["vis"]
        found = objects("info", path, "--baselines")["baselines"]
        self.assertEqual(len(found), 2 * 15)
        for item in found:
            rows = (group["source"] == item["source"]) & (group["ant1"] == item["ant1"]) & (group["ant2"] == item["ant2"])
            for s, one in enumerate(item["polarisations"]):
                values = vis[rows & (group["flag"] == 0)][..., s, :].reshape(-1, 3).astype("f8")
                values = values[np.isfinite(values).all(axis=1) & (values[:, 2] > 0)]
                amplitude = np.hypot(values[:, 0], values[:, 1])
                self.assertEqual((one["stokes"], one["values"]), (("RR", "LL", "RL", "LR")[s], len(amplitude)))
                self.assertAlmostEqual(one["mean"], amplitude.mean(), delta=1e-9)
                self.assertAlmostEqual(one["scatter"], amplitude.std(ddof=1), delta=1e-9)

    def test_coordinates(self):
        """u, v, w of date by astropy, and those of the files, which differ by the turn of the frame since J2000."""
        for name, hand, limit in (("mojave", 1, 1e-4), ("j0414_a3dtable", -1, 4e-4)):
            zeltra("import", *self.shared(name + ".uvfits"), self.path("real.uvx"), "--force")
            report = zeltra("uvw", self.path("real.uvx"), self.path("new.uvx"), "--force")
            old, new = uvx.File(self.path("real.uvx")), uvx.File(self.path("new.uvx"))
            given, made = (np.stack([f.records["group"][c].astype("f8") for c in "uvw"], 1) for f in (old, new))
            table, source, group = old.table("AN"), old.table("SU"), old.records["group"]
            where = {int(n): xyz * [1, hand, 1] for n, xyz in zip(table.column("NOSTA")[:, 0], table.column("STABXYZ"))}
            x, y, z = np.array([where[a] - where[b] for a, b in zip(group["ant1"], group["ant2"])]).T
            date = Time(group["time"], format="jd", scale="ut1")
            place = SkyCoord(source.column("RAAPP")[0, 0], source.column("DECAPP")[0, 0], unit="deg", frame=FK5(equinox="J2000"))
            place = place.transform_to(FK5(equinox=date[len(date) // 2]))
            hour, declination = date.sidereal_time("mean", "greenwich").rad - place.ra.rad, place.dec.rad
            meridian = np.cos(hour) * x - np.sin(hour) * y
            wanted = np.stack([np.sin(hour) * x + np.cos(hour) * y, np.cos(declination) * z - np.sin(declination) * meridian,
                               np.sin(declination) * z + np.cos(declination) * meridian], 1) / LIGHT
            length = np.abs(wanted).max()
            self.assertLess(np.abs(made - wanted).max(), 2e-7 * length)  # 32-bit floats; precession
            self.assertLess(np.sqrt(np.mean((made - given) ** 2)), limit * length)
            rms = [float(line.split()[2]) for line in report.splitlines()[1:]]
            np.testing.assert_allclose(rms, np.sqrt(np.mean((made - given) ** 2, axis=0)), rtol=1e-3)

    def test_coordinates_that_nothing_explains(self):
        for name, frame in (("hera_su_1024ch", "local right-handed"), ("eht_m87_095_hi", "at their equinox"), ("sgra_simulated", "")):
            done = run("uvw", *self.shared(name + ".uvfits"), self.path("new.uvx"), "--force")
            self.assertEqual(done.returncode, 0 if frame else 1)
            self.assertIn(frame or "do not follow from its antennas, sources and times", done.stderr)

    def test_copies_of_real_files(self):
        for path, file in self.real():
            zeltra("copy", path, self.path("copy.uvx"), "--force")
            copy = uvx.File(self.path("copy.uvx"))
            self.assertEqual(file.records.tobytes(), copy.records.tobytes())
            self.check_tables(copy, file, b"zeltra copy".ljust(72), ("NX", "BL", "AN"))
            self.check_index(copy, file)
            used = np.unique([file.records["group"]["ant1"], file.records["group"]["ant2"]])
            table = file.table("AN")
            rows = np.frombuffer(table.data, "u1").reshape(table.rows, -1)[np.isin(table.column("NOSTA")[:, 0], used)]
            self.assertEqual(rows.tobytes(), copy.table("AN").data)

    @unittest.skipIf(os.environ.get("ZELTRA_SANITIZED"), "sanitizers take memory of their own")
    def test_memory(self):
        """Little, also where the sums of an interval do not fit and where there are many records."""
        self.idle = memory("--version")[1]
        channels, pairs = 96 << 10, list(itertools.combinations(range(1, 7), 2))
        whens = lambda *antennas: (1, 2) if max(antennas) < 4 else (1,)
        records = sorted((when, *pair) for pair in pairs for when in whens(*pair))
        groups = np.zeros(len(records), [("par", ">f4", (5,)), ("data", ">f4", (channels, 4, 3))])
        for group, (when, a, b) in zip(groups, records):
            group["par"], group["data"] = (0, 0, 0, 256 * a + b, when / SECONDS_PER_DAY), (10 * a + b, when, 1)
        axes = [("COMPLEX", 3, 1.0, 1.0), ("STOKES", 4, -1.0, -1.0), ("FREQ", channels, 1.4e9, 1.0)]
        parameters = [(name, 1.0, synthetic.JD0 if name == "DATE" else 0.0) for name in ("UU", "VV", "WW", "BASELINE", "DATE")]
        fits, wide, out = self.path("wide.uvfits"), self.path("wide.uvx"), self.path("out.uvx")
        synthetic.store(fits, synthetic.header(axes, parameters, len(groups)), groups)
        zeltra("import", fits, wide)
        os.remove(fits)
        for mode in ("complex", "amphase"):
            self.frugal(164, "average", wide, "--interval", 60, "-o", out, "--force", "--mode", mode)
            made = uvx.File(out).records
            np.testing.assert_array_equal(np.stack([made["group"]["ant1"], made["group"]["ant2"]], 1), pairs)
            wanted = [mean_of(np.array([[[10 * a + b, when, 1]] for when in whens(a, b)]), mode == "amphase")[0][0] for a, b in pairs]
            np.testing.assert_allclose(made["vis"][:, 0, -1, 0], wanted, rtol=1e-5)
        leg = lambda a, b, when: 10 * a + b + 1j * (when or np.mean(whens(a, b)))
        for options in (), ("--incoherent",):
            for row in json.loads(self.frugal(164, "closure", wide, "--interval", 60, "--json", *options)):
                a, b, c = row["ant1"], row["ant2"], row["ant3"]
                stamps = whens(a, b, c) if options else (None,)
                # All values of a time stamp are the same, and the weights of the time stamps nearly so.
                wanted = np.angle(sum(leg(a, b, t) * leg(b, c, t) * leg(a, c, t).conjugate() for t in stamps))
                self.assertAlmostEqual(row["phase"], wanted, delta=1e-3 if options else 1e-12)
        path = self.simulated("--minutes", "50", "--integration", "1", "--channels", "1")
        self.assertGreater(os.path.getsize(path), 14e6)
        for command in (("average", path, "--interval", 10, "--csv"), ("closure", path, "--interval", -1, "--csv"),
                        ("average", path, "--interval", 1e6, "--mix", "all", "-o", out, "--force"),
                        ("copy", path, self.path("copy.uvx"), "--if", 1), ("info", path, "--baselines")):
            self.frugal(10, *command)

    def frugal(self, most, *command):
        """What a command prints that takes at most `most` MiB more than one that does nothing."""
        text, taken = memory(*command)
        self.assertLess(taken - self.idle, most * 1024, command)
        return text

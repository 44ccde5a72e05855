"""Do every operation on files again with numpy, and compare records, frequencies and tables.

A row of OPERATIONS is a command with its options and what it should do to a file in numpy: a function that takes a
`Model` of the input and changes it.
"""
# SPDX-License-Identifier: MIT
import glob
import os
import shutil
import subprocess
import unittest

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
def flag_values(model, meant):
    weights = model.vis[..., 2]
    weights[meant & (weights > 0)] *= -1


def flag_selection(model):
    """The first polarisation of all baselines of antenna 2 in the last IF."""
    meant = np.zeros(model.vis.shape[:-1], bool)
    meant[:, -1, :, 0] = ((model.group["ant1"] == 2) | (model.group["ant2"] == 2))[:, None]
    flag_values(model, meant)


def amplitude(model, rank):
    re, im = model.vis[..., 0].astype("f8"), model.vis[..., 1].astype("f8")
    return np.sqrt(np.sort((re * re + im * im).ravel())[int(rank * re.size)])


def flag_amplitudes(model):
    """What is above MAX or below MIN in the first 30 % and the last 30 % of the channels is not told apart from these."""
    squares = (model.vis[..., :2].astype("f8") ** 2).sum(-1)
    edge, channels = int(0.3 * model.vis.shape[2] + 0.5), np.arange(model.vis.shape[2])
    trimmed = (channels < edge) | (channels >= len(channels) - edge)
    flag_values(model, ~(squares <= amplitude(model, 0.9) ** 2) | ~(squares >= amplitude(model, 0.2) ** 2)
                | trimmed[:, None])


def shift(model, mas=(3.0, -2.0)):
    l, m = np.array(mas) * (np.pi / (180 * 3600e3))
    n, less = np.sqrt(1 - l * l - m * m), -(l * l + m * m) / (1 + np.sqrt(1 - l * l - m * m))
    u, v, w = (model.group[name].astype("f8") for name in "uvw")
    delay = u * l + v * m + w * less
    channels = np.arange(model.vis.shape[2])
    for number, setup in model.frequencies.items():
        rows = np.nonzero(model.group["frqsel"] == number)[0]
        for i, (start, width) in enumerate(setup):
            turns = delay[rows, None] * (start + width * channels)
            values = (model.vis[rows, i, ..., 0] + 1j * model.vis[rows, i, ..., 1]) * np.exp(-2j * np.pi * turns)[..., None]
            model.vis[rows, i, ..., 0], model.vis[rows, i, ..., 1] = values.real, values.imag
    # East and north of the new direction in the frame of the old one.
    names = [name for name, *_ in model.tables["SU"].columns]
    dec = np.radians(model.tables["SU"].column(names.index("DECAPP"))[0, 0])
    centre = np.array([l, m, n])
    east = np.cross([0, np.cos(dec), np.sin(dec)], centre)
    east /= np.sqrt(east @ east)
    for name, axis in zip("uvw", (east, np.cross(centre, east), centre)):
        model.group[name] = axis[0] * u + axis[1] * v + axis[2] * w


# Command, options (values may be functions of the input's model), what it does in numpy, relative tolerance of values
# (0: to the bit).
OPERATIONS = [
    ("copy", ["--if", upper_ifs], keep_second_half, 0),
    *(("sort", ["--order", order], sort(order), 0) for order in ("BT", "XY", "UV", "WR", "PZ", "M*")),
    ("sort", ["--memory", "25"], sort("TB"), 0),
    ("delete-if", ["--keep", upper_ifs], keep_second_half, 0),
    ("average-frequency", ["--channels", "all", contiguous], average_all, 1e-6),
    ("average-frequency", ["--channels", lambda model: str(min(3, model.vis.shape[2])), "--trim", "12.5%",
                           "--remainder", "drop", "--require", "all"], average(3, 0.125, True), 1e-6),
    ("squeeze", ["--ifs"], squeeze_ifs, 1e-6),
    ("squeeze", ["--channels"], average(0), 1e-6),
    ("unfold", ["--ifs"], unfold_ifs, 0),
    ("flag", ["--antenna", "2", "--stokes", lambda model: uvx.STOKES[model.stokes[0]], "--if",
              lambda model: model.vis.shape[1]], flag_selection, 0),
    ("flag", ["--clip", lambda model: repr(amplitude(model, 0.9)), "--below", lambda model: repr(amplitude(model, 0.2)),
              "--trim", "30%"], flag_amplitudes, 0),
    ("shift", ["--ra", "3", "--dec", "-2"], shift, 3e-7),
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
        for number, path in enumerate(paths):
            name = os.path.basename(path)
            zeltra("import", path, self.path(name))
            for place, (command, options, change, tolerance) in enumerate(OPERATIONS):
                if "--order" in options and (number + place) % 3:  # every order with a third of the files
                    continue
                with self.subTest(name, command=command, options=options):
                    expected = Model(self.path(name))
                    words = [option(expected) if callable(option) else option for option in options]
                    change(expected)
                    out = self.path(command + ".uvx")
                    zeltra(command, self.path(name), out, "-f", *words)
                    self.check(Model(out), expected, tolerance)
                    if (number + place) % 4 == 0:  # every operation with a file or two
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
            self.assertAlmostEqual(float(part.tables["AN"].keywords["FREQ"][0]), part.freq0, delta=0.5)
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

    def test_join_keeps_apart_what_only_numbers_tell_apart(self):
        path, out = self.observation(), self.path("out.uvx")
        uvx.renumber(path, path, {}, {}, unnamed=True)
        zeltra("join", path, path, out)
        group, given = uvx.File(out).records["group"], uvx.File(path).records["group"]
        np.testing.assert_array_equal(group, np.concatenate([given, given]))

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
            for memory in ("256", "25"):
                model = Model(self.path("in.uvx"))
                sort("UV")(model)
                zeltra("sort", self.path("in.uvx"), self.path("out.uvx"), "--order", "UV", "--memory", memory, "-f")
                expected = self.integrations(self.path("in.uvx"))[model.place]
                np.testing.assert_array_equal(self.integrations(self.path("out.uvx")), expected)
    def test_flags_of_a_table_and_of_a_text_are_those_of_a_loop(self):
        """An FG table of random entries, and a text that says the same."""
        from astropy.io import fits
        random = np.random.default_rng(1)
        given, imported, out, text = map(self.path, ("in.uvfits", "in.uvx", "out.uvx", "flags"))
        source = os.path.join(SHARED, "maps", "0506+056.u.2009_06_03.uvf")
        if not os.path.exists(source):
            self.skipTest("no real files")
        with fits.open(source) as file:
            file.verify("silentfix")
            count = 300
            begin = random.uniform(0, 1.2, count).astype("f4")
            times = np.stack([begin, begin + random.uniform(0, 0.02, count).astype("f4")], 1)
            times[:3] = 0
            pairs = random.integers(0, 11, (count, 2))
            pairs[random.random(count) < 0.3, 1] = 0
            ranges = np.sort(random.integers(0, 9, (count, 2)), 1)
            flags = random.random((count, 4)) < 0.4
            setups, ones = random.integers(-1, 2, count), np.ones((count, 2))
            columns = [("SOURCE", "1J", setups * 0), ("SUBARRAY", "1J", setups * 0), ("FREQ ID", "1J", setups),
                       ("ANTS", "2J", pairs), ("TIME RANGE", "2E", times), ("IFS", "2J", ranges), ("CHANS", "2J", ones),
                       ("PFLAGS", "4X", flags), ("REASON", "24A", ["why"] * count)]
            table = fits.BinTableHDU.from_columns([fits.Column(name, form, array=array) for name, form, array in columns])
            table.header["EXTNAME"] = "AIPS FG"
            fits.HDUList([*file, table]).writeto(given)
        zeltra("import", given, imported)
        expected = Model(imported)
        days, lines = expected.group["time"] - expected.date_obs, ["opcode='FLAG' dtimrang=1 timeoff=0 ! all\n"]
        first = 154  # 2009-06-03
        for row in range(count):
            a, b = pairs[row]
            ants = [expected.group["ant1"], expected.group["ant2"]]
            meant = np.ones(len(days), bool)
            for antenna in (a, b):
                meant &= (ants[0] == antenna) | (ants[1] == antenna) if antenna else True
            meant &= (ants[0] == ants[1]) == (a == b) if a and b else True
            if times[row].any():
                meant &= (days >= times[row, 0] - 1e-6) & (days <= times[row, 1] + 1e-6)
            ifs = np.arange(1, 9)
            inside = (ifs >= ranges[row, 0]) & ((ifs <= ranges[row, 1]) | (ranges[row, 1] == 0))
            flag_values(expected, meant[:, None, None, None] & inside[:, None, None] & flags[row])
            words = [] if not times[row].any() else ["timerang=" + ", ".join(
                "%d,%d,%d,%.6f" % (first + int(s // 86400), s % 86400 // 3600, s % 3600 // 60, s % 60)
                for s in times[row].astype("f8") * 86400)]
            words += ["antennas=%d" % max(a, b)] + ["baseline=%d" % min(a, b)] * int(a > 0 and b > 0)
            words += ["bif=%d eif=%d" % tuple(ranges[row])]
            words += ["stokes=" + ",".join("'%s'" % uvx.STOKES[code] for code, on in zip(expected.stokes, flags[row]) if on)]
            lines += [" ".join(words) + " reason='why' /\n"] if flags[row].any() else []
        with open(text, "w") as file:
            file.writelines(lines)
        for option in (["--table", "FG"], ["--file", text]):
            zeltra("flag", imported, out, "-f", *option)
            self.check(Model(out), expected, 0)
            zeltra("flag", out, self.path("back.uvx"), "-f", "--unflag", *option)
            zeltra("flag", self.path("back.uvx"), self.path("again.uvx"), "-f", *option)
            self.check(Model(self.path("again.uvx")), expected, 0)

    def test_flag_and_unflag_give_the_records_back(self):
        zeltra("simulate", self.path("in.uvx"), "--minutes", "5")
        zeltra("copy", self.path("in.uvx"), self.path("valid.uvx"), "--drop-flagged", "--antenna", "1,3,4")
        before = Model(self.path("valid.uvx"))
        before.vis[..., 2] = np.abs(before.vis[..., 2])
        for words in (["--records", "--source", "2"], ["--clip", "2", "--channel", "2-3"]):
            zeltra("flag", self.path("valid.uvx"), self.path("flagged.uvx"), "-f", *words)
            zeltra("flag", self.path("flagged.uvx"), self.path("back.uvx"), "-f", "--unflag", *words)
            made, flagged = Model(self.path("back.uvx")), Model(self.path("flagged.uvx"))
            self.assertEqual(flagged.group["flag"].any(), "--records" in words)
            self.assertTrue((flagged.vis[..., 2] < 0).any())
            np.testing.assert_array_equal(made.group, before.group)
            weights = made.vis[..., 2]
            np.testing.assert_array_equal(np.abs(weights), before.vis[..., 2])

    def test_words_that_no_text_of_flags_has_are_named_with_their_line(self):
        zeltra("simulate", self.path("in.uvx"), "--minutes", "1")
        for text, sentence in (("\nfoo=1 /", "line 2: 'foo'"), ("opcode='SCAN' /", "opcode SCAN"),
                               ("! x\n\nbif=1 dtimrang=2 /", "line 3: dtimrang"), ("bif=1", "does not end with /"),
                               ("timerang=1,2 /", "timerang is day"), ("reason='x' /", "nothing of what"),
                               ("ant_name='PT /", "quote"), ("timerang=80,7,0,0,80,6,0,0 /", "before it begins")):
            with open(self.path("flags"), "w") as file:
                file.write(text)
            with self.assertRaisesRegex(AssertionError, sentence):
                zeltra("flag", self.path("in.uvx"), self.path("out.uvx"), "--file", self.path("flags"))
            self.assertFalse(os.path.exists(self.path("out.uvx")))

    def test_parts_of_any_number_of_workers_join_to_the_bytes_of_one_run(self):
        given, out, whole = map(self.path, ("in.uvx", "out.uvx", "whole.uvx"))
        zeltra("simulate", given, "--minutes", "4", "--integration", "1", "--ifs", "8", "--channels", "16")
        job = ["average", given, "--interval", "7", "-f"]
        lines = zeltra("plan", given, "--interval", "7", "--csv").splitlines()[1:]
        plan = np.array([line.rsplit(",", 4)[1:4] for line in lines], int)
        self.assertGreater(len(plan), 3)
        self.assertEqual(plan[:, 2].sum(), uvx.File(given).count)
        np.testing.assert_array_equal(plan[1:, 0], plan[:-1, 1] + 1)
        zeltra(*job, "-o", whole)
        closure = ["closure", given, "--interval", "30", "--csv", "--antenna", "1,2,3,4"]
        lines = zeltra(*closure).splitlines()[1:]
        for workers in (1, 2, len(plan) + 1):
            for name in glob.glob(out + ".*"):
                os.remove(name)
            shares = ["%d/%d" % (i + 1, workers) for i in range(workers)]
            for share in shares:
                zeltra(*job, "-o", out, "--part", share)
            zeltra("join", "--parts", out, "-f")
            with open(out, "rb") as made, open(whole, "rb") as expected:
                self.assertEqual(made.read(), expected.read())
            found = [line.split(",", 1) for share in shares for line in zeltra(*closure, "--part", share).splitlines()[1:]]
            self.assertEqual([line for _, line in sorted(found, key=lambda row: int(row[0]))], lines)
        missing = out + ".2-of-%d" % workers
        os.remove(missing)
        with self.assertRaisesRegex(AssertionError, missing + ": is missing"):
            zeltra("join", "--parts", out, "-f")
        for change, sentence in ((["--interval", "8"], "other options"), (["--interval", "7"], "of another input")):
            other = given
            if "7" in change:
                other = self.path("other.uvx")
                zeltra("flag", given, other, "--antenna", "1")
            for i in range(2, workers + 1):
                zeltra("average", other, "-o", out, "--part", "%d/%d" % (i, workers), "-f", *change)
            with self.assertRaisesRegex(AssertionError, sentence):
                zeltra("join", "--parts", out, "-f")

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

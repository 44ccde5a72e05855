"""Compare import and export with astropy's reading of the same files, value by value."""
# SPDX-License-Identifier: MIT
import os
import shutil
import subprocess
import tempfile
import unittest
import warnings

from command import Case, contents, put, zeltra
import numpy as np
from astropy.io import fits
from astropy.io.fits.verify import VerifyWarning

import synthetic
import uvx

warnings.simplefilter("ignore", VerifyWarning)
AIPS_NAMES = {"FREQUENCY": "FQ", "ARRAY_GEOMETRY": "AN", "SOURCE": "SU", "SYSTEM_TEMPERATURE": "TY", "GAIN_CURVE": "GC"}


def loaded(path):
    """Header, parameters [group][parameter] as doubles, and data."""
    header, _, groups = synthetic.load(path)
    return header, groups["par"].astype(float), groups["data"]


def parameter(header, raw, names):
    """Sum in double precision of the parameters of these names, or None."""
    total = None
    for i in range(header["PCOUNT"]):
        if header["PTYPE%d" % (i + 1)].split("-")[0].strip() in names:
            value = raw[:, i] * header.get("PSCAL%d" % (i + 1), 1.0) + header.get("PZERO%d" % (i + 1), 0.0)
            total = value if total is None else total + value
    return total


def texts(column):
    """Texts as bytes up to their first zero byte, whatever astropy makes of them."""
    column = np.asarray(column)
    return np.array([(w if isinstance(w, bytes) else w.encode("latin-1")).split(b"\0")[0].rstrip() for w in column])


def time_order(header, raw):
    """Places of groups by time and baseline, where time goes back."""
    time, order = parameter(header, raw, ("DATE", "_DATE")), np.arange(len(raw))
    return np.lexsort((order, parameter(header, raw, ("BASELINE",)), time)) if np.any(np.diff(time) < 0) else order


def same_bits(a, b):
    return np.array_equal(np.ascontiguousarray(a, "<f4").view("u4"), np.ascontiguousarray(b, "<f4").view("u4"))


class Interop(Case):
    def kept_cards(self, path):
        """Cards of the primary header that tell neither the layout of the file nor a field of a UVX file."""
        made = ("SIMPLE", "BITPIX", "EXTEND", "BLOCKED", "GROUPS", "PCOUNT", "GCOUNT", "BSCALE", "BZERO", "BLANK", "BUNIT",
                "EPOCH", "EQUINOX", "DATE-OBS", "DATE-MAP", "DATE")
        series = ("NAXIS", "PTYPE", "PSCAL", "PZERO", "CTYPE", "CRVAL", "CDELT", "CRPIX", "CROTA", "CUNIT")
        raw = contents(path)[:1 << 22]
        cards = [raw[i:i + 80] for i in range(0, len(raw), 80)]
        cards = [(card, card[:8].decode("latin-1").strip()) for card in cards[:cards.index(b"END".ljust(80))]]
        return [card for card, key in cards if card.strip() and key not in made and key.rstrip("0123456789") not in series]

    def check_integrations(self, header, raw, file):
        given = parameter(header, raw, ("INTTIM",))
        tables = [table for table in file.tables if table.code == "IT"]
        self.assertEqual(len(tables), given is not None)
        for table in tables:
            self.assertEqual(table.keywords["RECORDS"], (str(file.count), 1))
            first = table.column(0)[:, 0]
            self.assertEqual(first[0], 1)
            runs = np.diff(np.append(first, file.count + 1))
            np.testing.assert_array_equal(np.repeat(table.column(1)[:, 0], runs), given[time_order(header, raw)].astype("f4"))

    def check_groups(self, path, file):
        header, raw, data = loaded(path)
        self.check_integrations(header, raw, file)
        time = parameter(header, raw, ("DATE", "_DATE"))
        baseline = np.floor(parameter(header, raw, ("BASELINE",)) + 0.5).astype(int)
        order, group = time_order(header, raw), file.records["group"]
        np.testing.assert_array_equal(group["time"], time[order])
        np.testing.assert_array_equal(group["ant1"], (baseline >> 8)[order])
        np.testing.assert_array_equal(group["ant2"], (baseline & 255)[order])
        wavelengths = any("-L" in header["PTYPE%d" % (i + 1)] for i in range(3))
        scale = 1 / header["CRVAL4"] if wavelengths else 1.0
        for name, wanted in (("u", "UU"), ("v", "VV"), ("w", "WW")):
            value = parameter(header, raw, (wanted,)) * scale
            np.testing.assert_allclose(group[name], value[order].astype("f4"), rtol=1.3e-7 if wavelengths else 0)
        for name, wanted in (("source", "SOURCE"), ("frqsel", "FREQSEL")):
            value = parameter(header, raw, (wanted,))
            np.testing.assert_array_equal(group[name], 1 if value is None else value[order])
        data = data.reshape(file.records["vis"].shape)[order]
        if header["BITPIX"] > 0:
            data = (data * header.get("BSCALE", 1.0) + header.get("BZERO", 0.0)).astype("f4")
        self.assertTrue(same_bits(file.records["vis"], data), "visibilities differ")
        if np.isfinite(data).all():
            self.assertEqual(file.ranges["re"], data[..., 0].min())
            self.assertEqual(file.maxima["weight"], data[..., 2].max())

    def check_tables(self, path, file):
        with fits.open(path) as hdus:
            for hdu in hdus[1:]:
                raw_form = hdu.header["XTENSION"]
                self.assertIn(raw_form.strip(), ("BINTABLE", "A3DTABLE"))
                name = hdu.header["EXTNAME"]
                code = AIPS_NAMES.get(name, name.split()[-1][:2])
                table = next(t for t in file.tables if t.code == code)
                self.check_table(hdu, table)
                self.check_keywords(hdu.header, table)

    def check_table(self, hdu, table):
        header = hdu.header
        kept = []
        for i in range(1, header["TFIELDS"] + 1):
            form = header["TFORM%d" % i].strip()
            if not any(letter in form for letter in "BKCMPQ"):
                kept.append((i, form))
        self.assertEqual(table.rows, header["NAXIS2"])
        self.assertEqual(len(table.columns), len(kept))
        for index, (i, form) in enumerate(kept):
            if not form[0].isdigit():
                form = "1" + form
            letter, count = form[-1], int(form[:-1])
            self.assertEqual(table.columns[index][2:], (letter, count))
            if not count or not table.rows:
                continue
            given, wanted = table.column(index), hdu.data.field(i - 1)
            if letter == "A":
                wanted = texts(wanted)
            elif letter == "X":
                given = np.unpackbits(given, axis=1)[:, :count].astype(bool)
            elif letter == "L":
                given = given == ord("T")
            np.testing.assert_array_equal(given.reshape(np.shape(wanted)), wanted, header["TTYPE%d" % i])

    def check_keywords(self, header, table):
        structural = ("XTENSION", "BITPIX", "NAXIS", "PCOUNT", "GCOUNT", "TFIELDS", "EXT", "TTYPE", "TFORM", "TUNIT",
                      "TDISP", "HISTORY", "COMMENT")
        for card in header.cards:
            if card.keyword.startswith(structural) or not card.keyword:
                continue
            key = card.keyword.rstrip("0123456789")
            key += str(int(card.keyword[len(key):])) if len(key) < len(card.keyword) else ""
            key = "NO_IF" if "NO_BAND" in key else key
            value, numeric = table.keywords[key[:9]]
            if isinstance(card.value, str):
                self.assertEqual((value, numeric), (card.value.replace("/", "-").strip()[:31], 0))
            elif isinstance(card.value, bool):
                self.assertEqual((value, numeric), ("T" if card.value else "F", 1))
            else:
                self.assertEqual((float(value.replace("D", "E")), numeric), (card.value, 1))

    def check_whole(self, file):
        codes = [t.code for t in file.tables]
        for code in ("NX", "FQ", "AN", "SU", "BL"):
            self.assertEqual(codes.count(code), 1, code)
        index = file.table("NX")
        start, end, source, time = (index.column(c)[:, 0] for c in ("START VIS", "END VIS", "SOURCE ID", "TIME"))
        np.testing.assert_array_equal(start, np.append(1, end[:-1] + 1))
        self.assertEqual(end[-1], file.count)
        group = file.records["group"]
        for row in range(index.rows):
            scan = group[start[row] - 1:end[row]]
            self.assertEqual(set(scan["source"]), {source[row]})
            middle = (scan["time"].min() + scan["time"].max()) / 2 - file.date_obs
            self.assertAlmostEqual(time[row], middle, delta=90 / 86400)

    def check_export(self, file, path):
        """Every value of an exported file as astropy reads it, and fitsverify's opinion."""
        self.check_groups(path, file)
        header = fits.getheader(path)
        axes = [header.get("CTYPE%d" % i) for i in range(2, header["NAXIS"] + 1)]
        self.assertEqual(axes, ["COMPLEX", "STOKES", "FREQ", "IF", "RA", "DEC"])
        stokes = header["CRVAL3"] + (np.arange(1, header["NAXIS3"] + 1) - header["CRPIX3"]) * header["CDELT3"]
        np.testing.assert_array_equal(stokes, file.stokes)
        self.assertEqual(header["CRVAL4"] + (1 - header["CRPIX4"]) * header["CDELT4"], file.freq0)
        tables = [table for table in file.tables if table.code not in ("HD", "IT")]
        with fits.open(path) as hdus:
            self.assertEqual(len(hdus) - 1, len(tables))
            for hdu, table in zip(hdus[1:], tables):
                family = "ZELTRA " if table.id & 0x10000 else "AIPS "
                self.assertEqual(hdu.header["EXTNAME"], family + table.code)
                self.check_table(hdu, table)
                for i, (name, unit, *_) in enumerate(table.columns, 1):
                    given = [hdu.header.get(key + str(i), "").strip() for key in ("TTYPE", "TUNIT")]
                    self.assertEqual(given, [name, unit])
        if shutil.which("fitsverify"):
            report = subprocess.run(["fitsverify", "-e", path], capture_output=True, text=True)
            self.assertIn("0 errors", report.stdout.replace("0 error(s)", "0 errors"), report.stdout)

    def check_file(self, path):
        folder = tempfile.mkdtemp(dir=self.folder)
        first, back, second = (os.path.join(folder, name) for name in ("first.uvx", "back.uvfits", "second.uvx"))
        zeltra("import", path, first)
        file = uvx.File(first)
        self.check_groups(path, file)
        self.check_tables(path, file)
        self.check_whole(file)
        zeltra("export", first, back)
        self.check_export(file, back)
        commands = [b"HISTORY zeltra import".ljust(80), b"HISTORY zeltra export".ljust(80)]
        cards = file.table("HD").column(0)
        self.assertEqual([card.ljust(80) for card in cards], self.kept_cards(path) + commands[:1])
        # What is no card of FITS comes back as a comment, and the object after the others.
        back_cards = self.kept_cards(back)
        sound = [card for card in self.kept_cards(path) if card[:8] in (b"HISTORY ", b"TELESCOP", b"INSTRUME", b"RESTFREQ")]
        self.assertEqual([card for card in back_cards[:-2] if card in sound], sound)
        self.assertEqual(back_cards[-2:], commands)
        zeltra("import", back, second)
        again = uvx.File(second)
        self.assertEqual(file.records.tobytes(), again.records.tobytes())
        self.assertEqual([t.code for t in file.tables], [t.code for t in again.tables])
        for one, other in zip(file.tables, again.tables):
            if one.code == "HD":
                continue
            self.assertEqual(one.data, other.data, one.code)
            self.assertEqual(one.columns, other.columns)
            for key, value in one.keywords.items():
                if key and not key.startswith("EXT"):
                    self.assertEqual(other.keywords.get(key), value, (one.code, key))
        for name in ("epoch", "date_obs", "freq0", "stokes", "bunit", "observer", "telescope"):
            self.assertEqual(getattr(file, name), getattr(again, name), name)
        return file

    def test_synthetic_files(self):
        for name, options in synthetic.VARIANTS.items():
            with self.subTest(name):
                path = self.path("in.uvfits")
                synthetic.write(path, **options)
                self.check_file(path)

    def test_provenance(self):
        cards = [("OBJECT", "A SOURCE WITH A NAME OF 33 LETTERS"), ("TELESCOP", "VLBA"), ("INSTRUME", "VLBA correlator"),
                 ("OBSERVER", "SOMEBODY OF MORE LETTERS"), ("RESTFREQ", 1.420405752e9), ("SPECSYS", "TOPOCENT"),
                 ("LAT", 34.5)]
        cards += [("HISTORY", "line %d" % i) for i in range(5000)]
        source, path, averaged, back = (self.path(name) for name in ("in.uvfits", "in.uvx", "mean.uvx", "mean.uvfits"))
        synthetic.write(source, extra=["INTTIM"], tables=[synthetic.antenna_table()], more_cards=cards)
        zeltra("import", source, path, "--threads", "1")
        # Five stamps of 30 s, 1080 s apart.
        zeltra("average", path, "--interval", "2400", "--mode", "amphase", "-o", averaged, "--threads", "2")
        zeltra("export", averaged, back)
        header, raw, _ = loaded(back)
        for key, value in cards[:7]:
            self.assertEqual(header[key], value, key)
        self.assertEqual(list(header["HISTORY"]), [value for key, value in cards if key == "HISTORY"] + [
            "zeltra import", "zeltra average --interval 2400 --mode amphase", "zeltra export"])
        times = parameter(header, raw, ("DATE",))
        stamps = [np.sum(np.floor((np.arange(5) * 0.0125 + 0.25) * 36) == cell)
                  for cell in np.unique(np.floor((times - synthetic.JD0) * 36))]
        np.testing.assert_array_equal(parameter(header, raw, ("INTTIM",)), np.repeat(30.0 * np.array(stamps), 6))
        zeltra("copy", path, self.path("part.uvx"), "--if", "2", "--channel", "1,2-3", "--no-sync")
        self.assertEqual(uvx.File(self.path("part.uvx")).table("HD").column(0)[-1], b"HISTORY zeltra copy --if 2 --channel 1-3")
        zeltra("image", path, self.path("out.map"), "--fits", self.path("out.fits"), "--size", "32", "--cell", "1e3")
        image = fits.getheader(self.path("out.fits"))
        self.assertEqual([image[key] for key in ("OBJECT", "TELESCOP")], [cards[0][1], "VLBA"])
        self.assertIn("zeltra image --size 32 --cell 1000", list(image["HISTORY"])[5001])

    def test_a3dtable(self):
        path = self.path("in.uvfits")
        synthetic.write(path, **synthetic.VARIANTS["plain"])
        zeltra("import", path, self.path("2.uvx"))
        zeltra("import", put(path, contents(path).replace(b"'BINTABLE'", b"'A3DTABLE'")), self.path("3.uvx"))
        two, three = uvx.File(self.path("2.uvx")), uvx.File(self.path("3.uvx"))
        self.assertEqual(two.records.tobytes(), three.records.tobytes())
        self.assertEqual([(t.id & 0xFFFF, t.data) for t in two.tables], [(t.id & 0xFFFF, t.data) for t in three.tables])
        self.assertEqual(three.table("AN").id, 0x100000 | ord("A") | ord("N") << 8)

    def test_simulated_file(self):
        source, path = self.path("sim.uvx"), self.path("sim.uvfits")
        zeltra("simulate", source)
        zeltra("export", source, path)
        self.check_export(uvx.File(source), path)
        self.assertEqual(uvx.File(source).records.tobytes(), self.check_file(path).records.tobytes())

    def test_real_files(self):
        for path in self.shared():
            with self.subTest(os.path.basename(path)):
                self.check_file(path)

    def test_rebuilt_index_agrees_with_the_files_own(self):
        path, = self.shared("mojave.uvfits")
        zeltra("import", path, self.path("own.uvx"))
        # Renaming the table hides it, so that the import has to build one.
        hidden = put(self.path("hidden.uvfits"), contents(path).replace(b"'AIPS NX '", b"'AIPS ZZ '"))
        zeltra("import", hidden, self.path("rebuilt.uvx"))
        own, rebuilt = uvx.File(self.path("own.uvx")).table("NX"), uvx.File(self.path("rebuilt.uvx")).table("NX")
        values = [[t.column(i)[:, 0] for i in (0, 1, 5, 4)] for t in (own, rebuilt)]
        (time, interval, end, start), (new_time, new_interval, new_end, new_start) = values
        # One source: the rebuilt index has one scan from the first record of the first to the last of the last.
        self.assertEqual((start[0], end[-1]), (new_start[0], new_end[-1]))
        # Start and end lie half an integration outside the first and last time stamps of the file's own scans.
        begin = (time - interval / 2)[0] * 86400
        finish = (time + interval / 2)[-1] * 86400
        self.assertAlmostEqual((new_time - new_interval / 2)[0] * 86400, begin, delta=1)
        self.assertAlmostEqual((new_time + new_interval / 2)[-1] * 86400, finish, delta=1)

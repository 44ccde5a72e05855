"""Look at the images that zeltra makes with astropy and fitsverify, and at its pictures byte by byte."""
# SPDX-License-Identifier: MIT
import base64
import os
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib

from command import SHARED, Case, contents, run, zeltra
import numpy as np
from astropy import units
from astropy.coordinates import SkyCoord
from astropy.io import fits
from astropy.wcs import WCS

MAS = units.mas


def map_file(path):
    """Source, unit, beam (4 doubles), ranges (3 pairs) and pixels of a map file."""
    raw = contents(path)
    source, unit = (field.split(b"\0")[0].decode() for field in (raw[:40], raw[40:56]))
    lines, length = struct.unpack_from("<2i", raw, 160)
    ranges = np.frombuffer(raw, "<f8", 6, 112).reshape(3, 2)
    return source, unit, struct.unpack_from("<4d", raw, 72), ranges, np.frombuffer(raw, "<f4", -1, 168).reshape(lines, length)


def embedded_pixels(path):
    """Red, green and blue, shape [line][element][3], of the first PNG file, of places in a palette, in an SVG file."""
    raw = base64.b64decode(re.search(rb"data:image/png;base64,([^\"]*)", contents(path))[1])
    assert raw[:8] == b"\x89PNG\r\n\x1a\n"
    at, bodies = 8, {}
    while at < len(raw):
        length, kind = struct.unpack_from(">I4s", raw, at)
        bodies[kind] = raw[at + 8:at + 8 + length]
        assert zlib.crc32(kind + bodies[kind]) == struct.unpack_from(">I", raw, at + 8 + length)[0]
        at += 12 + length
    width, height, *form = struct.unpack(">2I5B", bodies[b"IHDR"])
    assert form == [8, 3, 0, 0, 0] and bodies[b"IEND"] == b""
    rows = np.frombuffer(zlib.decompress(bodies[b"IDAT"]), "u1").reshape(height, 1 + width)
    assert not rows[:, 0].any()
    return np.frombuffer(bodies[b"PLTE"], "u1").reshape(256, 3).astype(int)[rows[:, 1:]]


class Images(Case):
    def setUp(self):
        super().setUp()
        zeltra("simulate", self.path("s.uvx"), "--noise", "0", "--integration", "60")

    def test_fits_image_is_placed_on_the_sky(self):
        zeltra("image", self.path("s.uvx"), self.path("s.map"), "--source", "3C273", "--size", "256", "--cell", "0.1",
               "--fits", self.path("s.fits"), "--beam", self.path("b.map"))
        with fits.open(self.path("s.fits")) as hdus:
            hdus.verify("exception")
            header, pixels = hdus[0].header, hdus[0].data
        self.assertEqual(pixels.shape, (1, 1, 256, 256))
        self.assertEqual(pixels.dtype, np.dtype(">f4"))
        self.assertEqual((header["OBJECT"], header["BUNIT"], header["RADESYS"]), ("3C273", "Jy/beam", "FK5"))
        units.Unit(header["BUNIT"])
        wcs = WCS(header).celestial
        center = SkyCoord(187.2779154, 2.0523883, unit="deg", frame="fk5")
        # The second component lies 2.1 mas west and 1.3 mas south: east is at low elements, north at high lines.
        for east, north, element, line in ((0, 0, 128, 128), (-2.1, -1.3, 149, 115)):
            place = center.spherical_offsets_by(east * MAS, north * MAS)
            x, y = wcs.world_to_pixel(place)
            self.assertAlmostEqual(float(x), element, delta=1e-3)
            self.assertAlmostEqual(float(y), line, delta=1e-3)
        frequency = WCS(header).sub([3]).pixel_to_world_values(0)
        self.assertAlmostEqual(float(frequency), 8.414e9, delta=2e7)
        self.assertEqual(header["CRVAL4"], 1)
        self.assertAlmostEqual(header["RMS"], np.sqrt((pixels.astype(float)**2).mean()), delta=1e-9)

        # Taking both components away with the beam leaves nothing.
        source, unit, beam, ranges, stored = map_file(self.path("s.map"))
        self.assertEqual((source, unit), ("3C273", "Jy/beam"))
        np.testing.assert_array_equal(stored, pixels[0, 0])
        self.assertAlmostEqual(np.degrees(beam[0]), header["BMAJ"], delta=1e-15)
        self.assertAlmostEqual(beam[2], header["BPA"], delta=1e-9)
        response = map_file(self.path("b.map"))[4]
        part = np.s_[64:192, 64:192]
        shifted = response[128 - 64 - 115 + 128:128 + 64 - 115 + 128, 128 - 64 - 149 + 128:128 + 64 - 149 + 128]
        rest = stored[part] - 3.0 * response[part] - 1.2 * shifted
        # What flags took away is missing from both.
        self.assertLess(np.abs(rest).max(), 1e-3)
        cell = np.radians(0.1 / 3600e3)
        np.testing.assert_allclose(ranges[0], [-127 * cell, 128 * cell])
        np.testing.assert_allclose(ranges[1], [-128 * cell, 127 * cell])
        np.testing.assert_array_equal(ranges[2], [stored.min(), stored.max()])

    def test_outputs_are_those_that_are_named(self):
        zeltra("image", self.path("s.uvx"), "--source", "2", "--size", "20",
               "--fits", self.path("s.fits"))
        self.assertEqual(sorted(os.listdir(self.folder)), ["s.fits", "s.uvx"])
        done = run("image", self.path("s.uvx"))
        self.assertEqual(done.returncode, 2)
        self.assertIn("--fits", done.stderr)

    @unittest.skipUnless(shutil.which("fitsverify"), "fitsverify is not installed")
    def test_fitsverify_finds_nothing(self):
        inputs = [self.path("s.uvx")]
        inputs += [os.path.join(SHARED, name) for name in ("mojave.uvfits", "j0414_a3dtable.uvfits")]
        for path in filter(os.path.exists, inputs):
            zeltra("image", path, self.path("x.map"), "--size", "32", "--fits", self.path("x.fits"), "--force",
                   *(["--source", "2"] if path.endswith(".uvx") else []))
            done = subprocess.run(["fitsverify", "-q", self.path("x.fits")], capture_output=True, text=True)
            self.assertIn("OK", done.stdout)
            self.assertEqual(done.returncode, 0, done.stdout)

    def test_picture_shows_north_up_and_east_left(self):
        zeltra("image", self.path("s.uvx"), self.path("s.map"), "--source", "3C273", "--size", "32", "--cell", "0.4",
               "--png", self.path("s.svg"))
        stored = map_file(self.path("s.map"))[4]
        # The brightness of the colours, as people see it, is the value.
        brightness = (embedded_pixels(self.path("s.svg")) @ [0.30, 0.59, 0.11])[::-1]
        value = 255 * (stored - stored.min()) / (stored.max() - stored.min())
        np.testing.assert_allclose(brightness, value, atol=2)


def fits_image(path, *options):
    """Header of the FITS image of a file."""
    with tempfile.TemporaryDirectory() as folder:
        zeltra("image", path, "--fits", os.path.join(folder, "x.fits"), *options)
        return fits.getheader(os.path.join(folder, "x.fits"))


def mas(header):
    """Beam in milliarcseconds."""
    return header["BMAJ"] * 3600e3, header["BMIN"] * 3600e3


class PublishedBeams(Case):
    def test_published_images_have_the_same_beam_and_noise(self):
        for visibilities, image, power in (
                ("0506+056.u.2009_06_03.uvf", "0506+056.u.2009_06_03.icn.fits", 1),
                ("3C111_Q_2014_05_08.uvf", "3C111_Q_2014_05_08.fits", 0.5)):
            published = fits.getheader(*self.shared("maps/" + image))
            ours = fits_image(*self.shared("maps/" + visibilities), "--size", "64", "--weight-power", power)
            for key in ("BMAJ", "BMIN", "BPA", "NOISE"):
                self.assertAlmostEqual(ours[key] / published[key], 1, delta=1e-4, msg=visibilities + " " + key)

    def test_beam_of_a_sparse_array(self):
        header = fits_image(*self.shared("eht_m87_095_hi.uvfits"))
        np.testing.assert_allclose(mas(header), (31.06e-3, 18.54e-3), atol=0.006e-3)
        self.assertAlmostEqual(header["BPA"], 56.9, delta=0.05)

    # Beams and noises computed with numpy, rounded to four decimals, hence the tolerance; uniform ones depend on how cells are rounded.
    def test_robust_weights_are_those_of_briggs(self):
        for name, cell, weight, major, minor, noise in (
                ("0506+056.u.2009_06_03.uvf", 0.1, "robust=0", 1.1688, 0.5324, 1.3777),
                ("0506+056.u.2009_06_03.uvf", 0.1, "robust=1", 1.3783, 0.6084, 1.0085),
                ("3C111_Q_2014_05_08.uvf", 0.02, "robust=0", 0.3715, 0.1896, 1.4948),
                ("3C111_Q_2014_05_08.uvf", 0.02, "uniform", 0.3458, 0.1639, 31.73)):
            path, = self.shared("maps/" + name)
            natural = fits_image(path, "--cell", cell)
            header = fits_image(path, "--cell", cell, "--weight", weight)
            found = (*mas(header), header["NOISE"] / natural["NOISE"])
            np.testing.assert_allclose(found, (major, minor, noise), rtol=3e-4, err_msg=name + " " + weight)
        for weight, limit in (("natural", 5), ("uniform", -5)):
            np.testing.assert_allclose(mas(fits_image(path, "--cell", cell, "--weight", weight)),
                                       mas(fits_image(path, "--cell", cell, "--weight", "robust=%d" % limit)), rtol=1e-4)

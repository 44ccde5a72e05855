"""Fit components to published visibilities and to images that numpy makes, and compare what is left with numpy's."""
# SPDX-License-Identifier: MIT
import json
import os
import random
import re
import unittest

from command import SHARED, Case, contents, put, run, zeltra
import numpy as np
from astropy.io import fits

import uvx

MAPS = SHARED + "/maps/3C111_Q_2014_05_08"
MAS = np.radians(1 / 3600e3)
NUMBERS = ("flux", "x", "y", "major", "ratio", "pa")


def moments(major, minor, angle):
    """Of an ellipse with axes in mas: [east, north] twice."""
    s, c = np.sin(np.radians(angle)), np.cos(np.radians(angle))
    axes = np.array([[s, c], [c, -s]])
    return axes.T @ np.diag([major ** 2, minor ** 2]) @ axes


class Components(Case):
    def fitted(self, *arguments):
        """Values and errors, [component][number], and what was said."""
        done = run("fit", *arguments, "-o", self.path("out.mod"), "--force", "--json")
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = json.loads(done.stdout)
        values, errors = (np.array([[row[name + end] for name in NUMBERS] for row in rows], "f8") for end in ("", "_error"))
        return values, errors, done.stderr

    def write(self, values, free):
        """A list of components that are circles."""
        lines = []
        for (flux, x, y, major, *_), marks in zip(values, free):
            numbers = (flux, np.hypot(x, y), np.degrees(np.arctan2(x, y)), major)
            lines.append(" ".join("%.12g%s" % (number, "v" if mark else "") for number, mark in zip(numbers, marks)) + " 1 0 1\n")
        return put(self.path("start.mod"), "".join(lines).encode())

    def test_a_published_model_is_a_minimum(self):
        if not os.path.exists(MAPS + ".uvf"):
            self.skipTest("no real files")
        values, errors, told = self.fitted(MAPS + ".uvf", "--model", MAPS + ".mfit")
        self.assertRegex(told, r"34 numbers of 9 components .* chi\^2/2N 4\.600117 before, 4\.600117 after")
        self.assertIn("strong correlations: ", told)
        lines = contents(MAPS + ".mfit").decode().splitlines()
        published = [line.replace("v", "").split() for line in lines if not line.startswith("!")]
        flux, radius, theta, major = np.array(published, "f8")[:, :4].T
        start = np.stack([flux, radius * np.sin(np.radians(theta)), radius * np.cos(np.radians(theta)), major], -1)
        self.assertLess(np.abs(values[:, :4] - start)[:, 1:].max(), 1e-5)
        self.assertLess(np.abs(values[:, 0] - flux).max(), 1e-5)
        signs = np.where(np.arange(36).reshape(9, 4) % 3 == 0, 1, -1)
        away, free = values[:, :4] + signs * errors[:, :4], errors[:, :4] > 0
        back, _, told = self.fitted(MAPS + ".uvf", "--model", self.write(away, free), "--threads", 1)
        self.assertLess(np.abs(back[:, 1:4] - values[:, 1:4]).max(), 1e-4)
        self.assertRegex(told, r"before, 4\.600117 after")

    def test_residuals_are_what_numpy_leaves(self):
        """Two sources, of which one is fitted, in four polarisations."""
        source = self.simulated("--minutes", 2, "--channels", 2, "--noise", "0.1")
        put(self.path("start.mod"), b"3 0.5 100 0.7 0.4 30 1\n0.5v 1.5v -40v 0 1 0 0 9e9 -0.7\n")
        values, _, told = self.fitted(source, "--model", self.path("start.mod"), "--source", 1, "--residual", self.path("rest.uvx"))
        was, now = uvx.File(source), uvx.File(self.path("rest.uvx"))
        group, before = was.records["group"], was.records["vis"].astype("f8")
        info = json.loads(zeltra("info", source, "--json"))["frequencies"][0]["ifs"]
        nu = np.array([[i["start_hz"] + c * i["delta_hz"] for c in range(2)] for i in info])
        u, v = group["u"][:, None, None] * nu, group["v"][:, None, None] * nu
        model = 0
        for (flux, x, y, major, ratio, angle), index in zip(values, (0, -0.7)):
            form = moments(major * MAS, major * ratio * MAS, angle)
            exponent = form[0, 0] * u * u + 2 * form[0, 1] * u * v + form[1, 1] * v * v
            model = model + (flux * (nu / 9e9) ** index * np.exp(-np.pi ** 2 / 4 / np.log(2) * exponent)
                             * np.exp(2j * np.pi * MAS * (u * x + v * y)))
        model = model * (group["source"] == 1)[:, None, None]
        for place, code in enumerate(was.stokes):
            there = model if code in (-1, -2) else 0 * model
            expected = before[..., place, 0] + 1j * before[..., place, 1] - there
            found = now.records["vis"][..., place, 0] + 1j * now.records["vis"][..., place, 1].astype("f8")
            np.testing.assert_allclose(found, expected, atol=0 if code < -2 else 2e-6)
        np.testing.assert_array_equal(now.records["vis"][..., 2], was.records["vis"][..., 2])
        np.testing.assert_array_equal(now.records["group"], group)
        self.assertIn("unchanged records of the other sources", told)

    def test_a_model_is_drawn_where_its_visibilities_are(self):
        same = self.simulated("--minutes", 4, "--noise", 0)
        for kind in ("amplitude", "phase", "closure"):
            picture = zeltra("plot", same, kind, self.path("p.svg"), "--source", 1, "--model", same, "--stokes", "RR",
                             "--force") or contents(self.path("p.svg")).decode()
            paths = {}
            for path in re.findall(r"<path[^>]*>", picture):
                colour, places = re.search(r"#\w{6}", path)[0], re.findall(r"M\d+ \d+h0", path)
                paths.setdefault(colour, set()).update(places)
            model = paths.pop("#000000")
            self.assertTrue(model and model == set.union(*paths.values()), kind)
        zeltra("plot", same, "residual", self.path("r.svg"), "--source", 1, "--model", same)
        dots = re.findall(r"M\d+ (\d+)h0", contents(self.path("r.svg")).decode())
        self.assertEqual(len(set(dots)), 1, "nothing is left of it")

    def image(self, pixels, cell=0.1, center=(45, 50), **cards):
        path = self.path("image.fits")
        file = fits.PrimaryHDU(pixels[None, None])
        file.header.update({"CTYPE1": "RA---SIN", "CDELT1": -cell / 3600e3, "CRPIX1": center[0],
                            "CTYPE2": "DEC--SIN", "CDELT2": cell / 3600e3, "CRPIX2": center[1],
                            "BUNIT": "JY/BEAM", "BMAJ": 0.9 / 3600e3, "BMIN": 0.6 / 3600e3, "BPA": -20.0})
        for name, value in cards.items():
            file.header[name] = value
            if value is None:
                del file.header[name]
        file.writeto(path, overwrite=True)
        return path

    def sky(self, components, cell=0.1, center=(45, 50)):
        """96 x 100 pixels, and offsets of pixels in mas."""
        line, element = np.mgrid[1:101, 1:97]
        x, y = (center[0] - element) * cell, (line - center[1]) * cell
        beam, pixels = moments(0.9, 0.6, -20), np.zeros(x.shape)
        for flux, x0, y0, major, ratio, angle in components:
            form = beam + moments(major, major * ratio, angle)
            inverse, dx, dy = np.linalg.inv(form), x - x0, y - y0
            exponent = inverse[0, 0] * dx * dx + 2 * inverse[0, 1] * dx * dy + inverse[1, 1] * dy * dy
            pixels += flux * np.sqrt(np.linalg.det(beam) / np.linalg.det(form)) * np.exp(-4 * np.log(2) * exponent)
        return pixels, x, y

    def test_sizes_in_an_image_are_those_without_the_beam(self):
        sky = [(1, 0.51, -0.33, 1.2, 0.5, 50), (0.3, -2.5, 2, 0.7, 0.9, -30), (0.2, 2.5, 3, 0, 1, 0)]
        pixels, *_ = self.sky(sky)
        put(self.path("start.mod"), b"1 0.6 120 1 0.6 30 1\n0.3 3.2 -50 0.5\n0.2 3.9 40\n")
        for scaled in ({}, {"BSCALE": 1e-6, "BZERO": 0.25}):
            stored = np.round((pixels - 0.25) / 1e-6).astype("i4") if scaled else pixels.astype("f4")
            values, _, _ = self.fitted("--image-plane", self.image(stored, **scaled), "--model", self.path("start.mod"))
            np.testing.assert_allclose(values[:2], sky[:2], rtol=2e-4 if scaled else 1e-5)
            np.testing.assert_allclose(values[2, :4], sky[2][:4], atol=1e-3)
        values, _, _ = self.fitted("--image-plane", self.image(self.sky(sky[:1])[0]))
        np.testing.assert_allclose(values, sky[:1], rtol=1e-6)

    def test_errors_in_an_image_are_those_of_its_scatter(self):
        """Noise that the beam has smoothed; Condon's formulas are good to a fifth."""
        truth = (1, 0.51, -0.33, 1.2, 0.5, 50)
        pixels, x, y = self.sky([truth])
        noise = np.random.default_rng(3)
        inverse = np.linalg.inv(moments(0.9, 0.6, -20) / 2)  # what gives white noise the correlation of the beam
        kernel = np.exp(-4 * np.log(2) * (inverse[0, 0] * x * x + 2 * inverse[0, 1] * x * y + inverse[1, 1] * y * y))
        smooth = np.fft.rfft2(np.roll(kernel, (-49, -44), (0, 1)))
        pulls = []
        for _ in range(120):
            rest = np.fft.irfft2(np.fft.rfft2(noise.normal(size=x.shape)) * smooth, x.shape)
            values, errors, _ = self.fitted("--image-plane", self.image((pixels + 0.01 / rest.std() * rest).astype("f4")))
            pulls.append((values[0] - truth) / errors[0])
        np.testing.assert_allclose(np.mean(pulls, 0), 0, atol=0.3)
        np.testing.assert_allclose(np.std(pulls, 0)[1:], 0.95, atol=0.2)
        self.assertTrue(0.6 < np.std(pulls, 0)[0] < 1.1, "that of the flux is on the safe side")

    def test_images_that_are_none_are_refused(self):
        pixels = self.sky([(1, 0, 0, 0, 1, 0)])[0].astype("f4")
        cases = [({"BMAJ": None}, "no card BMAJ"), ({"BUNIT": "K"}, "JY/BEAM"), ({"CTYPE1": "RA---TAN"}, "RA---TAN"),
                 ({"CDELT1": 0.0}, "no size"), ({"CROTA2": 10.0}, "rotated"), ({"BMIN": 1.0}, "no ellipse"), ({"BMAJ": "x"}, "BMAJ")]
        for cards, sentence in cases:
            done = run("fit", "--image-plane", self.image(pixels, **cards), "-o", self.path("x.mod"))
            self.assertEqual(done.returncode, 1, sentence)
            self.assertRegex(done.stderr, "zeltra: error: .*image.fits: .*" + sentence)
        whole = contents(self.image(pixels))
        broken = [whole[:size] for size in (0, 79, 2879, 2880, 5000, 20000)] + [self.path("none.fits")]
        broken += [whole.replace(b"NAXIS3  =                    1", b"NAXIS3  = %20d" % count) for count in (0, 2, -1, 2 ** 31)]
        broken += [whole.replace(b"NAXIS1  =                   96", b"NAXIS1  = %20d" % count) for count in (0, -1, 2 ** 31 - 1)]
        broken += [whole.replace(b"BITPIX  =                  -32", b"BITPIX  = %20d" % bits) for bits in (7, -64, 0)]
        random.seed(1)
        for content in broken:
            path = put(self.path("broken.fits"), content) if isinstance(content, bytes) else content
            done = run("fit", "--image-plane", path, "-o", self.path("x.mod"))
            self.assertEqual((done.returncode, os.path.exists(self.path("x.mod"))), (1, False), content[:400])
            self.assertIn("zeltra: error: ", done.stderr)
        for _ in range(60):
            place = random.randrange(1500)
            path = put(self.path("broken.fits"), whole[:place] + bytes([random.randrange(32, 127)]) + whole[place + 1:])
            done = run("fit", "--image-plane", path, "-o", self.path("x.mod"), "--force")
            self.assertIn(done.returncode, (0, 1), done.stderr)
            self.assertNotRegex(done.stderr, "Sanitizer|runtime error")
        nothing = self.image(np.full_like(pixels, np.nan))
        self.assertIn("no pixel above 0", run("fit", "--image-plane", nothing, "-o", self.path("x.mod"), "--force").stderr)

    def test_what_is_no_fit_is_said(self):
        source, model = self.simulated("--minutes", 1), self.path("m.mod")
        cases = [(b"1 0 0\n", [], "m.mod: no number is free"), (b"nan 0 0\n", [], "line 1"), (b"1v 0 0\n", ["--uvrange", "1e12,"], "no visibility"),
                 (b"1v 0 0\n" * 1001, [], "m.mod: more than 1000"), (b"1 0 0 0 1 0 2\n", [], "type 2"), (b"1 0 0\n", ["--stokes", "RR,LL"], "single")]
        for text, options, sentence in cases:
            put(model, text)
            done = run("fit", source, "--source", 1, "--model", model, "-o", self.path("x.mod"), *options)
            self.assertEqual((done.returncode, os.path.exists(self.path("x.mod"))), (1, False), sentence)
            self.assertIn(sentence, done.stderr)
        for usage in ([], [source], [source, "--image-plane", source], ["--image-plane", source, "--free", "x"], [source, "--model", model, "--free", "size"]):
            self.assertEqual(run("fit", *usage, "-o", self.path("x.mod")).returncode, 2, usage)

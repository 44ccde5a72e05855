"""Compare CLEAN with published images, components and windows, and with itself."""
# SPDX-License-Identifier: MIT
import json
import os
import shutil
import subprocess
import unittest

from command import SHARED, Case, contents, run, zeltra
import numpy as np
import uvx
from astropy.io import fits
from astropy.wcs import WCS
from scipy.ndimage import binary_dilation

MAPS = os.path.join(SHARED, "maps")
# Name, image, components and their chi^2/2N, arguments that grid as published, arguments that clean as deep.
PUBLISHED = [
    ("0506+056.u.2009_06_03", ".icn.fits", ".icn.fits.mod", 1.028, ["--cell", "0.1"], ["--stop", "1.6sigma"]),
    ("3C111_Q_2014_05_08", ".fits", ".mod", 4.537, ["--cell", "0.02", "--weight-power", "0.5"],
     ["--stop", "0.1sigma", "--niter", "100000", "--window", os.path.join(MAPS, "3C111_Q_2014_05_08.win")])]


def image(path):
    """Pixels, header and components of a FITS image."""
    with fits.open(path) as file:
        return file[0].data.squeeze().astype(float), file[0].header, np.array(file["AIPS CC"].data.tolist())


def aligned(path, like):
    """The pixels of an image that has the same directions as another one, compared by WCS."""
    pixels, header, components = image(path)
    other = fits.getheader(like)
    place = WCS(header).celestial.wcs_world2pix([[other["CRVAL1"], other["CRVAL2"]]], 1)[0]
    shift = np.rint(place - [other["CRPIX1"], other["CRPIX2"]]).astype(int)
    return np.roll(pixels, (-shift[1], -shift[0]), (0, 1)), header, components


@unittest.skipUnless(os.path.isdir(MAPS), "published maps are not there")
class Published(Case):
    def test_restored_components_are_the_published_image(self):
        for name, ending, model, _, grid, _ in PUBLISHED:
            with self.subTest(name=name):
                path = os.path.join(MAPS, name)
                zeltra("clean", path + ".uvf", self.path("r.fits"), "-f", "--niter", "0", "--model", path + model, *grid)
                ours, header, components = aligned(self.path("r.fits"), path + ending)
                theirs, known, listed = image(path + ending)
                inside = (slice(2, -2), slice(2, -2))  # a shift by a pixel wraps at the edges
                difference, peak = (ours - theirs)[inside], theirs.max()
                isFaint = (np.abs(theirs) < 10 * known["NOISE"])[inside]
                self.assertLess(np.sqrt((difference[isFaint] ** 2).mean()), 0.15 * known["NOISE"])
                self.assertLess(np.abs(difference[~isFaint]).max(), 0.01 * peak)
                self.assertLess(abs((ours - theirs).flat[theirs.argmax()]), 0.005 * peak)
                for card in ("BMAJ", "BMIN", "NOISE"):
                    self.assertAlmostEqual(header[card] / known[card], 1, delta=1e-4)
                self.assertAlmostEqual(header["BPA"], known["BPA"], delta=1e-3)
                self.assertEqual((header["BUNIT"], np.float32(header["DATAMAX"])), ("JY/BEAM", np.float32(ours.max())))
                order = [np.lexsort(np.rint(table[:, :3] * [1e6, 3.6e8, 3.6e8]).T) for table in (components, listed)]
                np.testing.assert_allclose(components[order[0], 1:3] * 3.6e6, listed[order[1], 1:3] * 3.6e6, atol=2e-4)
                self.assertAlmostEqual(components[:, 0].sum(), listed[:, 0].sum(), delta=1e-5)

    def test_clean_finds_what_others_found(self):
        for name, ending, _, chi2, grid, depth in PUBLISHED:
            with self.subTest(name=name):
                path = os.path.join(MAPS, name)
                said = run("clean", path + ".uvf", self.path("c.fits"), "-f", *grid, *depth).stderr
                ours, header, components = aligned(self.path("c.fits"), path + ending)
                theirs, known, listed = image(path + ending)
                self.assertLess(abs(ours.max() / theirs.max() - 1), 0.01)
                self.assertLess(abs(components[:, 0].sum() / listed[:, 0].sum() - 1), 0.01)
                self.assertLess(float(said.split("visibilities ")[-1].split()[0]), 1.01 * chi2)
                far = binary_dilation(theirs > 10 * np.median(np.abs(theirs)) / 0.6745, iterations=40)
                self.assertLess(ours[~far].std(), 1.1 * theirs[~far].std())


def scrambled(records):
    """Turn the phases of every antenna at every time by up to 60 degrees."""
    group = records["group"]
    stamp = np.unique(np.round(group["time"] * 86400, 1), return_inverse=True)[1]
    phases = np.deg2rad(np.random.default_rng(4).uniform(-60, 60, (stamp.max() + 1, 256)))
    turn = np.exp(1j * (phases[stamp, group["ant1"]] - phases[stamp, group["ant2"]]))[:, None, None, None]
    value = turn * (records["vis"][..., 0].astype("f8") + 1j * records["vis"][..., 1])
    records["vis"][..., 0], records["vis"][..., 1] = value.real, value.imag


class SelfCalibration(Case):
    def test_scrambled_phases_come_back(self):
        known = self.simulated("--integration", "120")
        grid = ["--source", "3C273", "--size", "128", "--cell", "0.15", "--stop", "2sigma", "-f"]
        zeltra("clean", known, self.path("known.fits"), *grid)
        uvx.edited(known, self.path("wrong.uvx"), scrambled)
        rounds = json.loads(zeltra("selfcal", self.path("wrong.uvx"), self.path("out.uvx"), "--loop", "p,p,p", "--image",
                                   self.path("out.fits"), *grid, "--json"))
        self.assertEqual([r["step"] for r in rounds], ["", "p", "p", "p"])
        peaks = [image(self.path(name))[0].max() for name in ("known.fits", "out.fits")]
        self.assertAlmostEqual(peaks[1] / peaks[0], 1, delta=0.02)
        self.assertLess(rounds[0]["peak"], 0.85 * peaks[0])
        for name in ("chi2", "closure_chi2", "rms"):
            values = [r[name] for r in rounds]
            self.assertEqual(values, sorted(values, reverse=True))
        # The records of the other source are not left half-calibrated beside those of this one.
        self.assertEqual(len(set(uvx.File(self.path("out.uvx")).records["group"]["source"])), 1)
        self.assertEqual(sorted(os.listdir(self.folder)), ["known.fits", "out.fits", "out.uvx", "sim.uvx", "wrong.uvx"])

    def test_a_wrong_model_is_told_by_closures(self):
        """A double source seen as a point: antenna gains cannot hide that."""
        self.simulated("--integration", "120", "--noise", "0")
        done = run("selfcal", self.path("sim.uvx"), self.path("out.uvx"), "--source", "3C273", "--loop", "p", "--box=0,0,0,0",
                   "--size", "128", "--cell", "0.15", "--json")
        self.assertGreater(json.loads(done.stdout)[0]["closure_chi2"], 100)


class Clean(Case):
    def setUp(self):
        super().setUp()
        zeltra("simulate", self.path("s.uvx"), "--integration", "120")

    def clean(self, name, *arguments):
        return run("clean", self.path("s.uvx"), self.path(name), "--source", "3C273", "--size", "128", "--cell", "0.15", "-f",
                   *arguments)

    def test_threads_do_not_matter_and_files_agree(self):
        for threads in "1", "2", "5":
            self.clean(f"{threads}.fits", "--threads", threads, "--auto", "5", "--save-model", self.path("c.mod"),
                       "--residual", self.path("r.fits"))
        self.assertEqual(len({contents(self.path(f"{n}.fits")) for n in "125"}), 1)
        said = self.clean("again.fits", "--niter", "0", "--model", self.path("c.mod")).stderr
        first, header, components = image(self.path("1.fits"))
        again = image(self.path("again.fits"))[0]
        np.testing.assert_allclose(again, first, atol=2e-6 * first.max())
        left = fits.getdata(self.path("r.fits")).squeeze()
        self.assertAlmostEqual(left.std() / header["RMS"], 1, delta=1e-3)
        self.assertIn(f"{len(components)} components", said)
        if shutil.which("fitsverify"):
            verified = subprocess.run(["fitsverify", self.path("1.fits")], capture_output=True, text=True).stdout
            self.assertIn("and 0 error(s)", verified)

    def test_windows_signs_and_beams(self):
        self.clean("w.fits", "--box", "-1,1,-1,1", "--box", "3mas,4mas,-0.002arcsec,1", "--no-negative", "--beam", "2,1,30")
        _, header, components = image(self.path("w.fits"))
        x, y = components[:, 1] * 3.6e6, components[:, 2] * 3.6e6
        inside = (np.abs(x) < 1.001) & (np.abs(y) < 1.001) | (x > 2.999) & (x < 4.001) & (y > -2.001) & (y < 1.001)
        self.assertTrue(inside.all() and (components[:, 0] > 0).all())
        self.assertAlmostEqual(header["BMAJ"] * 3.6e6, 2, places=9)
        self.assertEqual(header["BPA"], 30)
        for wrong in (["--box", "1,2,3"], ["--box", "50,60,50,60"], ["--beam", "1,0,0"], ["--stop", "x"], ["--gain", "0"]):
            self.assertIn("zeltra: error", run("clean", self.path("s.uvx"), self.path("x.fits"), "--source", "3C273",
                                               "--size", "128", *wrong).stderr)
        self.assertFalse(os.path.exists(self.path("x.fits")))

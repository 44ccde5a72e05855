"""Compare splines, polynomials and Gaussians with scipy's and numpy's on random sets."""
# SPDX-License-Identifier: MIT
import os
import subprocess
import unittest

from command import ZELTRA
import numpy as np
from scipy.interpolate import CubicSpline
from scipy.optimize import curve_fit

CASES = os.path.join(os.path.dirname(ZELTRA), "fit_cases")
RANDOM = np.random.default_rng(12)


def computed(kind, x, y, more):
    line = " ".join([kind, str(len(x)), str(len(more))] + [repr(float(number)) for number in (*x, *y, *more)])
    return np.array(subprocess.run([CASES], input=line + "\n", capture_output=True, text=True, check=True).stdout.split(), "f8")


def ascending(count):
    return np.cumsum(RANDOM.uniform(0.05, 2, count))


def ellipse(place, peak, x0, y0, major, minor, angle, base):
    x, y = place[0] - x0, place[1] - y0
    p, q = x * np.sin(angle) + y * np.cos(angle), x * np.cos(angle) - y * np.sin(angle)
    return base + peak * np.exp(-4 * np.log(2) * ((p / major) ** 2 + (q / minor) ** 2))


class Fits(unittest.TestCase):
    def near(self, found, expected, tolerance=1e-10):
        self.assertEqual(found.shape, np.shape(expected))
        np.testing.assert_allclose(found, expected, rtol=tolerance, atol=tolerance * np.abs(expected).max())

    def test_splines(self):
        ends = {"natural": "natural", "not-a-knot": "not-a-knot", "periodic": "periodic", "clamped": ((1, 1.5), (1, -0.5))}
        for kind, condition in ends.items():
            for count in (2, 3, 4, 5, 40):
                if count == 2 and kind == "periodic":
                    continue
                with self.subTest(kind, count=count):
                    x, y = ascending(count), RANDOM.normal(size=count)
                    y[-1] = y[0] if kind == "periodic" else y[-1]
                    at = RANDOM.uniform(x[0] - 1, x[-1] + 1, 30)
                    curve = CubicSpline(x, y, bc_type=condition)
                    self.near(computed(kind, x, y, at).reshape(-1, 3), np.stack([curve(at, n) for n in range(3)], -1))

    def test_a_monotone_spline_never_turns_between_points(self):
        x, y = ascending(30), RANDOM.normal(size=30) ** 3
        at = np.concatenate([np.linspace(a, b, 20) for a, b in zip(x[:-1], x[1:])])
        value = computed("monotone", x, y, at).reshape(-1, 20, 3)[..., 0]
        np.testing.assert_allclose(value[:, [0, -1]], np.stack([y[:-1], y[1:]], -1), atol=1e-12)
        self.assertTrue(np.all(np.diff(value) * np.sign(np.diff(y))[:, None] >= -1e-12))

    def test_what_no_curve_goes_through_is_refused(self):
        for x in ([1, 2, 2], [1, 3, 2], [1, 2, np.nan]):
            self.assertEqual(computed("natural", x, [1, 2, 3], [1]).size, 0)

    def test_polynomials(self):
        x, y, weight = RANDOM.uniform(-3, 9, 50), RANDOM.normal(size=50), RANDOM.uniform(0.1, 4, 50)
        polynomial = np.polynomial.Polynomial.fit(x, y, 5, w=np.sqrt(weight))
        basis = np.vander((x - x.mean()) / np.ptp(x), 6)
        error = np.sqrt(np.einsum("ij,jk,ik->i", basis, np.linalg.inv(basis.T @ (weight[:, None] * basis)), basis))
        self.near(computed("polynomial", x, y, weight).reshape(-1, 3), np.stack([polynomial(x), polynomial.deriv()(x), error], -1))

    def test_gaussians(self):
        # scipy stops where chi^2 falls no more, when it has half of the digits of the parameters, and takes differences for
        # derivatives.
        for peak in (3.0, -2.0):
            x, weight = RANDOM.uniform(0, 10, 80), RANDOM.uniform(50, 150, 80)
            profile = lambda x, peak, x0, width, base: ellipse((0 * x, x), peak, 0, x0, width, 1, 0, base)
            y = profile(x, peak, 4.2, 1.7, 0.3) + RANDOM.normal(size=80) / np.sqrt(weight)
            best, covariance = curve_fit(profile, x, y, (peak, 4, 2, 0), 1 / np.sqrt(weight), absolute_sigma=True, xtol=1e-15, ftol=1e-15)
            found = computed("profile", x, y, weight).reshape(7, 2)[[0, 1, 3, 6]]
            self.near(found[:, 0], best, 1e-7)
            self.near(found[:, 1], np.sqrt(np.diag(covariance)), 1e-5)
        for angle in (0.1, 1.0, 2.5):
            place = RANDOM.uniform(-5, 5, (2, 400))
            z = ellipse(place, 2, 0.5, -0.7, 3, 1.5, angle, 0.1) + 0.01 * RANDOM.normal(size=400)
            best, covariance = curve_fit(ellipse, place, z, (2, 0.5, -0.7, 3, 1.5, angle, 0.1), xtol=1e-15, ftol=1e-15)
            found = computed("ellipse", *place, z).reshape(7, 2)
            self.near(found[:, 0], best, 1e-7)
            self.near(found[:, 1], np.sqrt(np.diag(covariance)), 1e-4)

"""Compare numbers with Python's float, and angles with those of astropy."""
# SPDX-License-Identifier: MIT
import math
import os
import random
import re
import subprocess
import unittest

from command import ZELTRA
from astropy.coordinates import Angle

CASES = os.path.join(os.path.dirname(ZELTRA), "parse_cases")


def parsed(texts):
    """A number or None and an angle or None for each text."""
    done = subprocess.run([CASES], input="\n".join(texts), capture_output=True, text=True, check=True)
    return [[None if word == "-" else float(word) for word in line.split()] for line in done.stdout.splitlines()]


class Parse(unittest.TestCase):
    def test_numbers_are_those_of_python(self):
        draw = random.Random(1)
        texts = ["".join(draw.choice("0123456789.+-eE ") for _ in range(draw.randrange(1, 12))) for _ in range(20000)]
        texts += ["%.*e" % (draw.randrange(20), draw.uniform(-9, 9) * 10.0 ** draw.randrange(-307, 308)) for _ in range(5000)]
        taken = 0
        for text, (number, _) in zip(texts, parsed(texts)):
            try:
                expected = float(text)
            except ValueError:
                expected = None
            if expected is not None and math.isinf(expected):
                expected = None
            self.assertEqual(number, expected, text)
            taken += expected is not None
        self.assertGreater(taken, 6000)

    def test_angles_are_those_of_astropy(self):
        draw = random.Random(2)
        texts, angles = [], []
        for _ in range(2000):
            big, minutes, seconds = draw.randrange(24), draw.randrange(60), "%.*f" % (draw.randrange(6), draw.uniform(0, 59))
            sign = draw.choice(["", "+", "-"])
            text = sign + draw.choice(["%d:%02d:%s", "%dd%dm%ss", "%dh%dm%ss", "%dd%d'%s\""]) % (big, minutes, seconds)
            if draw.random() < 0.2:
                text = re.sub(r"[^hdm:']+[s\"]?$", "", text).rstrip(":")
            texts.append(text)
            angles.append(Angle(text, None if re.search("[hd]", text) else "deg").radian)
        for text, expected, (_, angle) in zip(texts, angles, parsed(texts)):
            self.assertIsNotNone(angle, text)
            self.assertAlmostEqual(angle, expected, delta=1e-15 * 7, msg=text)
            self.assertEqual(math.copysign(1, angle), math.copysign(1, expected), text)

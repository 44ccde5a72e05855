"""Run the command under test: the first two arguments of a test are the command and the folder of real files."""
# SPDX-License-Identifier: MIT
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

try:
    import astropy
except ImportError as missing:
    print("skipped: python3-astropy is not installed (%s)" % missing)
    sys.exit(77)

ZELTRA = os.path.abspath(sys.argv.pop(1))
SHARED = sys.argv.pop(1)


def zeltra(*arguments):
    """What the command prints."""
    done = subprocess.run([ZELTRA, *map(str, arguments)], capture_output=True, text=True)
    if done.returncode:
        raise AssertionError("zeltra %s: %s" % (" ".join(map(str, arguments)), done.stderr))
    return done.stdout


class Case(unittest.TestCase):
    """Tests with a folder of their own."""

    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

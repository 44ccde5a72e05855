"""Run the command under test: the first two arguments are the command and a path that the tests need, with --all their
long forms run."""
# SPDX-License-Identifier: MIT
import glob
import importlib.util
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

for package in "astropy", "scipy":
    if not importlib.util.find_spec(package):
        print("skipped: python3-%s is not installed" % package)
        sys.exit(77)

ZELTRA = os.path.abspath(sys.argv.pop(1))
SHARED = os.path.abspath(sys.argv.pop(1))  # the folder of real files, but for tests of faults
ALL = "--all" in sys.argv and not sys.argv.remove("--all")


def run(*arguments, **options):
    """The finished process."""
    return subprocess.run([ZELTRA, *map(str, arguments)], **{"capture_output": True, "text": True, "errors": "surrogateescape", **options})


def zeltra(*arguments):
    """What the command prints."""
    done = run(*arguments)
    if done.returncode:
        raise AssertionError("zeltra %s: %s" % (" ".join(map(str, arguments)), done.stderr))
    return done.stdout


def memory(*arguments):
    """What the command prints, and the KiB of memory that it takes."""
    # The launcher is small: a process counts the memory of the one that it was forked from.
    launcher = ("import os, sys; _, status, used = os.wait4(os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ), 0); "
                "print(used.ru_maxrss, file=sys.stderr); sys.exit(os.waitstatus_to_exitcode(status))")
    done = run("-ISc", launcher, ZELTRA, *arguments, executable=sys.executable)
    if done.returncode:
        raise AssertionError("zeltra %s: %s" % (" ".join(map(str, arguments)), done.stderr))
    return done.stdout, int(done.stderr.split()[-1])


def contents(path):
    with open(path, "rb") as file:
        return file.read()


def put(path, content):
    with open(path, "wb") as file:
        file.write(content)
    return path


class Case(unittest.TestCase):
    """Tests with a folder of their own."""

    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def simulated(self, *options):
        zeltra("simulate", self.path("sim.uvx"), "--force", *options)
        return self.path("sim.uvx")

    def shared(self, name="*.uvfits"):
        """Paths of real files."""
        paths = sorted(glob.glob(os.path.join(SHARED, name)))
        return paths or self.skipTest("no real files in " + SHARED)

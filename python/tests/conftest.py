"""The library and command under test, which the build names, and files made by them."""
# SPDX-License-Identifier: MIT
import glob
import os
import subprocess
import sys

import pytest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path[:0] = [os.path.join(ROOT, "python"), os.path.join(ROOT, "tests", "interop")]
os.environ["PYTHONPATH"] = os.path.join(ROOT, "python")  # for processes that tests start
os.environ["DASK_DISTRIBUTED__WORKER__MULTIPROCESSING_METHOD"] = "forkserver"  # workers start at once
BUILD = os.path.join(ROOT, "build", "release")
os.environ.setdefault("ZELTRA_LIBRARY", os.path.join(BUILD, "lib", "libzeltra.so.0"))
COMMAND = os.environ.setdefault("ZELTRA_COMMAND", os.path.join(BUILD, "bin", "zeltra"))
SHARED = os.environ.get("ZELTRA_SHARED_DATA", os.path.join(ROOT, "..", "shared", "data"))


@pytest.fixture(scope="session")
def command():
    """Run the command. Gives what it prints on standard output, or raises CalledProcessError."""

    def run(*words):
        return subprocess.run([COMMAND, *map(str, words)], check=True, capture_output=True, text=True).stdout

    return run


@pytest.fixture(scope="session")
def sim(command, tmp_path_factory):
    """A simulated file: two sources, two IFs, four channels."""
    path = tmp_path_factory.mktemp("sim") / "sim.uvx"
    command("simulate", path)
    return str(path)


@pytest.fixture(scope="session")
def big(command, tmp_path_factory):
    """A file of 152 MB, which has 10 parts and takes half a second to sort."""
    path = tmp_path_factory.mktemp("big") / "big.uvx"
    command("simulate", path, "--integration", 1, "--channels", 16, "--minutes", 36)
    return str(path)


@pytest.fixture(scope="session")
def real(command, tmp_path_factory):
    """The real files, imported: names and paths."""
    folder, found = tmp_path_factory.mktemp("real"), {}
    for path in sorted(glob.glob(os.path.join(SHARED, "*.uvfits"))):
        name = os.path.splitext(os.path.basename(path))[0]
        found[name] = str(folder / (name + ".uvx"))
        command("import", path, found[name])
    return found or pytest.skip("no real files in " + SHARED)

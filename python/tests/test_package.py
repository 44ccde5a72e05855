"""The package itself: types, examples, documents, speed of its import."""
# SPDX-License-Identifier: MIT
import doctest
import importlib
import os
import pkgutil
import runpy
import shutil
import subprocess
import sys
import zipfile

import pytest

import zeltra

PACKAGE = os.path.dirname(zeltra.__file__)
ROOT = os.path.abspath(os.path.join(PACKAGE, "..", ".."))


def test_types_are_strict_in_package_and_examples():
    pytest.importorskip("mypy")
    cache = os.path.join(os.path.dirname(os.environ["ZELTRA_LIBRARY"]), "..", "mypy_cache")
    words = [sys.executable, "-m", "mypy", "--cache-dir", cache, "zeltra", "../examples/averages.py"]
    done = subprocess.run(words, cwd=os.path.join(ROOT, "python"), capture_output=True, text=True)
    assert done.returncode == 0, done.stdout


@pytest.mark.parametrize("name", [module.name for module in pkgutil.iter_modules([PACKAGE])])
@pytest.mark.filterwarnings("ignore:.*figure:RuntimeWarning")
def test_examples_in_docstrings_run(name, sim, tmp_path, monkeypatch):
    shutil.copy(sim, tmp_path)
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "agg")
    module = importlib.import_module("zeltra." + name)
    assert doctest.testmod(module, optionflags=doctest.ELLIPSIS | doctest.IGNORE_EXCEPTION_DETAIL).failed == 0


def test_import_loads_neither_astropy_nor_the_library_nor_warns():
    code = ("import sys, zeltra; from zeltra import _library\n"
            "assert not {'astropy', 'matplotlib', 'xarray', 'dask', 'casacore'} & set(sys.modules)\n"
            "assert _library.library.cache_info().currsize == 0")
    subprocess.run([sys.executable, "-W", "error", "-c", code], check=True)


def test_example_runs(sim, tmp_path):
    done = subprocess.run([sys.executable, "-W", "error",
                           os.path.join(ROOT, "examples", "averages.py"), sim], cwd=tmp_path, capture_output=True,
                          text=True)
    assert done.returncode == 0 and done.stdout.startswith("3C273: 27 intervals"), done.stderr


@pytest.mark.filterwarnings("ignore")  # of what the documents import
def test_documents_say_what_happens():
    pytest.importorskip("matplotlib")
    pages = [os.path.join(ROOT, "docs", page) for page in ("python.md", "distributed.md")]
    run = runpy.run_path(os.path.join(ROOT, "scripts", "make-python-page"))["run"]
    assert [page for page in pages if not run(page, check=True)] == []
    subprocess.run([
        sys.executable,
        os.path.join(ROOT, "scripts", "sessions"), "--program", os.environ["ZELTRA_COMMAND"], pages[1]
    ], check=True)


def test_wheel_serves_any_system(tmp_path):
    pytest.importorskip("wheel")
    shutil.copytree(os.path.join(ROOT, "python"), tmp_path / "python", ignore=shutil.ignore_patterns("__pycache__"))
    build = "from setuptools import build_meta; build_meta.build_wheel('..')"  # as pip does
    subprocess.run([sys.executable, "-c", build], cwd=tmp_path / "python", check=True, capture_output=True)
    with zipfile.ZipFile(tmp_path / f"zeltra-{zeltra.__version__}-py3-none-any.whl") as wheel:
        assert {"zeltra/__init__.py", "zeltra/jobs.py", "zeltra/py.typed"} <= set(wheel.namelist())

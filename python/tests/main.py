"""Run the tests of the package, or exit with 77 where what they need is not installed. Arguments go to pytest."""
# SPDX-License-Identifier: MIT
import os
import sys

try:
    import astropy  # noqa: F401
    import numpy  # noqa: F401
    import pytest
except ImportError as missing:
    print(f"skipped: {missing}")
    sys.exit(77)
os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", *sys.argv[1:]]))

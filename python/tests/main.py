"""Run the tests of the package, or exit with 77 where what they need is not installed. Arguments go to pytest."""
# SPDX-License-Identifier: MIT
import os
import sys
import tempfile


def main():
    try:
        import astropy  # noqa: F401
        import numpy  # noqa: F401
        import pytest
    except ImportError as missing:
        print(f"skipped: {missing}")
        return 77
    os.environ["PYTEST_DISABLE_PLUGIN_AUTOLOAD"] = "1"
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    with tempfile.TemporaryDirectory() as folder:  # for files of the tests, which pytest would keep
        return pytest.main(["-q", "-p", "no:cacheprovider", "--basetemp", folder, *sys.argv[1:]])


if __name__ == "__main__":  # workers of a cluster start by importing this
    sys.exit(main())

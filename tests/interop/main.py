"""Compare what the command makes with what other software makes, in one process: loading astropy takes longer than most tests.

usage: main.py ZELTRA_COMMAND FOLDER [--all] MODULE[.CASE[.TEST]]... [unittest arguments]
"""
# SPDX-License-Identifier: MIT
import unittest

import command  # noqa: F401  it takes its arguments away

if __name__ == "__main__":
    unittest.main(module=None, warnings="ignore")

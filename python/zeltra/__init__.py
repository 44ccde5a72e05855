"""Visibilities of radio interferometers: UVX files as plain arrays, and the jobs of the command `zeltra`.

    import zeltra as z
    f = z.open("a.uvx")
    f.vis.shape, f.select(source="3C273").average(60).vis

IFs, channels, scans and records count from 0, as arrays do; the command counts them from 1. Numbers of antennas,
sources and frequency setups are those of the file.
"""
# SPDX-License-Identifier: MIT
from . import jobs
from ._average import Average
from ._error import Error
from ._file import Block, File, Selection
from ._file import open_file as open
from ._image import Beam, Image
from ._import import ImportSummary, import_uvfits
from ._jobs import Result, run
from ._library import version
from ._version import __version__

__all__ = [
    "Average", "Beam", "Block", "Error", "File", "Image", "ImportSummary", "Result", "Selection", "__version__",
    "import_uvfits", "jobs", "open", "run", "version"
]

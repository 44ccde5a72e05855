"""Averages in time as arrays."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import os
import tempfile
from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from ._contents import C
from ._file import open_file
from ._jobs import Jobs, Path, run
from ._library import Progress

if TYPE_CHECKING:
    from astropy.time import Time
    from astropy.units import Quantity


class Average:
    """Averages over intervals, for each source and setup separately, in the order of the command: by time.

    Attributes
    ----------
    time : Time
        Mean time of each interval [T].
    source, setup : numpy.ndarray
        Their numbers [T].
    baseline : numpy.ndarray
        Numbers of the two antennas of each baseline [B, 2].
    vis : numpy.ndarray
        Means [T, B, if, channel, pol]; NaN where there is none.
    weight : numpy.ndarray
        Their weights; 0 where there is none.
    uvw : Quantity
        Means [T, B, 3], metres; NaN where there is none.
    pols : list of str
        Names of the polarisations.
    notes : list of str
        What to know about the result, in sentences.
    """

    def __init__(self, visibilities: Jobs, options: Mapping[str, Any], progress: Progress | None) -> None:
        from astropy import units
        self._visibilities, self._options = visibilities, dict(options)
        with tempfile.TemporaryDirectory(prefix="zeltra-") as folder:
            name = os.path.join(folder, "average.uvx")
            result = run("average", [visibilities], [], {**options, "output": name, "no-sync": True}, progress=progress)
            self.notes = result.notes
            with open_file(name) as file:
                heads = np.array(file.records)
                streams = np.stack([heads["time"].view("i8"), heads["source"], heads["freqsel"]])
                starts = np.ones(len(heads), bool)
                starts[1:] = (streams[:, 1:] != streams[:, :-1]).any(axis=0)
                interval = np.cumsum(starts) - 1
                pairs = heads["ant1"].astype(np.int64) << 8 | heads["ant2"]
                keys, place = np.unique(pairs, return_inverse=True)
                self.baseline: NDArray[np.int64] = np.column_stack([keys >> 8, keys & 0xFF])
                self.source = heads["source"][starts].astype(np.int64)
                self.setup = heads["freqsel"][starts].astype(np.int64)
                self.time: Time = file.time[starts]
                self.pols, self.unit = file.pols, file.unit
                self._frequencies = {int(setup): file.frequencies(int(setup)) for setup in np.unique(self.setup)}
                cells = (int(starts.sum()), len(keys))
                self.vis: NDArray[np.complex64] = np.full(cells + file.shape[1:], np.nan, np.complex64)
                self.weight: NDArray[np.float32] = np.zeros(cells + file.shape[1:], np.float32)
                uvw = np.full((*cells, 3), np.nan)
                for block in file.blocks():
                    at = interval[block.numbers], place[block.numbers]
                    good = ~block.flags
                    self.vis[at] = np.where(good, block.vis, np.complex64(np.nan))
                    self.weight[at] = np.where(good, block.weight, np.float32(0))
                    uvw[at] = block._uvw_seconds() * C
        self.uvw: Quantity = uvw * units.m

    def __repr__(self) -> str:
        return f"<zeltra.Average: {len(self.time)} intervals, {len(self.baseline)} baselines, {'/'.join(self.pols)}>"

    def frequencies(self, setup: int = 1) -> Quantity:
        """Frequencies of the centres of channels [if, channel], Hz."""
        return self._frequencies[setup]

    def to_uvx(self, path: Path, *, force: bool = False, progress: Progress | None = None) -> None:
        """Write the averages as a UVX file, with the command's job.

        Parameters
        ----------
        path : str or os.PathLike
            The file to make.
        force : bool
            Replace it if it exists.
        progress : callable, optional
            As in `zeltra.run`.
        """
        run("average", [self._visibilities], [], {**self._options, "output": path, "force": force}, progress=progress)

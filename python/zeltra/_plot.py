"""Plots of visibilities: Axes of matplotlib in, Axes out."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

from collections.abc import Callable
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from ._error import missing

if TYPE_CHECKING:
    from matplotlib.axes import Axes

    from ._file import Block, Selection

CELLS = 1000
Pair = Callable[["Block"], tuple[NDArray[Any], NDArray[Any]]]


def axes_of(ax: Axes | None) -> Axes:
    """The Axes to draw into: a new figure's where none are given."""
    try:
        import matplotlib.pyplot as plt
    except ImportError as failure:
        missing("matplotlib", "a plot", failure)
    return plt.figure().add_subplot() if ax is None else ax


class Plots:
    """Plots of what is selected, as `f.plot.uv()`.

    A file is read twice, in blocks: for the ranges of the axes and for the dots, of which one is kept in each of 1000 x
    1000 cells. So single outliers among millions of values stay visible, and memory does not grow with the file.
    """

    def __init__(self, visibilities: Selection) -> None:
        self._visibilities = visibilities

    def uv(self, ax: Axes | None = None, **options: Any) -> Axes:
        """Draw the u, v plane at the frequencies of all IFs, each baseline in both directions.

        Parameters
        ----------
        ax : matplotlib.axes.Axes, optional
            Where to draw; without it a figure is made.
        **options
            Options of `Axes.plot`.

        Returns
        -------
        matplotlib.axes.Axes

        Examples
        --------
        >>> import zeltra as z
        >>> z.open("sim.uvx").plot.uv().get_xlabel()
        'u / Mλ'
        """
        axes = axes_of(ax)

        def places(block: Block) -> tuple[NDArray[Any], NDArray[Any]]:
            scale = self._frequencies(block).mean(axis=2) / 1e6
            u, v = (block.records[axis][:, None] * scale for axis in "uv")
            return np.stack([u, -u], axis=-1)[..., None], np.stack([v, -v], axis=-1)[..., None]

        self._draw(axes, places, [""], options)
        axes.set(xlabel="u / Mλ", ylabel="v / Mλ", aspect="equal")
        if not axes.xaxis_inverted():
            axes.invert_xaxis()
        return axes

    def amplitude(self, ax: Axes | None = None, x: str = "uvdist", **options: Any) -> Axes:
        """Draw amplitudes against distance in the u, v plane or time.

        Parameters
        ----------
        ax : matplotlib.axes.Axes, optional
            Where to draw; without it a figure is made.
        x : {"uvdist", "time"}
            The horizontal axis.
        **options
            Options of `Axes.plot`.

        Returns
        -------
        matplotlib.axes.Axes
        """
        axes = axes_of(ax)
        self._draw(axes, lambda block: (self._abscissa(block, x), np.abs(block.vis)), self._visibilities.pols, options)
        return self._labelled(axes, x, f"amplitude / {self._visibilities.unit}")

    def phase(self, ax: Axes | None = None, x: str = "uvdist", **options: Any) -> Axes:
        """Draw phases, in degrees, against distance in the u, v plane or time. Parameters are those of `amplitude`."""
        axes = axes_of(ax)
        self._draw(axes, lambda block: (self._abscissa(block, x), np.degrees(np.angle(block.vis))),
                   self._visibilities.pols, options)
        return self._labelled(axes, x, "phase / degrees")

    def closure(self, ax: Axes | None = None, interval: Any = 60, **options: Any) -> Axes:
        """Draw closure phases, in degrees, against time.

        Parameters
        ----------
        ax : matplotlib.axes.Axes, optional
            Where to draw; without it a figure is made.
        interval : Quantity or float
            Length of the intervals, seconds where it has no unit.
        **options
            Those of `zeltra.jobs.closure`.

        Returns
        -------
        matplotlib.axes.Axes
        """
        axes = axes_of(ax)
        columns = self._visibilities.run("closure", interval=interval, **options).columns
        hours = (columns["time"] - self._visibilities._contents.header.date_obs) * 24
        axes.errorbar(hours, np.degrees(columns["phase"]), np.degrees(columns["sigma"]), fmt=".", markersize=3,
                      elinewidth=0.5)
        return self._labelled(axes, "time", "closure phase / degrees")

    def _frequencies(self, block: Block) -> NDArray[np.float64]:
        """Frequencies [record, if, channel] in Hz."""
        setups, place = np.unique(block.records["freqsel"], return_inverse=True)
        chosen = np.stack([block.frequencies(int(setup)).value for setup in setups])
        return np.asarray(chosen[place])

    def _abscissa(self, block: Block, x: str) -> NDArray[Any]:
        records = block.records
        if x == "time":
            return ((records["time"] - self._visibilities._contents.header.date_obs) * 24)[:, None, None, None]
        if x != "uvdist":
            raise ValueError(f'x is "uvdist" or "time", not {x!r}')
        distance = np.hypot(records["u"].astype(float), records["v"])
        return (distance[:, None, None] * self._frequencies(block) / 1e6)[..., None]

    def _labelled(self, axes: Axes, x: str, label: str) -> Axes:
        axes.set(xlabel="uv distance / Mλ" if x == "uvdist" else "time / h of the observation date", ylabel=label)
        if len(self._visibilities.pols) > 1 and axes.get_legend_handles_labels()[1]:
            axes.legend(markerscale=4)
        return axes

    def _draw(self, axes: Axes, pair: Pair, series: list[str], options: dict[str, Any]) -> None:
        """Draw the unflagged values that `pair` makes of blocks; their last axis is the series."""
        low, high = np.full(2, np.inf), np.full(2, -np.inf)
        for x, y, good in self._values(pair):
            if good.any():
                both = [x[good], y[good]]
                low = np.minimum(low, [values.min() for values in both])
                high = np.maximum(high, [values.max() for values in both])
        width = np.where(high > low, high - low, 1) / (CELLS - 1)
        taken = np.zeros((len(series), CELLS, CELLS), bool)
        for x, y, good in self._values(pair):
            number = np.broadcast_to(np.arange(len(series)), good.shape)[good]
            column, row = (
                np.rint((values[good] - least) / step).astype(int) for values, least, step in zip((x, y), low, width))
            taken[number, column, row] = True
        for name, cells in zip(series, taken):
            column, row = np.nonzero(cells)
            chosen = {
                "linestyle": "", "marker": ".", "markersize": 1.5, "rasterized": True, "label": name or None, **options
            }
            axes.plot(low[0] + column * width[0], low[1] + row * width[1], **chosen)

    def _values(self, pair: Pair) -> Any:
        for block in self._visibilities.blocks():
            x, y = pair(block)
            x, y = np.broadcast_arrays(x, y)
            good = ~block.flags
            if y.shape != good.shape:  # u, v: a dot where any value of the IF counts
                good = np.broadcast_to(good.any(axis=(2, 3))[:, :, None, None], y.shape)
            yield x, y, good & np.isfinite(x) & np.isfinite(y)

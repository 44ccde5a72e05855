"""Images."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import io
import os
import tempfile
from dataclasses import dataclass
from functools import cached_property
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from ._contents import astropy_unit
from ._error import Error, reason
from ._jobs import Path, Result
from ._output import check_free, put
from ._plot import axes_of

if TYPE_CHECKING:
    from astropy.table import QTable
    from astropy.units import Quantity
    from astropy.wcs import WCS
    from matplotlib.axes import Axes


@dataclass(frozen=True)
class Beam:
    """A Gaussian beam: full widths at half maximum, position angle of the major axis from north through east."""

    major: Quantity
    minor: Quantity
    angle: Quantity


class Image:
    """An image of a source.

    Attributes
    ----------
    data : numpy.ndarray
        Pixels [y, x], north up and east to the left.
    header : astropy.io.fits.Header
        The cards of the FITS image.
    notes, reports : list of str
        What to know about the result, and what was made, in sentences.
    """

    def __init__(self, path: str, result: Result) -> None:
        from astropy.io import fits
        self.notes, self.reports = result.notes, result.reports
        with open(path, "rb") as file:
            self._bytes = file.read()
        with fits.open(io.BytesIO(self._bytes)) as units:
            self.header = units[0].header
            pixels = np.asarray(units[0].data, np.float32)
        self.data: NDArray[np.float32] = pixels.reshape(pixels.shape[-2:])

    def __repr__(self) -> str:
        lines, elements = self.data.shape
        return f"<zeltra.Image of {self.header.get('OBJECT', '')}: {elements} x {lines} pixels>"

    @property
    def components(self) -> QTable:
        """The components that CLEAN found, the table AIPS CC of the image: flux, and offsets to the east and north.

        Raises
        ------
        Error
            If the image has none.
        """
        from astropy import units
        from astropy.io import fits
        from astropy.table import QTable
        with fits.open(io.BytesIO(self._bytes)) as parts:
            found = [part.data for part in parts if part.name == "AIPS CC"]
            if not found:
                raise Error("the image has no components")
            table = QTable({"flux": np.asarray(found[0]["FLUX"], np.float64) * units.Jy})
            for name, column in (("east", "DELTAX"), ("north", "DELTAY")):
                table[name] = (np.asarray(found[0][column], np.float64) * units.deg).to(units.mas)
            return table

    @cached_property
    def wcs(self) -> WCS:
        """The two axes of the sky."""
        from astropy.wcs import WCS as AstropyWCS
        return AstropyWCS(self.header).celestial

    @property
    def beam(self) -> Beam:
        """The Gaussian with the curvature of the dirty beam at its centre."""
        from astropy import units
        return Beam(*((self.header[card] * units.deg).to(unit)
                      for card, unit in (("BMAJ", units.mas), ("BMIN", units.mas), ("BPA", units.deg))))

    @property
    def noise(self) -> Quantity:
        """Thermal noise, as expected from the weights, as a number per beam if the unit of the values is not known."""
        from astropy import units
        unit = astropy_unit(str(self.header.get("BUNIT", "")).upper().split("/")[0]) or units.dimensionless_unscaled
        return float(self.header["NOISE"]) * unit / units.beam

    def to_fits(self, path: Path, *, force: bool = False) -> None:
        """Write a FITS image.

        Parameters
        ----------
        path : str or os.PathLike
            The file to make.
        force : bool
            Replace it if it exists.
        """
        path = os.path.abspath(os.fspath(path))
        check_free(path, force)
        try:
            with tempfile.TemporaryDirectory(dir=os.path.dirname(os.path.realpath(path)), prefix=".zeltra-") as folder:
                name = os.path.join(folder, "image.fits")
                with open(name, "wb") as file:
                    file.write(self._bytes)
                put(name, path, force)
        except OSError as failure:
            raise Error(f"{path}: cannot be written: {reason(failure)}") from failure

    def plot(self, ax: Axes | None = None, **options: Any) -> Axes:
        """Draw the image.

        Parameters
        ----------
        ax : matplotlib.axes.Axes, optional
            Where to draw; without it a figure is made.
        **options
            Options of `Axes.imshow`.

        Returns
        -------
        matplotlib.axes.Axes
        """
        from astropy import units
        axes = axes_of(ax)
        lines, elements = self.data.shape
        step = (abs(self.header["CDELT2"]) * units.deg).to_value(units.mas)
        left, low = (elements / 2 + 0.5) * step, -(lines / 2 + 0.5) * step
        shown = axes.imshow(
            self.data, **{
                "origin": "lower", "cmap": "cubehelix", "interpolation": "nearest",
                "extent": (left, left - elements * step, low, low + lines * step), **options
            })
        axes.set(xlabel="east / mas", ylabel="north / mas", title=str(self.header.get("OBJECT", "")))
        axes.figure.colorbar(shown, ax=axes, label=str(self.header.get("BUNIT", "")).replace("JY/BEAM", "Jy/beam"))
        return axes

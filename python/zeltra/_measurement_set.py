"""Measurement Sets, with python-casacore."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import os
import shutil
import tempfile
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from ._contents import C
from ._convert import check_sources, geocentric
from ._error import Error, missing, reason

if TYPE_CHECKING:
    from ._file import Block, Selection

# Codes of casacore's Stokes by those of FITS: I Q U V, RR RL LR LL, XX XY YX YY.
_CORRELATIONS = {1: 1, 2: 2, 3: 3, 4: 4, -1: 5, -3: 6, -4: 7, -2: 8, -5: 9, -7: 10, -8: 11, -6: 12}
_PRODUCTS = {5: (0, 0), 6: (0, 1), 7: (1, 0), 8: (1, 1), 9: (0, 0), 10: (0, 1), 11: (1, 0), 12: (1, 1)}
_MOUNTS = {1: "EQUATORIAL", 2: "SPACE_HALCA", 3: "X-Y"}  # by MNTSTA, as casacore names them


def _seconds(days: Any) -> Any:
    """Julian dates as seconds of the modified Julian date."""
    return (days - 2400000.5) * 86400


def to_ms(selection: Selection, path: str) -> None:
    """Write a Measurement Set. It appears under its name when it is complete."""
    try:
        from casacore import tables
    except ImportError as failure:
        missing("python-casacore", "to_ms", failure)
    if 0 in selection.shape:
        raise Error(f"{selection.path}: nothing is selected")
    if os.path.lexists(path):
        raise Error(f"{path}: exists already and is not replaced unasked")
    check_sources(selection)
    try:
        folder = tempfile.mkdtemp(dir=os.path.dirname(path) or ".", prefix=".zeltra-")
    except OSError as failure:
        raise Error(f"{path}: cannot be written: {reason(failure)}") from failure
    try:
        made = os.path.join(folder, "part.ms")
        _MeasurementSet(selection, tables, made).write()
        os.rename(made, path)
    except (OSError, RuntimeError) as failure:  # casacore raises RuntimeError
        raise Error(f"{path}: cannot be written: {failure}") from failure
    finally:
        shutil.rmtree(folder, ignore_errors=True)


class _MeasurementSet:

    def __init__(self, selection: Selection, tables: Any, path: str) -> None:
        self._selection, self._tables = selection, tables
        self._contents = selection._contents
        codes = [self._contents.header.codes[self._contents.pols.index(name)] for name in selection.pols]
        correlations = np.array([_CORRELATIONS[code] for code in codes])
        self._order = np.argsort(correlations)
        self._correlations = correlations[self._order]
        self._setups = np.unique(selection.records["freqsel"]).astype(int)
        description = tables.maketabdesc([
            tables.makearrcoldesc("DATA", 0j, ndim=2, valuetype="complex"),
            tables.makearrcoldesc("WEIGHT_SPECTRUM", 0.0, ndim=2, valuetype="float")
        ])
        self._main = tables.default_ms(path, description)
        self._path = path

    def write(self) -> None:
        with self._main:
            if self._contents.time_scale == "tai":
                for column in ("TIME", "TIME_CENTROID"):
                    self._main.putcolkeyword(column, "MEASINFO", {"type": "epoch", "Ref": "TAI"})
            self._main.putcolkeyword("UVW", "MEASINFO", {"type": "uvw", "Ref": "J2000"})
            for block in self._selection.blocks():
                self._write_block(block)
        self._write_antennas()
        self._write_fields()
        self._write_frequencies()
        self._write_observation()

    def _write_block(self, block: Block) -> None:
        """A row for each record and IF; IFs vary fastest."""
        records, ifs, channels, pols = block.shape
        heads, weight = block.records, block.weight[..., self._order]
        spectrum = np.where(np.isfinite(weight), np.abs(weight), 0).reshape(records * ifs, channels, pols)
        flag = block.flags[..., self._order].reshape(spectrum.shape)
        total = spectrum.sum(axis=1)
        seconds = _seconds(heads["time"])
        integration = self._contents.integration_times(block.numbers)
        scans = np.searchsorted(self._contents.scan_list["first"], block.numbers, "right")
        setup = np.searchsorted(self._setups, heads["freqsel"])
        sources = self._contents.source_list[0]
        field = np.argsort(sources)[np.searchsorted(np.sort(sources), heads["source"])]
        columns: dict[str, NDArray[Any]] = {
            "TIME": seconds, "TIME_CENTROID": seconds, "EXPOSURE": integration, "INTERVAL": integration,
            "ANTENNA1": heads["ant1"].astype(np.int32) - 1, "ANTENNA2": heads["ant2"].astype(np.int32) - 1,
            "SCAN_NUMBER": scans.astype(np.int32), "FIELD_ID": field.astype(np.int32), "UVW": block._uvw_seconds() * C
        }
        columns = {name: np.repeat(values, ifs, axis=0) for name, values in columns.items()}
        columns["DATA"] = block.vis[..., self._order].reshape(spectrum.shape)
        columns["WEIGHT_SPECTRUM"], columns["FLAG"] = spectrum, flag
        columns["WEIGHT"] = total
        columns["SIGMA"] = np.divide(1, np.sqrt(total), out=np.zeros_like(total), where=total > 0)
        columns["FLAG_ROW"] = flag.all(axis=(1, 2))
        columns["DATA_DESC_ID"] = (setup[:, None] * ifs + np.arange(ifs)).ravel().astype(np.int32)
        for name in ("PROCESSOR_ID", "STATE_ID"):
            columns[name] = np.full(records * ifs, -1, np.int32)
        for name in ("ARRAY_ID", "FEED1", "FEED2", "OBSERVATION_ID"):
            columns[name] = np.zeros(records * ifs, np.int32)
        first = self._main.nrows()
        self._main.addrows(records * ifs)
        for name, values in columns.items():
            self._main.putcol(name, values, first, records * ifs)

    def _fill(self, name: str, rows: int, **columns: Any) -> None:
        with self._tables.table(f"{self._path}::{name}", readonly=False, ack=False) as table:
            table.addrows(rows)
            for column, values in columns.items():
                table.putcol(column, values)

    def _write_antennas(self) -> None:
        """A row for each antenna number up to the greatest, since antennas are referred to by row."""
        numbers, names, _ = self._contents.antenna_list
        used = [int(self._selection.records[end].max()) for end in ("ant1", "ant2") if len(self._selection)]
        rows = max([*numbers, *used, 0])
        positions, stations = np.zeros((rows, 3)), [""] * rows
        for number, name, position in zip(numbers, names, geocentric(self._selection)):
            positions[number - 1], stations[number - 1] = position, name
        names = [name or str(row + 1) for row, name in enumerate(stations)]
        image, mounts = self._contents.image("AN"), ["ALT-AZ"] * rows
        if image is not None and image.has("MNTSTA"):
            for number, mount in zip(numbers, image.column("MNTSTA")):
                mounts[number - 1] = _MOUNTS.get(int(mount), "ALT-AZ")
        self._fill("ANTENNA", rows, NAME=names, STATION=stations, TYPE=["GROUND-BASED"] * rows, MOUNT=mounts,
                   POSITION=positions, OFFSET=np.zeros(
                       (rows, 3)), DISH_DIAMETER=np.zeros(rows), FLAG_ROW=np.zeros(rows, bool))
        kinds = ["X", "Y"] if self._correlations.size and self._correlations[0] > 8 else ["R", "L"]
        self._fill("FEED", rows, ANTENNA_ID=np.arange(rows, dtype=np.int32), FEED_ID=np.zeros(rows, np.int32),
                   BEAM_ID=np.full(rows, -1, np.int32), SPECTRAL_WINDOW_ID=np.full(rows, -1, np.int32),
                   NUM_RECEPTORS=np.full(rows, 2, np.int32), BEAM_OFFSET=np.zeros((rows, 2, 2)), POSITION=np.zeros(
                       (rows, 3)), POLARIZATION_TYPE={"shape": [rows, 2], "array": kinds * rows},
                   RECEPTOR_ANGLE=np.zeros((rows, 2)), POL_RESPONSE=np.tile(np.eye(2, dtype=np.complex64),
                                                                            (rows, 1, 1)),
                   TIME=np.full(rows, _seconds(self._contents.header.date_obs)), INTERVAL=np.zeros(rows))

    def _write_fields(self) -> None:
        numbers, names, place = self._contents.source_list
        rows = len(numbers)
        direction = np.radians(place[:, :2])
        direction[direction[:, 0] > np.pi, 0] -= 2 * np.pi
        time = np.full(rows, _seconds(self._contents.header.date_obs))
        directions = dict.fromkeys(("DELAY_DIR", "PHASE_DIR", "REFERENCE_DIR"), direction[:, None, :])
        self._fill("FIELD", rows, NAME=names, CODE=[""] * rows, SOURCE_ID=np.arange(rows, dtype=np.int32), TIME=time,
                   NUM_POLY=np.zeros(rows, np.int32), FLAG_ROW=np.zeros(rows, bool), **directions)
        frame = "B1950" if rows and place[0, 2] == 1950 else "J2000"
        with self._tables.table(f"{self._path}::FIELD", readonly=False, ack=False) as table:
            for column in directions:
                table.putcolkeyword(column, "MEASINFO", {"type": "direction", "Ref": frame})

    def _write_frequencies(self) -> None:
        """A window for each IF of each setup, and one description of the correlations."""
        selection = self._selection
        ifs, channels = selection.shape[1:3]
        rows = ifs * len(self._setups)
        frequencies = np.concatenate([selection.frequencies(int(setup)).value for setup in self._setups
                                     ]).reshape(rows, channels)
        widths = np.concatenate([self._widths(int(setup)) for setup in self._setups])
        spread = np.broadcast_to(np.abs(widths)[:, None], frequencies.shape)
        self._fill("SPECTRAL_WINDOW", rows, NAME=["none"] * rows, NUM_CHAN=np.full(rows, channels, np.int32),
                   CHAN_FREQ=frequencies, CHAN_WIDTH=spread * np.sign(widths)[:, None], EFFECTIVE_BW=spread,
                   RESOLUTION=spread, REF_FREQUENCY=frequencies[:, 0], TOTAL_BANDWIDTH=np.abs(widths) * channels,
                   MEAS_FREQ_REF=np.full(rows, 5, np.int32), NET_SIDEBAND=np.sign(widths).astype(np.int32),
                   IF_CONV_CHAIN=np.tile(np.arange(ifs, dtype=np.int32), len(self._setups)),
                   FREQ_GROUP=np.zeros(rows, np.int32), FREQ_GROUP_NAME=["none"] * rows, FLAG_ROW=np.zeros(rows, bool))
        self._fill("DATA_DESCRIPTION", rows, SPECTRAL_WINDOW_ID=np.arange(rows, dtype=np.int32),
                   POLARIZATION_ID=np.zeros(rows, np.int32), FLAG_ROW=np.zeros(rows, bool))
        products = np.array([_PRODUCTS.get(int(code), (0, 0)) for code in self._correlations], np.int32)
        self._fill("POLARIZATION", 1, NUM_CORR=np.array([len(products)], np.int32), FLAG_ROW=np.zeros(1, bool),
                   CORR_TYPE=self._correlations[None].astype(np.int32), CORR_PRODUCT=products[None])

    def _widths(self, setup: int) -> NDArray[np.float64]:
        """Widths of a channel of each IF, Hz; negative for a lower sideband."""
        return self._contents.widths(setup)[self._selection.ifs]

    def _write_observation(self) -> None:
        header = self._contents.header
        times = self._selection.records["time"]
        span = _seconds(np.array([[times.min(), times.max()]])) if len(times) else np.zeros((1, 2))
        self._fill("OBSERVATION", 1, TELESCOPE_NAME=[header.telescope], OBSERVER=[header.observer], TIME_RANGE=span,
                   PROJECT=[""], SCHEDULE_TYPE=[""], RELEASE_DATE=np.array([_seconds(header.date_obs)]),
                   FLAG_ROW=np.zeros(1, bool))

"""Visibilities as objects of other packages."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import warnings
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from ._contents import C
from ._error import Error, missing

if TYPE_CHECKING:
    import xarray

    from ._file import Selection

_WORST_FIT, _TIE = 0.1, 1.05  # greatest misfit accepted, without precession; ratio of two from which on one is better
_SAMPLES = 512  # records from which the handedness is found


def check_sources(selection: Selection) -> None:
    """Raise Error if a record has a source that the file does not describe."""
    unknown = np.setdiff1d(selection.records["source"], selection._contents.source_list[0])
    if len(unknown):
        raise Error(f"{selection.path}: source {unknown[0]} of its records is not in its table SU")


def geocentric(selection: Selection) -> NDArray[np.float64]:
    """Positions of the antennas [antenna, 3] in metres from the centre of the Earth, x towards Greenwich, y to 90
    degrees east. Where the file does not state their handedness, it is the one that gives the file's u, v, w.
    """
    contents = selection._contents
    if contents.is_left_handed is not None:
        return contents.geocentric(contents.is_left_handed)
    right, left = contents.geocentric(False), contents.geocentric(True)
    misfits = _misfit(selection, right), _misfit(selection, left)
    if min(misfits) > _WORST_FIT or max(misfits) < _TIE * min(misfits):
        warnings.warn(
            f"{selection.path}: neither its antenna table nor its u, v, w tell the handedness of its antenna "
            "positions, which are taken as right-handed", stacklevel=4)
        return right
    return right if misfits[0] < misfits[1] else left


def _misfit(selection: Selection, positions: NDArray[np.float64]) -> float:
    """Root mean square difference between u, v of some records and those from positions, relative to that of u, v."""
    contents, records = selection._contents, selection._mapping.records()
    records = np.array(records[::max(1, len(records) // _SAMPLES)])
    ids, _, place = contents.source_list
    numbers = contents.antenna_list[0]
    listed = np.isin(records["source"], ids) & np.isin(records["ant1"], numbers) & np.isin(records["ant2"], numbers)
    records = records[listed & np.isfinite(records["u"]) & np.isfinite(records["v"])]
    given = np.stack([records["u"], records["v"]]).astype(float) * C
    if not given.any():
        return np.inf

    def row(numbers: NDArray[np.int64], wanted: NDArray[Any]) -> NDArray[np.int64]:
        order = np.argsort(numbers, kind="stable")
        return np.asarray(order[np.searchsorted(numbers[order], wanted)])

    ra, dec = np.radians(place[row(ids, records["source"])][:, :2].T)
    sidereal = np.radians((280.46061837 + 360.98564736629 * (records["time"] - 2451545)) % 360)
    x, y, z = (positions[row(numbers, records["ant1"])] - positions[row(numbers, records["ant2"])]).T
    sin, cos = np.sin(sidereal - ra), np.cos(sidereal - ra)
    made = np.stack([sin * x + cos * y, np.sin(dec) * (sin * y - cos * x) + np.cos(dec) * z])
    return float(np.sqrt(((made - given)**2).sum() / (given**2).sum()))


def to_xarray(selection: Selection) -> xarray.Dataset:
    try:
        import xarray
    except ImportError as failure:
        missing("xarray", "to_xarray", failure)
    records, contents = selection.records, selection._contents
    setups = np.unique(records["freqsel"]).astype(np.int64)
    frequencies = np.stack([selection.frequencies(int(setup)).value for setup in setups]) if len(setups) else (np.empty(
        (0, *selection.shape[1:3])))
    values = ("record", "if", "channel", "pol")
    data = {
        "vis": (values, np.array(selection.vis), {"units": contents.header.unit}),
        "weight": (values, np.array(selection.weight)), "flag": (values, selection.flags), "uvw": (
            ("record", "axis"), selection._uvw_seconds() * C, {"units": "m"})
    }
    seconds = (records["time"] - contents.header.date_obs) * 86400
    coords = {
        "time": ("record", np.array(records["time"]), {"units": "JD", "scale": contents.time_scale}),
        "seconds": ("record", seconds, {"units": "s", "since": "0 h of the observation date"}), "frequency": (
            ("setup", "if", "channel"), frequencies, {"units": "Hz"}), "record": selection.numbers, "if": selection.ifs,
        "channel": selection.channels, "pol": selection.pols, "setup": setups, "axis": ["u", "v", "w"]
    }
    for name, field in (("ant1", "ant1"), ("ant2", "ant2"), ("source", "source"), ("freqsel", "freqsel")):
        coords[name] = ("record", np.array(records[field]))
    attributes = {"telescope": contents.header.telescope, "observer": contents.header.observer}
    return xarray.Dataset(data, coords, attributes)


def to_pyuvdata(selection: Selection) -> Any:
    try:
        from pyuvdata import Telescope, UVData
    except ImportError as failure:
        missing("pyuvdata", "to_pyuvdata", failure)
    from astropy import units
    from astropy.coordinates import EarthLocation
    from astropy.time import Time
    contents, records = selection._contents, selection.records
    setups = np.unique(records["freqsel"])
    if len(setups) != 1:
        raise Error(
            f"{selection.path}: a UVData has one frequency setup, there are {', '.join(map(str, setups)) or 'none'}")
    blts, ifs, channels, pols = selection.shape
    frequencies = selection.frequencies(int(setups[0])).value
    numbers, names, _ = contents.antenna_list
    check_sources(selection)
    positions = geocentric(selection)
    center = contents.array_center if contents.array_center.any() else positions[0]

    telescope = Telescope()
    telescope.name = telescope.instrument = contents.header.telescope or "unknown"
    telescope.location = EarthLocation.from_geocentric(*center, unit=units.m)
    telescope.Nants, telescope.antenna_names, telescope.antenna_numbers = len(numbers), np.array(names), numbers
    telescope.antenna_positions = positions - center
    uv = UVData()
    uv.telescope = telescope
    uv.history = "\n".join(_cards(selection))
    uv.vis_units = {"jy": "Jy", "k": "K str"}.get(contents.header.unit.lower(), "uncalib")

    uv.Nblts, uv.Nspws, uv.Nfreqs, uv.Npols = blts, ifs, ifs * channels, pols
    ant1, ant2 = records["ant1"].astype(np.int64), records["ant2"].astype(np.int64)
    uv.ant_1_array, uv.ant_2_array = ant1, ant2
    uv.baseline_array = 2048 * ant1 + ant2 + 2**16
    uv.Nbls = len(np.unique(uv.baseline_array))
    uv.Nants_data = len(np.unique(np.concatenate([ant1, ant2])))
    time = Time(np.full(blts, contents.header.date_obs), records["time"] - contents.header.date_obs, format="jd",
                scale=contents.time_scale)
    uv.time_array = time.utc.jd
    uv.Ntimes = len(np.unique(uv.time_array))
    uv.integration_time = contents.integration_times(selection.numbers)
    uv.freq_array = frequencies.ravel()
    uv.channel_width = np.repeat(np.abs(contents.widths(int(setups[0])))[selection.ifs], channels)
    uv.spw_array = np.arange(ifs)
    uv.flex_spw_id_array = np.repeat(uv.spw_array, channels)
    uv.polarization_array = np.array([contents.header.codes[contents.pols.index(name)] for name in selection.pols])

    weight = selection.weight.reshape(blts, ifs * channels, pols)
    uv.data_array = np.conj(selection.vis.reshape(blts, ifs * channels, pols))
    uv.flag_array = selection.flags.reshape(weight.shape)
    uv.nsample_array = np.where(np.isfinite(weight), np.abs(weight), 0)
    uv.uvw_array = -C * selection._uvw_seconds()

    ids, source_names, place = contents.source_list
    catalog = {}
    for number, name, (ra, dec, equinox) in zip(ids, source_names, place):
        catalog[int(number)] = {
            "cat_name": name, "cat_type": "sidereal", "cat_lon": np.radians(ra), "cat_lat": np.radians(dec),
            "cat_frame": "fk4" if equinox < 1984 else "fk5", "cat_epoch": float(equinox), "info_source": "file"
        }
    uv.phase_center_catalog, uv.Nphase = catalog, len(catalog)
    uv.phase_center_id_array = records["source"].astype(np.int64)
    uv.set_lsts_from_time_array()
    uv._set_app_coords_helper()
    return uv


def _cards(selection: Selection) -> list[str]:
    """The history of the file."""
    image = selection._contents.image("HD")
    cards = [] if image is None else [str(card) for card in image.column("CARD")]
    return [card[8:].strip() for card in cards if card.startswith("HISTORY")]

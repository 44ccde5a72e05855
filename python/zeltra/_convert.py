"""Visibilities as objects of other packages."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from ._contents import C
from ._error import Error, missing

if TYPE_CHECKING:
    import xarray

    from ._file import Selection


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
    positions = contents.geocentric()
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
    uv.flag_array = ~(weight > 0) | (records["flag"] != 0)[:, None, None]
    uv.nsample_array = np.abs(weight)
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

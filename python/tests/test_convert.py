"""Visibilities in other packages."""
# SPDX-License-Identifier: MIT
import os
import subprocess
import sys
import types

import numpy as np
import pytest
from astropy.io import fits

import zeltra as z


def test_xarray_has_names_for_everything(sim):
    pytest.importorskip("xarray")
    f = z.open(sim).select(source=2, channels=[1, 3], pols=["RR", "LL"])
    data = f.to_xarray()
    assert dict(data.sizes) == {"record": 7290, "if": 2, "channel": 2, "pol": 2, "axis": 3, "setup": 1}
    assert (data.vis.values == f.vis).all() and (data.flag.values == f.flags).all()
    assert data.frequency.sel(channel=3).values[0, 1] == 8.416e9 + 3 * 4e6
    assert data.vis.sel(pol="LL", record=2500).values[0, 0] == z.open(sim).vis[2500, 0, 1, 1]


class StandIn:
    """Keeps what is set, as UVData and Telescope do."""

    def set_lsts_from_time_array(self):
        self.lst_array = np.zeros_like(self.time_array)

    def _set_app_coords_helper(self):
        self.has_app_coords = True


def test_pyuvdata_gets_its_documented_arrays(sim, monkeypatch):
    monkeypatch.setitem(sys.modules, "pyuvdata", types.SimpleNamespace(UVData=StandIn, Telescope=StandIn))
    f = z.open(sim)
    uv = f.to_pyuvdata()
    assert uv.data_array.shape == uv.flag_array.shape == uv.nsample_array.shape == (14580, 8, 4)
    assert (uv.Nblts, uv.Nfreqs, uv.Npols, uv.Nspws, uv.Nbls, uv.Ntimes) == (14580, 8, 4, 2, 45, 324)
    assert uv.data_array[9, 5, 2] == np.conj(f.vis[9, 1, 1, 2])
    assert np.array_equal(uv.uvw_array, -f.uvw.value)
    assert uv.freq_array[5] == 8.42e9 and uv.flex_spw_id_array.tolist() == [0] * 4 + [1] * 4
    assert uv.channel_width.tolist() == [4e6] * 8 and uv.integration_time[0] == 10
    assert uv.polarization_array.tolist() == [-1, -2, -3, -4]
    assert np.array_equal(uv.flag_array, f.flags.reshape(14580, 8, 4))
    assert np.array_equal(uv.nsample_array, np.abs(f.weight).reshape(14580, 8, 4))
    assert uv.telescope.antenna_names[1] == "FD" and uv.phase_center_catalog[2]["cat_name"] == "3C279"
    assert np.allclose(uv.telescope.antenna_positions[1] - uv.telescope.antenna_positions[0],
                       f.antennas["xyz"].value[1] - f.antennas["xyz"].value[0])


def test_missing_packages_are_named(sim, monkeypatch):
    for package, convert in [("pyuvdata", "to_pyuvdata"), ("xarray", "to_xarray")]:
        monkeypatch.setitem(sys.modules, package, None)
        with pytest.raises(ImportError, match=f"{convert} needs the package {package}"):
            getattr(z.open(sim), convert)()


@pytest.mark.parametrize("name", ["mojave", "j0414_a3dtable", "eht_m87_095_hi", "hera_su_1024ch"])
@pytest.mark.filterwarnings("ignore::DeprecationWarning")
def test_measurement_sets_agree_with_the_import_of_casacore(real, command, tmp_path, name):
    table = pytest.importorskip("casacore.tables").table
    importer = os.environ.get("ZELTRA_CASACORE_IMPORT") or pytest.skip(
        "casacore-dev or libcfitsio-dev is not installed")
    command("export", real[name], tmp_path / "a.uvfits")
    with fits.open(tmp_path / "a.uvfits") as units:  # casacore wants a list of sources with the number of IFs, or none
        kept = [unit for unit in units if unit.name != "AIPS SU" or "NO_IF" in unit.header]
        fits.HDUList(kept).writeto(tmp_path / "b.uvfits")
    wanted, made = str(tmp_path / "wanted.ms"), str(tmp_path / "made.ms")
    subprocess.run([importer, tmp_path / "b.uvfits", wanted], check=True, capture_output=True)
    f = z.open(real[name])
    f.to_ms(made)
    with pytest.raises(z.Error, match="made.ms: exists already"):
        f.to_ms(made)
    assert sorted(os.listdir(tmp_path)) == ["a.uvfits", "b.uvfits", "made.ms", "wanted.ms"]
    columns = {
        "": "UVW FLAG ANTENNA1 ANTENNA2 ARRAY_ID DATA_DESC_ID FIELD_ID OBSERVATION_ID TIME TIME_CENTROID DATA "
            "WEIGHT_SPECTRUM FEED1 FEED2", "::ANTENNA": "POSITION STATION", "::FIELD": "NAME NUM_POLY",
        "::SPECTRAL_WINDOW": "CHAN_FREQ CHAN_WIDTH RESOLUTION TOTAL_BANDWIDTH REF_FREQUENCY NUM_CHAN",
        "::POLARIZATION": "CORR_TYPE CORR_PRODUCT", "::DATA_DESCRIPTION": "SPECTRAL_WINDOW_ID POLARIZATION_ID"
    }
    if f.table("HD") and name != "j0414_a3dtable":  # without integration times casacore takes the least spacing
        columns[""] += " EXPOSURE INTERVAL"
    for part, names in columns.items():
        with table(made + part, ack=False) as mine, table(wanted + part, ack=False) as theirs:
            told = {column: theirs.getcol(column) for column in names.split()}
            if not part:  # infinite weights, which do not count
                infinite = ~np.isfinite(told["WEIGHT_SPECTRUM"])
                told["FLAG"][infinite], told["WEIGHT_SPECTRUM"][infinite] = True, 0
            if name == "j0414_a3dtable" and part == "::ANTENNA":  # its u, v, w are of left-handed positions
                told["POSITION"][:, 1] *= -1
            for column, wanted_cells in told.items():
                np.testing.assert_array_equal(mine.getcol(column), wanted_cells, column)
            if not part:  # casacore adds up in single precision, in another order
                good = ~infinite.any(axis=1)
                for column in ("WEIGHT", "SIGMA"):
                    np.testing.assert_allclose(mine.getcol(column)[good], theirs.getcol(column)[good], rtol=1e-4)
    with table(made + "::FIELD", ack=False) as mine, table(wanted + "::FIELD", ack=False) as theirs:
        np.testing.assert_allclose(mine.getcol("PHASE_DIR"), theirs.getcol("PHASE_DIR"), rtol=0, atol=1e-14)
    with table(made, ack=False) as mine:
        scans = f.scans
        assert mine.getcol("SCAN_NUMBER")[::f.shape[1]].tolist() == np.searchsorted(scans["first"], f.numbers,
                                                                                    "right").tolist()


@pytest.mark.filterwarnings("ignore::DeprecationWarning")
def test_measurement_sets_have_the_field_of_each_record(sim, tmp_path):
    table = pytest.importorskip("casacore.tables").table
    f = z.open(sim).select(source="3C279", ifs=1)
    f.to_ms(tmp_path / "a.ms")
    with table(str(tmp_path / "a.ms"), ack=False) as made:
        assert set(made.getcol("FIELD_ID")) == {1} and set(made.getcol("SCAN_NUMBER")) == {2, 4, 6}
        assert made.getcol("DATA").shape == (7290, 4, 4)

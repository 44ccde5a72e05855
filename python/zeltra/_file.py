"""Files, selections and blocks: one object with plain arrays."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import gzip
import mmap
import os
import shutil
import tempfile
import weakref
import zlib
from collections.abc import Callable, Iterator, Sequence
from functools import cached_property
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from . import _layout
from ._contents import C, Contents, astropy_unit
from ._error import Error, reason
from ._jobs import Jobs, run
from ._library import Progress
from ._select import (Baselines, Conditions, Moment, Names, Numbers, Place, job_options, numbers_of, places, pol_places,
                      record_places)

if TYPE_CHECKING:
    import xarray
    from astropy.table import QTable, Table
    from astropy.time import Time
    from astropy.units import Quantity

    from ._plot import Plots

BLOCK_BYTES = 1 << 22


class Visibilities:
    """What a file, a selection and a block have in common: records, and values [record, if, channel, pol]."""

    _contents: Contents
    records: NDArray[np.void]
    vis: NDArray[np.complex64]
    weight: NDArray[np.float32]
    ifs: NDArray[np.int64]
    channels: NDArray[np.int64]
    pols: list[str]

    def __len__(self) -> int:
        return len(self.records)

    @property
    def shape(self) -> tuple[int, int, int, int]:
        """Numbers of records, IFs, channels and polarisations."""
        return len(self), len(self.ifs), len(self.channels), len(self.pols)

    @property
    def flags(self) -> NDArray[np.bool_]:
        """Whether values do not count [record, if, channel, pol]: their weight is not above 0, their record is flagged,
        or value or weight is not finite.
        """
        vis, weight = self.vis, self.weight
        good = (weight > 0) & np.isfinite(weight) & np.isfinite(vis)
        good &= (self.records["flag"] == 0)[:, None, None, None]
        return np.asarray(~good)

    @property
    def uvw(self) -> Quantity:
        """Position of antenna 1 minus that of antenna 2 [record, 3], metres."""
        from astropy import units
        return units.Quantity(self._uvw_seconds() * C, units.m, copy=False)

    def _uvw_seconds(self) -> NDArray[np.float64]:
        records = self.records
        return np.column_stack([records[axis].astype(np.float64) for axis in "uvw"])

    @property
    def time(self) -> Time:
        """The middle of each integration, in the time scale of the file."""
        from astropy.time import Time as AstropyTime
        date = self._contents.header.date_obs
        days = self.records["time"] - date  # exact: both are Julian dates close to each other
        return AstropyTime(np.full(len(days), date), days, format="jd", scale=self._contents.time_scale)

    @property
    def unit(self) -> Any:
        """Unit of the values, as astropy's where it knows it."""
        text = self._contents.header.unit
        return astropy_unit(text) or text

    def frequencies(self, setup: int = 1) -> Quantity:
        """Frequencies of the centres of channels.

        Parameters
        ----------
        setup : int
            Number of the frequency setup.

        Returns
        -------
        Quantity
            [if, channel], Hz
        """
        from astropy import units
        return self._contents.frequencies(setup)[np.ix_(self.ifs, self.channels)] * units.Hz


class Block(Visibilities):
    """Some records, read into memory of their own: aligned and contiguous.

    Attributes
    ----------
    numbers : numpy.ndarray
        Numbers of the records in the file, from 0.
    """

    def __init__(self, contents: Contents, raw: NDArray[np.uint8], numbers: NDArray[np.int64], axes: Axes) -> None:
        self._contents, self.numbers = contents, numbers
        self.ifs, self.channels, self.pols = axes.ifs, axes.channels, axes.pols
        self._axes = axes
        self._values = _values(raw, contents, 0, len(numbers))
        self.records = np.ascontiguousarray(_heads(raw, contents, 0, len(numbers)))

    @cached_property
    def vis(self) -> NDArray[np.complex64]:  # type: ignore[override]
        return np.ascontiguousarray(self._axes.of(self._values[0]))

    @cached_property
    def weight(self) -> NDArray[np.float32]:  # type: ignore[override]
        return np.ascontiguousarray(self._axes.of(self._values[1]))


class Axes:
    """The IFs, channels and polarisations that are taken."""

    def __init__(self, wanted: Conditions, contents: Contents) -> None:
        header = contents.header
        self._if_place = places(wanted.ifs, header.ifs, "IF", contents.path)
        self._channel_place = places(wanted.channels, header.channels, "channel", contents.path)
        self._pol_place = pol_places(wanted.pols, contents)
        self.ifs, self.channels = numbers_of(self._if_place), numbers_of(self._channel_place)
        self.pols = [contents.pols[place] for place in numbers_of(self._pol_place)]

    def of(self, values: NDArray[Any]) -> NDArray[Any]:
        """The selected part of values [record, if, channel, pol]; a view if places are evenly spaced."""
        return picked(values, [slice(None), self._if_place, self._channel_place, self._pol_place])

    def with_records(self, values: NDArray[Any], place: Place) -> NDArray[Any]:
        """The selected part of the values of some records."""
        return picked(values, [place, self._if_place, self._channel_place, self._pol_place])


def picked(values: NDArray[Any], wanted: Sequence[Place]) -> NDArray[Any]:
    """Take places along the axes, slices first: these make views, so that nothing is copied needlessly."""
    for views in (True, False):
        for axis, place in enumerate(wanted):
            if isinstance(place, slice) == views:
                values = values[(slice(None),) * axis + (place,)]
    return values


def _heads(raw: Any, contents: Contents, offset: int, count: int) -> NDArray[np.void]:
    """The heads of records, which precede their values, as a view."""
    return np.ndarray((count,), _layout.RECORD_HEAD, raw, offset, (contents.header.record_bytes,))


def _values(raw: Any, contents: Contents, offset: int, count: int) -> tuple[NDArray[Any], NDArray[Any]]:
    """Views of values and weights, with steps of 12 bytes."""
    header = contents.header
    pols = len(header.codes)
    shape = (count, header.ifs, header.channels, pols)
    if 0 in shape:
        return np.empty(shape, "<c8"), np.empty(shape, "<f4")
    step = _layout.VALUE_BYTES
    strides = (header.record_bytes, step * header.channels * pols, step * pols, step)
    first = offset + _layout.RECORD_HEAD.itemsize
    return np.ndarray(shape, "<c8", raw, first, strides), np.ndarray(shape, "<f4", raw, first + 8, strides)


class Mapping:
    """The bytes of a file as memory, shared by the file and its selections."""

    notes: Sequence[str] = ()  # of the import

    remove: Callable[[], object] | None = None  # the folder of a temporary file

    def __init__(self, path: str) -> None:
        self.path = path
        try:
            with open(path, "rb") as file:
                self._stamp = _stamp(os.fstat(file.fileno()))
                empty = os.fstat(file.fileno()).st_size == 0
                raw: mmap.mmap | bytes = (b"" if empty else
                                         mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ))
        except (OSError, ValueError) as failure:
            why = reason(failure) if isinstance(failure, OSError) else str(failure)
            raise Error(f"{path}: cannot be read: {why}") from failure
        self.contents = Contents(raw, path)

    def close(self) -> None:
        self.contents.close()
        if self.remove is not None:
            self.remove()

    def records(self) -> NDArray[np.void]:
        header = self.contents.header
        return _heads(self.contents.raw(), self.contents, header.data_offset, header.records)

    def values(self) -> tuple[NDArray[Any], NDArray[Any]]:
        header = self.contents.header
        return _values(self.contents.raw(), self.contents, header.data_offset, header.records)

    def check_unchanged(self) -> None:
        """Raise Error if the name now belongs to another file than the one that was opened."""
        try:
            same = _stamp(os.stat(self.path)) == self._stamp
        except OSError as failure:
            raise Error(f"{self.path}: cannot be read: {reason(failure)}") from failure
        if not same:
            raise Error(f"{self.path}: has changed since it was opened")


def _stamp(status: os.stat_result) -> tuple[int, int, int]:
    return status.st_ino, status.st_size, status.st_mtime_ns


class Selection(Visibilities, Jobs):
    """The part of a file that `select` names, with the attributes of the file. Nothing is read until it is asked for.

    Where the records, IFs, channels and polarisations are evenly spaced, `records`, `vis` and `weight` are views of the
    file, and otherwise copies.
    """

    def __init__(self, mapping: Mapping, wanted: Conditions) -> None:
        self._mapping, self._wanted = mapping, wanted
        self._contents = mapping.contents
        self._axes = Axes(wanted, self._contents)
        self.ifs, self.channels, self.pols = self._axes.ifs, self._axes.channels, self._axes.pols

    def __repr__(self) -> str:
        records, ifs, channels, pols = self.shape
        return (f"<zeltra.{type(self).__name__} {self._contents.path!r}: {records} records, {ifs} IFs, "
                f"{channels} channels, {'/'.join(self.pols)}>")

    @cached_property
    def _place(self) -> Place:
        return record_places(self._contents, self._mapping.records(), self._wanted)

    def __len__(self) -> int:
        place = self._place
        return len(range(place.start, place.stop, place.step)) if isinstance(place, slice) else len(place)

    @property
    def records(self) -> NDArray[np.void]:  # type: ignore[override]
        """Fields flag, freqsel, source, u, v, w (seconds), time (Julian date), ant1, ant2 of each record, read-only."""
        return self._mapping.records()[self._place]

    @property
    def vis(self) -> NDArray[np.complex64]:  # type: ignore[override]
        """Values [record, if, channel, pol], read-only, in the unit `unit`."""
        return self._axes.with_records(self._mapping.values()[0], self._place)

    @property
    def weight(self) -> NDArray[np.float32]:  # type: ignore[override]
        """Weights [record, if, channel, pol], read-only; a value whose weight is not above 0 is flagged."""
        return self._axes.with_records(self._mapping.values()[1], self._place)

    @property
    def numbers(self) -> NDArray[np.int64]:
        """Numbers of the records in the file, from 0."""
        return numbers_of(self._place)

    @property
    def path(self) -> str:
        """Name of the UVX file."""
        return self._contents.path

    @property
    def epoch(self) -> float:
        """Equinox of the coordinates, years, where the table of sources has none."""
        return self._contents.header.epoch

    @property
    def observer(self) -> str:
        return self._contents.header.observer

    @property
    def telescope(self) -> str:
        return self._contents.header.telescope

    @property
    def notes(self) -> list[str]:
        """What to know about the input, where it was imported from UV FITS, in sentences."""
        return list(self._mapping.notes)

    @property
    def antennas(self) -> Table:
        """A row for each antenna: number, name, and xyz as the file has it; .meta["array_center"]."""
        return self._contents.antenna_table()

    @property
    def sources(self) -> Table:
        """A row for each source: number, name, coord."""
        return self._contents.source_table()

    @property
    def scans(self) -> Table:
        """A row for each scan of the file: source, setup, subarray, start and stop (times of its first and last
        record), and the numbers of these records, from 0.
        """
        from astropy.table import QTable
        from astropy.time import Time as AstropyTime
        contents = self._contents
        contents.check_scans()
        scans, times = contents.scan_list, self._mapping.records()["time"]
        table = QTable({name: scans[name] for name in ("source", "setup", "subarray")})
        date = contents.header.date_obs
        for name, places in (("start", scans["first"]), ("stop", scans["end"] - 1)):
            days = times[places] - date
            table[name] = AstropyTime(np.full(len(days), date), days, format="jd", scale=contents.time_scale)
            table[name].format = "iso"
        table["first"], table["last"] = scans["first"], scans["end"] - 1
        return table

    @property
    def tables(self) -> list[str]:
        """Codes of the tables of the file."""
        return self._contents.codes

    def table(self, code: str, version: int = 1) -> QTable:
        """Read a table.

        Parameters
        ----------
        code : str
            As in "AN".
        version : int
            Which of several tables of this code, from 1.

        Returns
        -------
        QTable
            The table as it stands in the file, with numbers counted as in the file; keywords are in .meta.
        """
        return self._contents.table(code, version)

    def select(self, *, source: Names | None = None, antenna: Names | None = None, baseline: Baselines | None = None,
               setup: int | None = None, scan: Numbers | None = None, time: tuple[Moment, Moment] | None = None,
               ifs: Numbers | None = None, channels: Numbers | None = None, pols: str | Sequence[str] | None = None,
               uvrange: tuple[float | None, float | None] | None = None) -> Selection:
        """Select a part; what is selected may be narrowed down by other conditions.

        Parameters
        ----------
        source : int, str or list
            Numbers or names; "=7" is the source whose name is 7.
        antenna : int, str or list
            All baselines of this antenna, or those between several.
        baseline : str, tuple or list
            Baselines as "PT-LA" or ("PT", "LA"), stored in either order.
        setup : int
            Number of the frequency setup.
        scan, ifs, channels : int, slice or list
            Counted from 0, and taken in ascending order; or an array with True for each that is taken.
        time : tuple
            First and last time: Time, Julian date, modified Julian date, text, or None. Text is an ISO date, or "07:30"
            of the observation's first day, "+1/07:30" of the next, in the time scale of the file.
        pols : str or list
            Polarisations that are stored.
        uvrange : tuple
            Least and greatest distance in the u, v plane in wavelengths, at the middle of the selected frequencies;
            None is no bound.

        Returns
        -------
        Selection

        Examples
        --------
        >>> import zeltra as z
        >>> f = z.open("sim.uvx")
        >>> f.select(source="3C279", antenna="PT", pols="RR", channels=slice(1, 3)).shape
        (1458, 2, 2, 1)
        """
        more = Conditions(source, antenna, baseline, setup, scan, time, ifs, channels, pols, uvrange)
        return Selection(self._mapping, self._wanted.joined(more))

    def blocks(self, records: int | None = None) -> Iterator[Block]:
        """Go through the records in blocks, so that memory is needed for one block only.

        Parameters
        ----------
        records : int, optional
            The largest number of records in a block; by default as many as fit into 4 MiB, which the processor's cache
            holds.

        Yields
        ------
        Block
            With attributes as those of the file; arrays are aligned and contiguous.
        """
        header, place = self._contents.header, self._place
        if records is not None and records < 1:
            raise Error(f"{self.path}: a block has at least 1 record, not {records}")
        records = records or max(1, BLOCK_BYTES // header.record_bytes)
        self._mapping.check_unchanged()
        with open(self.path, "rb", buffering=0) as file:
            for at in range(0, len(self), records):
                numbers = (np.array(range(place.start, place.stop, place.step)[at:at + records]) if isinstance(
                    place, slice) else place[at:at + records])
                raw = np.empty(len(numbers) * header.record_bytes, np.uint8)
                done = 0
                for run in np.split(numbers, np.flatnonzero(np.diff(numbers) != 1) + 1):
                    size = len(run) * header.record_bytes
                    _read(file, raw[done:done + size], header.data_offset + int(run[0]) * header.record_bytes,
                          self.path)
                    done += size
                yield Block(self._contents, raw, numbers, self._axes)

    @property
    def plot(self) -> Plots:
        """Plots on Axes of matplotlib."""
        from ._plot import Plots
        return Plots(self)

    def to_xarray(self) -> xarray.Dataset:
        """Copy all that is selected into a Dataset of the package xarray, with dimensions record, if, channel, pol."""
        from ._convert import to_xarray
        return to_xarray(self)

    def to_pyuvdata(self) -> Any:
        """Copy all that is selected into a UVData of the package pyuvdata.

        Values are conjugated and u, v, w negated, so that phases follow the convention of that package; IFs become
        spectral windows.
        """
        from ._convert import to_pyuvdata
        return to_pyuvdata(self)

    def to_ms(self, path: str | os.PathLike[str]) -> None:
        """Write a Measurement Set with the package python-casacore; `path` must not exist."""
        from ._measurement_set import to_ms
        to_ms(self, os.fspath(path))

    def _times(self, days: Any) -> Time:
        from astropy.time import Time as AstropyTime
        times = AstropyTime(days, format="jd", scale=self._contents.time_scale)
        times.format = "iso"
        return times

    def _job_input(self) -> tuple[str, dict[str, str]]:
        self._mapping.check_unchanged()
        return self.path, job_options(self._wanted, self._contents)


def _read(file: Any, target: NDArray[np.uint8], offset: int, path: str) -> None:
    file.seek(offset)
    done = 0
    while done < len(target):
        got = file.readinto(target[done:].data)
        if not got:
            raise Error(f"{path}: ends at byte {offset + done}, within its records")
        done += got


class File(Selection):
    """A UVX file, open for reading. Made by `zeltra.open`.

    The arrays `records`, `vis` and `weight` are read-only views of the file itself: using a part of them reads no more
    than that part. They keep the file mapped for as long as they live, even after `close`. For arithmetic on whole
    files `blocks` is faster, since values of a UVX file are not aligned.
    """

    def __init__(self, mapping: Mapping) -> None:
        super().__init__(mapping, Conditions())

    def __enter__(self) -> File:
        return self

    def __exit__(self, *failure: object) -> None:
        self.close()

    def close(self) -> None:
        """Let go of the file. Arrays that were taken from it stay valid; nothing more can be taken."""
        self._mapping.close()


def open_file(path: str | os.PathLike[str], progress: Progress | None = None) -> File:
    """Open a UVX file, or a UV FITS file by way of a temporary one.

    Parameters
    ----------
    path : str or os.PathLike
        Name of the file.
    progress : callable, optional
        Called with the step and its percentage while a UV FITS file is imported.

    Returns
    -------
    File
        To be used in a `with` statement, or closed by `close`.

    Raises
    ------
    Error
        If the file cannot be read, is of another type or is damaged.

    Examples
    --------
    >>> import zeltra as z
    >>> with z.open("sim.uvx") as f:
    ...     f.shape, f.pols
    ((14580, 2, 4, 4), ['RR', 'LL', 'RL', 'LR'])
    """
    path = os.fspath(path)
    try:
        with open(path, "rb") as file:
            start = file.read(6)
    except OSError as failure:
        raise Error(f"{path}: cannot be read: {reason(failure)}") from failure
    is_packed = start.startswith(b"\x1f\x8b")
    if start != b"SIMPLE" and not is_packed:
        return File(Mapping(path))
    folder = tempfile.mkdtemp(prefix="zeltra-")
    try:
        made = plain = os.path.join(folder, os.path.basename(path))
        if is_packed:
            made = plain = _unpacked(path, made.removesuffix(".gz"))
        made = os.path.splitext(made)[0] + ".uvx"
        try:
            result = run("import", [plain if is_packed else path], [made], {"no-sync": True}, progress=progress)
        except Error as failure:
            raise Error(str(failure).replace(plain, path)) from None
        mapping = Mapping(made)
    except BaseException:
        shutil.rmtree(folder, ignore_errors=True)
        raise
    mapping.notes = [note.replace(plain, path) for note in result.notes]
    mapping.remove = weakref.finalize(mapping, _remove, folder, os.getpid())
    return File(mapping)


def _remove(folder: str, owner: int) -> None:
    """Remove a temporary folder, unless this is a copy of the process that made it."""
    if os.getpid() == owner:
        shutil.rmtree(folder, ignore_errors=True)


def _unpacked(path: str, target: str) -> str:
    """Decompress a gzip file. @return the target"""
    try:
        with gzip.open(path) as packed, open(target, "wb") as file:
            shutil.copyfileobj(packed, file)
    except (OSError, EOFError, zlib.error) as failure:
        raise Error(f"{path}: cannot be decompressed: {failure}") from failure
    return target

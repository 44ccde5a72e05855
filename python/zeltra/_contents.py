"""The lists of a file: antennas, sources, scans and frequencies, and the names by which users select their items."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import functools
import mmap
from collections.abc import Callable, Sequence
from functools import cached_property
from typing import TYPE_CHECKING, Any, ParamSpec, TypeVar, Union

import numpy as np
from numpy.typing import NDArray

from . import _layout
from ._error import Error
from ._layout import Header, TableImage

if TYPE_CHECKING:
    from astropy.table import QTable, Table

P = ParamSpec("P")
T = TypeVar("T")
Name = Union[int, str]
C = 299792458.0  # m/s
REMEDY = "; 'zeltra copy' writes a file with a new one"
_MOST_NAMED = 20
_UNITS = {
    "METERS": "m", "METER": "m", "DEGREES": "deg", "DEG": "deg", "SECONDS": "s", "SEC": "s", "DAYS": "d", "DAY": "d",
    "HZ": "Hz", "RADIANS": "rad", "YEARS": "yr", "JY": "Jy", "KELVIN": "K", "KELVINS": "K", "M/SEC": "m/s",
    "METERS/SEC": "m/s", "HZ/SEC": "Hz/s"
}


def astropy_unit(text: str) -> Any:
    """The unit that a table or header names, or None where astropy knows none."""
    from astropy import units
    known = _UNITS.get(text.upper(), text)
    try:
        return units.Unit(known) if known else None
    except ValueError:
        return None


def _named(number: int, name: str) -> str:
    return f"{number} ({name})" if name else str(number)


def _joined(names: Sequence[str]) -> str:
    rest = len(names) - _MOST_NAMED
    return (", ".join(names[:_MOST_NAMED]) or "none") + (f" and {rest} more" if rest > 0 else "")


def _reads(code: str) -> Callable[[Callable[P, T]], Callable[P, T]]:
    """Turns the exceptions of a function that meets unexpected contents of a table into an Error."""

    def decorated(function: Callable[P, T]) -> Callable[P, T]:

        @functools.wraps(function)
        def guarded(*arguments: P.args, **named: P.kwargs) -> T:
            try:
                return function(*arguments, **named)
            except (KeyError, IndexError, OverflowError, TypeError, ValueError) as failure:
                path = getattr(arguments[0], "path")
                raise Error(f"{path}: the table {code} does not hold what it must: {failure}") from failure

        return guarded

    return decorated


class Contents:
    """Header and tables of an open file; each list is read when it is first asked for."""

    def __init__(self, raw: mmap.mmap | bytes, path: str) -> None:
        self.path = path
        self.header: Header = _layout.read_header(raw, path)
        self._raw: mmap.mmap | bytes | None = raw
        self._directory = _layout.read_directory(raw, self.header, path)
        self._images: dict[int, TableImage] = {}

    def close(self) -> None:
        """Let go of the mapping."""
        self._raw = None

    def raw(self) -> mmap.mmap | bytes:
        """The bytes, unless the file has become shorter: touching bytes that are gone would end the process."""
        if self._raw is None:
            raise Error(f"{self.path}: is closed")
        if isinstance(self._raw, mmap.mmap) and self._raw.size() < len(self._raw):
            raise Error(f"{self.path}: has become shorter since it was opened")
        return self._raw

    @property
    def pols(self) -> list[str]:
        return [_layout.POLARISATIONS.get(code, str(code)) for code in self.header.codes]

    @property
    def codes(self) -> list[str]:
        """The codes of the tables, in the order of the file."""
        return [code for code, _, _ in self._directory]

    def image(self, code: str, version: int = 1) -> TableImage | None:
        """A table as it is stored, None if there is none; `version` counts those of the same code from 1."""
        places = [place for place, entry in enumerate(self._directory) if entry[0] == code]
        if not 1 <= version <= len(places):
            return None
        place = places[version - 1]
        if place not in self._images:
            self._images[place] = _layout.read_table(self.raw(), *self._directory[place], self.path)
        return self._images[place]

    def needed(self, code: str, version: int = 1) -> TableImage:
        """A table; raise Error if there is none."""
        image = self.image(code, version)
        if image is None:
            which = f"{code} of version {version}" if version > 1 else code
            raise Error(f"{self.path}: has no table {which}; there are {_joined(self.codes)}")
        return image

    def table(self, code: str, version: int) -> QTable:
        """A table as a QTable of astropy, with the keywords in .meta."""
        from astropy.table import QTable
        image = self.needed(code, version)
        table = QTable(meta=dict(image.keywords))
        for place, column in enumerate(image.columns):
            values, unit = image.column_at(place), astropy_unit(column.unit)
            name = column.name if column.name not in table.colnames else f"{column.name}_{place + 1}"
            table[name] = values if unit is None or values.dtype.kind not in "if" else values * unit
        return table

    # ------------------------------------------------------------------------------------------------ antennas, sources

    @cached_property
    @_reads("AN")
    def antenna_list(self) -> tuple[NDArray[np.int64], list[str], NDArray[np.float64]]:
        """Numbers, names and STABXYZ [antenna, 3] in metres."""
        image = self.image("AN")
        if image is None:
            return np.empty(0, np.int64), [], np.empty((0, 3))
        rows = len(image)
        numbers = np.arange(1, rows + 1)
        if image.has("NOSTA"):
            stated = image.column("NOSTA").reshape(rows, -1)[:, -1].astype(np.int64)
            numbers = np.where(stated == 0, numbers, stated & 0xFF)
        names = [str(name).strip() for name in image.column("ANNAME")] if image.has("ANNAME") else [""] * rows
        xyz = image.column("STABXYZ").astype(np.float64) if image.has("STABXYZ") else np.zeros((rows, 3))
        return numbers, names, xyz

    @cached_property
    @_reads("AN")
    def array_center(self) -> NDArray[np.float64]:
        """ARRAYX, ARRAYY, ARRAYZ in metres."""
        image = self.image("AN")
        words = image.keywords if image else {}
        return np.array([float(words.get(name, 0) or 0) for name in ("ARRAYX", "ARRAYY", "ARRAYZ")])

    @cached_property
    @_reads("AN")
    def is_left_handed(self) -> bool | None:
        """Whether the y axis of the antenna positions points west; None if the file does not say."""
        image = self.image("AN")
        stated = str(image.keywords.get("XYZHAND", "")) if image is not None else ""
        return {"L": True, "R": False}.get(stated.strip().upper()[:1])

    @_reads("AN")
    def geocentric(self, is_left_handed: bool) -> NDArray[np.float64]:
        """Positions of the antennas [antenna, 3] in metres from the centre of the Earth, x towards Greenwich, y to 90
        degrees east. The axes of a local frame are turned by the longitude of its centre.
        """
        xyz = self.antenna_list[2].copy()
        image = self.image("AN")
        if is_left_handed:
            xyz[:, 1] = -xyz[:, 1]
        center = self.array_center
        if not center.any():
            return xyz
        if image is not None and str(image.keywords.get("FRAME", "")).upper().startswith("ITRF"):
            return np.asarray(xyz + center)
        angle = np.arctan2(center[1], center[0])
        turn = np.array([[np.cos(angle), -np.sin(angle), 0], [np.sin(angle), np.cos(angle), 0], [0, 0, 1]])
        return np.asarray(xyz @ turn.T + center)

    @cached_property
    @_reads("SU")
    def source_list(self) -> tuple[NDArray[np.int64], list[str], NDArray[np.float64]]:
        """Numbers, names, and right ascension, declination (degrees) and equinox of each [source, 3]."""
        image = self.image("SU")
        if image is None:
            return np.empty(0, np.int64), [], np.empty((0, 3))
        rows = len(image)
        stored = image

        def numbers(name: str) -> NDArray[np.float64]:
            return stored.column(name).astype(np.float64).reshape(rows) if stored.has(name) else np.zeros(rows)

        epoch = numbers("EPOCH")
        # A negative equinox marks coordinates of that equinox stored in place of apparent ones.
        at_equinox = (epoch > 0) & ((numbers("RAEPO") != 0) | (numbers("DECEPO") != 0))
        place = np.column_stack([
            np.where(at_equinox, numbers("RAEPO"), numbers("RAAPP")),
            np.where(at_equinox, numbers("DECEPO"), numbers("DECAPP")),
            np.where(epoch != 0, np.abs(epoch), self.header.epoch)
        ])
        names = [str(name).strip() for name in image.column("SOURCE")] if image.has("SOURCE") else [""] * rows
        ids = next((name for name in ("ID. NO.", "ID NO.", "SOURCE_ID") if image.has(name)), None)
        return (image.column(ids).astype(np.int64) if ids else np.arange(1, rows + 1)), names, place

    @property
    def source_numbers(self) -> list[int]:
        """Numbers of the sources that have records."""
        return sorted({int(number) for number in self.scan_list["source"]})

    def find_source(self, name: Name) -> int:
        """The number of a source that is named by number or name, as `--source` takes it."""
        present = self.source_numbers
        numbers, names, _ = self.source_list
        number = _number(name)
        if number is not None and number in present:
            return number
        for candidate, known in zip(numbers, names):
            if number is None and known.lower() == _word(name) and int(candidate) in present:
                return int(candidate)
        listed = [_named(n, next((b for a, b in zip(numbers, names) if a == n), "")) for n in present]
        raise Error(f"{self.path}: no record of source {name}; there are {_joined(listed)}")

    def find_antenna(self, name: Name) -> int:
        """The number of an antenna that is named by number or name, as `--antenna` takes it."""
        numbers, names, _ = self.antenna_list
        number = _number(name)
        for candidate, known in zip(numbers, names):
            if int(candidate) == number if number is not None else known.lower() == _word(name):
                return int(candidate)
        listed = _joined([_named(int(n), known) for n, known in zip(numbers, names)])
        raise Error(f"{self.path}: no antenna {name}; there are {listed}")

    def find_baseline(self, name: str | tuple[Name, Name]) -> tuple[int, int]:
        """The antennas of a baseline, lowest first, which is named as in "PT-LA" or as two antennas."""
        if not isinstance(name, str):
            one, two = sorted(self.find_antenna(end) for end in name)
            return one, two
        failure = Error(f"{name}: not a baseline, which is written as in 2-5")
        for at, character in enumerate(name):
            if character == "-":  # names may contain hyphens
                try:
                    return self.find_baseline((name[:at], name[at + 1:]))
                except Error as raised:
                    failure = raised
        raise failure

    # ---------------------------------------------------------------------------------------------------- scans, setups

    @cached_property
    @_reads("NX")
    def scan_list(self) -> NDArray[Any]:
        """A structured array: source, setup, subarray, and the first record (from 0) and the one after the last."""
        image = self.image("NX")
        rows = len(image) if image else 0
        scans = np.zeros(rows, [("source", "i8"), ("setup", "i8"), ("subarray", "i8"), ("first", "i8"), ("end", "i8")])
        named = {
            "source": "SOURCE ID", "setup": "FREQ ID", "subarray": "SUBARRAY", "first": "START VIS", "end": "END VIS"
        }
        for field, name in named.items():
            if image is not None and image.has(name):
                scans[field] = image.column(name)
        scans["first"] -= 1
        return scans

    def check_scans(self) -> None:
        """Raise Error unless the index covers the records without gaps."""
        scans, records = self.scan_list, self.header.records
        if len(scans) == 0 and records > 0:
            raise Error(f"{self.path}: has no index table NX{REMEDY}")
        ends = np.concatenate([[0], scans["end"]])
        wrong = np.flatnonzero((scans["first"] != ends[:-1]) | (scans["end"] <= scans["first"]) |
                               (scans["end"] > records))
        if len(wrong):
            raise Error(
                f"{self.path}: the index table NX does not follow the records at number {ends[wrong[0]] + 1}{REMEDY}")
        if ends[-1] != records:
            raise Error(f"{self.path}: the index table NX ends at record number {ends[-1]} of {records}{REMEDY}")

    def frequencies(self, setup: int) -> NDArray[np.float64]:
        """Frequencies [if, channel] in Hz; a setup without a row has those of the first row."""
        start = self._setup_column(setup, "IF FREQ")
        return np.asarray(self.header.freq0 + start[:, None] +
                          np.arange(self.header.channels) * self.widths(setup)[:, None])

    def widths(self, setup: int) -> NDArray[np.float64]:
        """Width of a channel of each IF in Hz, negative for a lower sideband."""
        return self._setup_column(setup, "CH WIDTH")

    @_reads("FQ")
    def _setup_column(self, setup: int, name: str) -> NDArray[np.float64]:
        image, ifs = self.needed("FQ"), self.header.ifs
        rows = len(image)
        if rows == 0 or not image.has(name):
            raise Error(f"{self.path}: the table FQ has no column {name}, or no rows")
        numbers = image.column("FRQSEL") if image.has("FRQSEL") else np.arange(1, rows + 1)
        places = np.flatnonzero(numbers == setup)
        values = image.column(name).reshape(rows, -1)[int(places[0]) if len(places) else 0].astype(np.float64)
        if len(values) < ifs:
            raise Error(f"{self.path}: the table FQ has frequencies of {len(values)} of {ifs} IFs")
        return np.asarray(values[:ifs])

    @_reads("IT")
    def integration_times(self, records: NDArray[np.int64]) -> NDArray[np.float64]:
        """Integration times of records in seconds, 0 where they are not known."""
        image = self.image("IT")
        if image is None or len(image) == 0 or int(image.keywords.get("RECORDS", -1)) != self.header.records:
            return np.zeros(len(records))
        seconds = image.column("INTTIM").astype(np.float64)
        seconds[~((seconds > 0) & (seconds < 86400))] = 0
        return np.asarray(seconds[np.searchsorted(image.column("FIRST VIS"), records + 1, "right") - 1])

    @cached_property
    @_reads("AN")
    def time_scale(self) -> str:
        """The scale of all times, by astropy's name."""
        image = self.image("AN")
        words = image.keywords if image else {}
        stated = str(words.get("TIMSYS", words.get("TIMESYS", "")) or "UTC").strip().lower()
        scale = {"iat": "tai"}.get(stated, stated)
        return scale if scale in ("tai", "tcb", "tcg", "tdb", "tt", "ut1") else "utc"

    def antenna_table(self) -> Table:
        from astropy import units
        from astropy.table import QTable
        numbers, names, xyz = self.antenna_list
        meta = {"array_center": self.array_center * units.m}
        return QTable({"number": numbers, "name": np.array(names, dtype=str), "xyz": xyz * units.m}, meta=meta)

    @_reads("SU")
    def source_table(self) -> Table:
        from astropy import units
        from astropy.coordinates import FK4, FK5, ICRS, SkyCoord
        from astropy.table import QTable
        from astropy.time import Time
        numbers, names, place = self.source_list
        places = []
        for ra, dec, equinox in place:
            frame = ICRS() if equinox == 2000 else FK4(
                equinox=Time(equinox, format="byear")) if equinox < 1984 else (FK5(
                    equinox=Time(equinox, format="jyear")))
            coordinate = SkyCoord(ra * units.deg, dec * units.deg, frame=frame).icrs
            places.append((coordinate.ra.deg, coordinate.dec.deg))
        table = QTable({"number": numbers, "name": np.array(names, dtype=str)})
        table["coord"] = SkyCoord(np.array(places).reshape(-1, 2) * units.deg)
        return table


def _number(name: Name) -> int | None:
    """A word of digits is a number; "=7" is the item whose name is 7."""
    if isinstance(name, str):
        word = name.strip()
        return int(word) if word.isascii() and word.isdigit() else None
    return int(name)


def _word(name: Name) -> str:
    text = str(name).strip()
    return (text[1:] if text.startswith("=") else text).lower()

"""Which records, IFs, channels and polarisations a selection takes."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import re
from bisect import bisect_left, bisect_right
from collections.abc import Iterable, Sequence
from dataclasses import dataclass, fields
from typing import TYPE_CHECKING, Any, Union

import numpy as np
from numpy.typing import NDArray

from ._contents import Contents, Name
from ._error import Error

if TYPE_CHECKING:
    from astropy.time import Time

Names = Union[Name, Sequence[Name]]
Baselines = Union[str, tuple[Name, Name], list[Union[str, tuple[Name, Name]]]]
Numbers = Union[int, slice, Sequence[int]]
Moment = Union["Time", str, float, None]
Place = Union[slice, NDArray[np.int64]]

TIME_TOLERANCE = 5e-5 / 86400  # days: a Julian date in double precision is accurate to 0.04 ms
_CHUNK = 1 << 16
_CLOCK = re.compile(r"(?:\+(\d+)/)?(\d{1,2}):(\d{2})(?::(\d{2}(?:\.\d*)?))?")


@dataclass(frozen=True)
class Conditions:
    """What the user asked for; None is everything."""

    source: Names | None = None
    antenna: Names | None = None
    baseline: Baselines | None = None
    setup: int | None = None
    scan: Numbers | None = None
    time: tuple[Moment, Moment] | None = None
    ifs: Numbers | None = None
    channels: Numbers | None = None
    pols: str | Sequence[str] | None = None
    uvrange: tuple[float | None, float | None] | None = None

    def joined(self, other: Conditions) -> Conditions:
        """Both sets of conditions together."""
        chosen = {}
        for field in fields(self):
            mine, others = getattr(self, field.name), getattr(other, field.name)
            if mine is not None and others is not None:
                raise Error(f"{field.name} is selected already, as {mine!r}")
            chosen[field.name] = others if mine is None else mine
        return Conditions(**chosen)


def listed(names: Any) -> list[Any]:
    """One name, or several, as a list; text may hold several, separated by commas."""
    if isinstance(names, str):
        return names.split(",")
    return [names] if isinstance(names, (int, np.integer)) else list(names)


def baselines(wanted: Baselines) -> list[str | tuple[Name, Name]]:
    """One baseline, as text or as two antennas, or a list of them."""
    if isinstance(wanted, str):
        return [*wanted.split(",")]
    return list(wanted) if isinstance(wanted, list) else [wanted]


def places(numbers: Numbers | None, count: int, what: str, path: str) -> Place:
    """Places along an axis, in ascending order: a slice where they are evenly spaced, so that a view can be made."""
    if numbers is None:
        return slice(0, count, 1)
    if isinstance(numbers, slice):
        return as_slice(np.unique(np.arange(count)[numbers]))
    given = np.atleast_1d(np.asarray(numbers))
    if given.dtype.kind == "b" and given.shape == (count,):
        return as_slice(np.flatnonzero(given))
    if given.size and given.dtype.kind not in "iu":
        raise Error(f"{path}: {numbers!r} are no numbers of {what}s, which are whole, or {count} times True or False")
    chosen = np.unique(given.astype(np.int64))
    wrong = chosen[(chosen < 0) | (chosen >= count)]
    if len(wrong):
        raise Error(f"{path}: no {what} {wrong[0]}; there are {count}, numbered from 0")
    return as_slice(chosen)


def as_slice(chosen: NDArray[np.int64]) -> Place:
    if len(chosen) == 0:
        return slice(0, 0, 1)
    steps = np.diff(chosen)
    if len(steps) == 0 or (steps == steps[0]).all():
        step = int(steps[0]) if len(steps) else 1
        return slice(int(chosen[0]), int(chosen[-1]) + 1, step)
    return chosen


def numbers_of(place: Place) -> NDArray[np.int64]:
    """The places themselves."""
    return np.arange(place.start, place.stop, place.step) if isinstance(place, slice) else place


def pol_places(pols: str | Sequence[str] | None, contents: Contents) -> Place:
    if pols is None:
        return slice(0, len(contents.pols), 1)
    known = [name.upper() for name in contents.pols]
    chosen = []
    for name in listed(pols):
        if str(name).upper() not in known:
            raise Error(f"{contents.path}: no polarisation {name} is stored; there are {', '.join(contents.pols)}")
        chosen.append(known.index(str(name).upper()))
    return as_slice(np.unique(np.array(chosen, np.int64)))


def moment(time: Moment, contents: Contents) -> float | None:
    """A Julian date in the time scale of the file, from a Time, a Julian date, or text as the command takes it."""
    if time is None:
        return None
    if isinstance(time, str):
        time = _read_time(time.strip(), contents)
    if isinstance(time, (int, float, np.number)):
        if not np.isfinite(time):
            raise Error(f"{time} is not a time")
        return float(time) if time >= 1e6 else float(time) + 2400000.5
    return float(getattr(time, contents.time_scale).jd)


def _read_time(text: str, contents: Contents) -> Time | float:
    """A time as people write it: a time of day, a Julian date, or a calendar date."""
    if (clock := _CLOCK.fullmatch(text)) is not None:
        days, hours, minutes, seconds = (float(part or 0) for part in clock.groups())
        if hours < 24 and minutes < 60 and seconds < 60:
            return contents.header.date_obs + days + hours / 24 + minutes / 1440 + seconds / 86400
    try:
        return float(text)
    except ValueError:
        pass
    from astropy.time import Time as AstropyTime
    try:
        return AstropyTime(text, scale=contents.time_scale)
    except ValueError:
        raise Error(f"{text!r} is not a time like 2020-03-20T07:30:00, a Julian date or modified Julian date, or a time "
                    "of day like 07:30 on the first day, or +1/07:30 on the next") from None


def record_places(contents: Contents, heads: NDArray[np.void], wanted: Conditions) -> Place:
    """The records that meet all conditions. Index and times of scans narrow them down before records are looked at."""
    tests = _record_tests(contents, wanted)
    if tests is None and all(getattr(wanted, name) is None for name in ("source", "setup", "scan", "time")):
        return slice(0, len(heads), 1)
    contents.check_scans()
    found = []
    for first, end in _stretches(contents, heads["time"], wanted):
        if tests is None:
            found.append(np.arange(first, end))
            continue
        for at in range(first, end, _CHUNK):
            chunk = heads[at:min(end, at + _CHUNK)]
            found.append(at + np.flatnonzero(tests(chunk)))
    return as_slice(np.concatenate(found) if found else np.empty(0, np.int64))


def _stretches(contents: Contents, times: Any, wanted: Conditions) -> Iterable[tuple[int, int]]:
    """First record and the one after the last, of each scan that is taken; times ascend within a scan."""
    scans = contents.scan_list
    taken = np.ones(len(scans), bool)
    if wanted.source is not None:
        taken &= np.isin(scans["source"], [contents.find_source(name) for name in listed(wanted.source)])
    if wanted.setup is not None:
        taken &= scans["setup"] == wanted.setup
        if wanted.setup not in scans["setup"]:
            there = ", ".join(str(number) for number in sorted(set(scans["setup"])))
            raise Error(f"{contents.path}: no record of frequency setup {wanted.setup}; there are {there}")
    if wanted.scan is not None:
        chosen = np.zeros(len(scans), bool)
        chosen[places(wanted.scan, len(scans), "scan", contents.path)] = True
        taken &= chosen
    start, stop = (moment(time, contents) for time in wanted.time or (None, None))
    for scan in scans[taken]:
        first, end = int(scan["first"]), int(scan["end"])
        if start is not None:
            first = bisect_left(times, start - TIME_TOLERANCE, first, end)
        if stop is not None:
            end = bisect_right(times, stop + TIME_TOLERANCE, first, end)
        if first < end:
            yield first, end


def _record_tests(contents: Contents, wanted: Conditions) -> Any:
    """A function that tells which records meet the conditions on antennas, baselines and uv distance, if any."""
    antennas = None if wanted.antenna is None else [contents.find_antenna(name) for name in listed(wanted.antenna)]
    pairs = None
    if wanted.baseline is not None:
        pairs = [low << 8 | high for low, high in map(contents.find_baseline, baselines(wanted.baseline))]
    bounds = _distances(wanted)
    middles = None if bounds is None else _middles(contents, wanted)
    if antennas is None and pairs is None and middles is None:
        return None

    def test(heads: NDArray[np.void]) -> NDArray[np.bool_]:
        taken = np.ones(len(heads), bool)
        if antennas is not None:
            has1, has2 = np.isin(heads["ant1"], antennas), np.isin(heads["ant2"], antennas)
            taken &= (has1 | has2) if len(set(antennas)) == 1 else (has1 & has2)
        if pairs is not None:
            low = np.minimum(heads["ant1"], heads["ant2"]).astype(np.int64)
            taken &= np.isin(low << 8 | np.maximum(heads["ant1"], heads["ant2"]), pairs)
        if middles is not None and bounds is not None:
            distance = np.hypot(heads["u"].astype(float), heads["v"]) * middles[heads["freqsel"].astype(np.uint8)]
            taken &= (distance >= bounds[0]) & (distance <= bounds[1])
        return taken

    return test


def _distances(wanted: Conditions) -> tuple[float, float] | None:
    """The least and the greatest distance in the u, v plane, wavelengths."""
    if wanted.uvrange is None:
        return None
    least, greatest = wanted.uvrange
    bounds = 0 if least is None else float(least), np.inf if greatest is None else float(greatest)
    if not 0 <= bounds[0] <= bounds[1]:
        raise Error(f"{wanted.uvrange} is not a range of uv distances, from the least to the greatest")
    return bounds


def _middles(contents: Contents, wanted: Conditions) -> NDArray[np.float64]:
    """The middle of the selected frequencies of each setup, Hz."""
    header = contents.header
    ifs = places(wanted.ifs, header.ifs, "IF", contents.path)
    channels = places(wanted.channels, header.channels, "channel", contents.path)
    middles = np.empty(256)
    for setup in range(256):
        chosen = contents.frequencies(setup)[ifs][:, channels]
        chosen = chosen[chosen > 0]
        middles[setup] = (chosen.min() + chosen.max()) / 2 if chosen.size else 0
    return middles


def job_options(wanted: Conditions, contents: Contents) -> dict[str, str]:
    """The conditions as options of a job, which counts IFs, channels and scans from 1."""
    header = contents.header
    options: dict[str, str] = {}
    if wanted.source is not None:
        options["source"] = ",".join(str(name) for name in listed(wanted.source))
    if wanted.antenna is not None:
        options["antenna"] = ",".join(str(name) for name in listed(wanted.antenna))
    if wanted.baseline is not None:
        options["baseline"] = ",".join(
            name if isinstance(name, str) else "-".join(map(str, name)) for name in baselines(wanted.baseline))
    if wanted.setup is not None:
        options["freqsel"] = str(wanted.setup)
    counted = {
        "scan": (wanted.scan, len(contents.scan_list)), "if": (wanted.ifs, header.ifs),
        "channel": (wanted.channels, header.channels)
    }
    for name, (numbers, count) in counted.items():
        if numbers is not None:
            what = "IF" if name == "if" else name
            options[name] = ",".join(str(n + 1) for n in numbers_of(places(numbers, count, what, contents.path)))
    for name, time in zip(("start", "stop"), wanted.time or ()):
        value = moment(time, contents)
        if value is not None:
            options[name] = repr(value)
    if wanted.pols is not None:
        options["stokes"] = ",".join(listed(wanted.pols))
    if (bounds := _distances(wanted)) is not None:
        options["uvrange"] = ",".join(repr(bound) if np.isfinite(bound) else "" for bound in bounds)
    for name, text in options.items():
        if not text:
            raise Error(f"{contents.path}: nothing is selected, the list of {name} is empty")
    return options

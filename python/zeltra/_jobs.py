"""Jobs from Python: options as values, results as tables."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import os
import tempfile
from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Union

import numpy as np

from . import _library
from ._contents import astropy_unit
from ._error import Error
from ._library import Cells, Progress, masked

if TYPE_CHECKING:
    from astropy.table import QTable

    from ._file import File
    from ._image import Image
    from ._average import Average

Path = Union[str, "os.PathLike[str]"]
Input = Union[Path, "Jobs"]

COUNTED = ("if", "channel", "scan", "first", "last", "index")
"""Columns of numbers that the command counts from 1, and Python from 0."""


@dataclass
class Result:
    """What a job returns.

    Attributes
    ----------
    columns : dict
        The columns of its table by their names: arrays, masked where cells have no value. Numbers of IFs, channels,
        scans and records count from 0, but from 1 in the names of columns.
    units : dict
        Their units, as the command names them.
    text : str
        Output that is no table.
    notes : list of str
        What to know about the data or the result, in sentences.
    reports : list of str
        What the job has made, in sentences.
    """

    columns: dict[str, Cells] = field(default_factory=dict)
    units: dict[str, str] = field(default_factory=dict)
    text: str = ""
    notes: list[str] = field(default_factory=list)
    reports: list[str] = field(default_factory=list)

    def __len__(self) -> int:
        return len(next(iter(self.columns.values()), ()))

    @property
    def table(self) -> QTable:
        """The columns as a table of astropy, Julian dates as numbers; notes are in .meta."""
        from astropy.table import QTable
        table = QTable(meta={"notes": self.notes})
        for name, cells in self.columns.items():
            unit = None if self.units[name] == "JD" else astropy_unit(_UNITS.get(self.units[name], self.units[name]))
            table[name] = cells if unit is None else masked.filled(cells, np.nan) * unit
        return table


_UNITS = {"radians": "rad", "degrees": "deg"}
_PLAIN_UNITS = {"wavelengths": "", "pixels": "", "baselines": "", "bytes": "byte"}


def path_of(file: Path) -> str:
    return os.fspath(file)


def text_of(value: Any, option: Mapping[str, Any], scale: Callable[[], str]) -> str:
    """The value of an option as the command takes it, times in the scale of the file that is read."""
    kind, name = option["kind"], option["name"]
    if kind == "number list":
        first = int(option["min"] or 0)
        numbers = np.atleast_1d(np.asarray(value))
        if not numbers.size:
            raise Error(f"the list of {name} is empty")
        if numbers.dtype.kind not in "iu":
            raise Error(f"option {name} takes a whole number from 0 or a list of them, not {value!r}")
        return ",".join(str(number + first) for number in numbers.ravel().tolist())
    if kind == "whole" and option["name"] == "from":  # number of a record
        return str(int(value) + 1)
    if hasattr(value, "to_value"):
        if kind == "time":
            return repr(float(getattr(value, scale()).jd))
        unit = _PLAIN_UNITS.get(option["unit"], option["unit"]) or ""
        try:
            value = value.to_value(unit)
        except ValueError as failure:
            raise Error(f"option {name} is in {unit or 'no unit'}: {failure}") from failure
    if isinstance(value, (str, os.PathLike)):
        return os.fspath(value)
    if isinstance(value, (bool, np.bool_)):
        raise Error(f"option {name} takes a value")
    if isinstance(value, (float, np.floating)) and not (kind == "whole" and value.is_integer()):
        return repr(float(value))
    if isinstance(value, Sequence) or isinstance(value, np.ndarray):
        return ",".join("" if part is None else text_of(part, option, scale) for part in value)
    return str(int(value) if kind == "whole" else value)


def option_texts(job: str, options: Mapping[str, Any], scale: Callable[[], str]) -> list[str]:
    """Options as NAME=VALUE; None and False are left out."""
    known = {option["name"]: option for option in _library.description(job)["options"]}
    texts = []
    for name, value in options.items():
        if value is None or value is False:
            continue
        option = known.get(name, {"name": name, "kind": "text", "unit": None})
        if option["kind"] == "flag":
            if not isinstance(value, (bool, np.bool_)):
                raise Error(f"option {name} is True or False, not {value!r}")
            if value:
                texts.append(name)
            continue
        # An option that may be given several times takes a list.
        repeated = isinstance(value, list) and option.get("repeated")
        texts += [f"{name}={text_of(one, option, scale)}" for one in (value if repeated else [value])]
    return texts


def run(job: str, inputs: Sequence[Input] = (), outputs: Sequence[Path] = (), options: Mapping[str, Any] | None = None,
        *, progress: Progress | None = None, _workers: _library.Workers | None = None) -> Result:
    """Run a job of the command by its name.

    Parameters
    ----------
    job : str
        As in "average".
    inputs : list
        Files to read: names, files and selections. A selection sets the options that it stands for.
    outputs : list
        Files to make.
    options : dict
        Options of the command by their names without dashes, as in {"interval": 30, "force": True}. Numbers of IFs,
        channels and scans count from 0. A Quantity is converted to the unit of its option, a Time to the time scale of
        the first file to read.
    progress : callable, optional
        Called with the step, as in "Sorting...", and its percentage, at least 20 times a second. An exception in
        it cancels the job, which leaves no output, and is raised again.

    Returns
    -------
    Result

    Raises
    ------
    Error
        With the sentence of the command.

    Examples
    --------
    >>> import zeltra as z
    >>> z.run("average", ["sim.uvx"], options={"interval": 3600, "source": "3C273"}).columns["ant2"][:3]
    array([2, 3, 4])
    """
    names, chosen = [], dict(options or {})
    texts = []
    for file in inputs:
        if isinstance(file, (str, os.PathLike)):
            names.append(os.fspath(file))
            continue
        name, selected = file._job_input()
        names.append(name)
        for option, text in selected.items():
            is_level = option == "stop" and job == "clean"  # may be a time and a brightness
            if chosen.get(option) is not None and not is_level:
                raise Error(f"{option} is selected already, as {text}")
            texts.append(f"{option}={text}")
    result = Result()
    blocks: list[dict[str, Cells]] = []

    def collect(columns: dict[str, Cells], units: dict[str, str]) -> None:
        blocks.append(columns)
        result.units = units

    texts += option_texts(job, chosen, lambda: _time_scale(inputs))
    host = _library.run(job, names, [os.fspath(file) for file in outputs], texts, progress, collect, _workers)
    for name in result.units:
        parts = [block[name] for block in blocks]
        has_gaps = any(masked.is_masked(part) for part in parts)
        whole = masked.concatenate(parts) if has_gaps else np.concatenate([masked.getdata(part) for part in parts])
        result.columns[name] = whole - 1 if name in COUNTED and whole.dtype.kind == "i" else whole
    result.text, result.notes, result.reports = "".join(host.texts), host.notes, host.reports
    return result


def _time_scale(inputs: Sequence[Input]) -> str:
    """The time scale of the first file."""
    from ._file import Selection, open_file
    if not inputs:
        return "utc"
    first = inputs[0]
    if isinstance(first, Selection):
        return first._contents.time_scale
    if not isinstance(first, (str, os.PathLike)):
        raise Error("a file to read is a name, a file or a selection")
    with open_file(first) as file:
        return file._contents.time_scale


class Jobs:
    """The jobs of files and selections."""

    def _job_input(self) -> tuple[str, dict[str, str]]:
        """The file to read, and the options that select the part to read."""
        raise NotImplementedError

    def run(self, job: str, *outputs: Path, progress: Progress | None = None, **options: Any) -> Result:
        """Run any job of the command on what is selected.

        Parameters
        ----------
        job : str
            As in "copy".
        *outputs : str or os.PathLike
            Files to make.
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Options of the command as Python keywords: `no_sync` for `--no-sync`, `if_` for `--if`. Numbers of IFs,
            channels and scans count from 0.

        Returns
        -------
        Result

        Examples
        --------
        >>> import zeltra as z
        >>> f = z.open("sim.uvx")
        >>> f.select(source="3C279").run("sort", "uv.uvx", order="UV").reports
        Traceback (most recent call last):
        zeltra._error.Error: sort has no option source
        """
        return run(job, [self], outputs, keywords(options), progress=progress)

    def average(self, interval: Any, *, progress: Progress | None = None, **options: Any) -> Average:
        """Average in time.

        Parameters
        ----------
        interval : Quantity or float
            Length of the intervals, seconds where it has no unit; -1 makes each time stamp an interval.
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.average`.

        Returns
        -------
        Average

        Examples
        --------
        >>> import zeltra as z
        >>> from astropy import units as u
        >>> z.open("sim.uvx").average(60 * u.s).vis.shape
        (54, 45, 2, 4, 4)
        """
        from ._average import Average
        return Average(self, {"interval": interval, **keywords(options)}, progress)

    def closures(self, interval: Any, *, progress: Progress | None = None, **options: Any) -> QTable:
        """Form closure phases, or closure amplitudes.

        Parameters
        ----------
        interval : Quantity or float
            Length of the intervals, seconds where it has no unit; -1 makes each time stamp an interval.
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.closure`.

        Returns
        -------
        QTable
            Columns time, source, ant1, ant2, ant3, phase and sigma, or ant4 and log_amplitude; stokes, if and channel
            if a row is not a mean over several. Notes are in .meta.
        """
        result = self.run("closure", interval=interval, progress=progress, **options)
        for name in ("stokes", "if", "channel"):
            is_empty = name in result.columns and bool(np.all(masked.getmaskarray(result.columns[name])))
            if is_empty and not options.get("each"):
                del result.columns[name]
        table = result.table
        if "time" in table.colnames:
            table["time"] = self._times(result.columns["time"])
        return table

    def _times(self, days: Any) -> Any:
        """Julian dates as Time in the scale of the file."""
        raise NotImplementedError

    def image(self, *, progress: Progress | None = None, **options: Any) -> Image:
        """Make the dirty image of a source.

        Parameters
        ----------
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.image`: cell, size, weight and so on.

        Returns
        -------
        Image

        Examples
        --------
        >>> import zeltra as z
        >>> from astropy import units as u
        >>> z.open("sim.uvx").select(source="3C273").image(size=256, cell=0.2 * u.mas).data.shape
        (256, 256)
        """
        from ._image import Image
        with tempfile.TemporaryDirectory(prefix="zeltra-") as folder:
            name = os.path.join(folder, "image.fits")
            result = self.run("image", fits=name, no_sync=True, progress=progress, **options)
            return Image(name, result)

    def clean(self, *, progress: Progress | None = None, **options: Any) -> Image:
        """Make the image of a source without the sidelobes of its beam.

        Parameters
        ----------
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.clean`: cell, size, niter, stop and so on. Several boxes are a list.

        Returns
        -------
        Image
            With `components`.
        """
        from ._image import Image
        with tempfile.TemporaryDirectory(prefix="zeltra-") as folder:
            name = os.path.join(folder, "image.fits")
            return Image(name, self.run("clean", name, no_sync=True, progress=progress, **options))

    def solve(self, model: Input, output: Path, *, progress: Progress | None = None, **options: Any) -> Result:
        """Solve for the gains of antennas with a model of the source.

        Parameters
        ----------
        model : str, os.PathLike or File
            A list of components (.mod), a FITS image with a table AIPS CC, "point" or "point=JY", or visibilities with
            the same records.
        output : str or os.PathLike
            The UVX file to make, or a gain file where the name ends in .gain.
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.solve`.

        Returns
        -------
        Result
            A row for each antenna.
        """
        if isinstance(model, (str, os.PathLike)):
            name = os.fspath(model)
        else:
            name, selected = model._job_input()
            if selected:
                raise Error(f"{name}: a model is a whole file, without a selection of {', '.join(selected)}")
        return self.run("solve", model=name, output=output, progress=progress, **options)

    def apply(self, output: Path, *, progress: Progress | None = None, **options: Any) -> File:
        """Apply gains of antennas.

        Parameters
        ----------
        output : str or os.PathLike
            The UVX file to make.
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.apply`.

        Returns
        -------
        File
            The file made.
        """
        from ._file import open_file
        self.run("apply", output, progress=progress, **options)
        return open_file(output)

    def fit(self, output: Path, *, progress: Progress | None = None, **options: Any) -> Result:
        """Fit points and Gaussians to the visibilities.

        Parameters
        ----------
        output : str or os.PathLike
            The list of components to make.
        progress : callable, optional
            As in `zeltra.run`.
        **options
            Those of `zeltra.jobs.fit`; `model` names the components to begin with.

        Returns
        -------
        Result
            A row for each component.
        """
        return self.run("fit", output=output, progress=progress, **options)

    def to_uvfits(self, path: Path, *, force: bool = False, progress: Progress | None = None) -> None:
        """Export as random-groups UV FITS; a part of a file is copied to a temporary one first.

        Parameters
        ----------
        path : str or os.PathLike
            The file to make.
        force : bool
            Replace it if it exists.
        progress : callable, optional
            As in `zeltra.run`.
        """
        name, selected = self._job_input()
        if not selected:
            run("export", [name], [path], {"force": force}, progress=progress)
            return
        with tempfile.TemporaryDirectory(prefix="zeltra-") as folder:
            part = os.path.join(folder, "part.uvx")
            self.run("copy", part, no_sync=True, progress=progress)
            run("export", [part], [path], {"force": force}, progress=progress)


def keywords(options: Mapping[str, Any]) -> dict[str, Any]:
    """Options by the names of the command, from Python keywords."""
    return {keyword.rstrip("_").replace("_", "-"): value for keyword, value in options.items()}

"""Jobs on many machines, by Dask: averages, closures and images of large files and of many files, in parts that depend on
the files alone.

Without a client the same parts run in this process. Results have the same bytes as those of a single process.
"""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import os
import shutil
import tempfile
from collections.abc import Callable, Iterable
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Union

import numpy as np

from . import _library
from ._error import Error, reason
from ._jobs import Path, keywords, run
from ._output import check_free, put

if TYPE_CHECKING:
    from distributed import Client

__all__ = ["Outcome", "average", "clean", "closures", "image"]

TASK_BYTES = 128 << 20  # of input; with less, scheduling costs more, with more, a lost worker loses more
MOST_TASKS = 1000  # for one file
Part = Callable[["_File", int, dict[str, Any]], list[str]]  # returns the notes
Join = Union[Callable[["_File"], None], None]
Paths = Union[Path, Iterable[Path]]
Sentence = Union[str, None]  # describes a failure
Stamp = tuple[int, int]


@dataclass
class Outcome:
    """What became of the files.

    Attributes
    ----------
    outputs : dict
        The file that was made of each input.
    failures : dict
        For each of the other inputs, why there is none, in one sentence.
    notes : dict
        What to know about each input that has an output, in sentences.
    """

    outputs: dict[str, str] = field(default_factory=dict)
    failures: dict[str, str] = field(default_factory=dict)
    notes: dict[str, list[str]] = field(default_factory=dict)


# ------------------------------------------------------------------------------------------------------- on the workers


@dataclass(frozen=True)
class _File:
    """An input and what is made of it; `folder` is for parts and stands beside the output."""

    path: str
    output: str
    folder: str
    versions: tuple[str, str]
    stamp: Stamp | None = None  # size and time of the last change, as they were when the file was divided
    tasks: int = 1

    @property
    def made(self) -> str:
        return os.path.join(self.folder, os.path.basename(self.output))


def _versions() -> tuple[str, str]:
    from . import __version__
    return __version__, _library.version()


def _stamp(path: str) -> Stamp:
    try:
        status = os.stat(path)
    except OSError as failure:
        raise Error(f"{path}: cannot be read: {reason(failure)}") from failure
    return status.st_size, status.st_mtime_ns


def _guarded(call: Callable[..., Any], file: _File, *arguments: Any) -> tuple[Any, Sentence]:
    """Run a task. @return its result, or the sentence that describes its failure"""
    try:
        if file.versions != _versions():
            raise Error(f"{file.path}: a worker has version {'/'.join(_versions())} of package and library, not "
                        f"{'/'.join(file.versions)}")
        if file.stamp is not None and file.stamp != _stamp(file.path):
            raise Error(f"{file.path}: has changed since it was divided")
        return call(file, *arguments), None
    except Error as failure:
        return None, str(failure)
    except OSError as failure:
        return None, f"{file.output}: cannot be written: {reason(failure)}"
    except Exception as failure:  # it must not end the work on other files
        return None, _unforeseen(file, failure)


def _unforeseen(file: _File, failure: Exception) -> str:
    return f"{file.path}: {type(failure).__name__}: {failure}"


def _divide(file: _File, options: dict[str, Any], tasks: int | None) -> tuple[Stamp, int]:
    """The stamp of a file, and the number of tasks that it is cut into, which depends on the file alone."""
    stamp = _stamp(file.path)
    with open(file.path, "rb") as given:
        if given.read(4) != b"\xeb\x03\0\0":
            return stamp, 1  # each task would have to import it
    known = {option["name"] for option in _library.description("plan")["options"]}
    plan = run("plan", [file.path], options={name: value for name, value in options.items() if name in known}).columns
    return stamp, min(tasks or -(-int(np.sum(plan["bytes"])) // TASK_BYTES) or 1, max(1, len(plan["part"])), MOST_TASKS)


def _average_part(file: _File, number: int, options: dict[str, Any]) -> list[str]:
    part = {"output": file.made, "part": f"{number}/{file.tasks}", "force": True}
    return run("average", [file.path], options={**options, **part}).notes


def _join_average(file: _File) -> None:
    run("join", [], [file.made], {"parts": True, "force": True})


def _closure_part(file: _File, number: int, options: dict[str, Any]) -> list[str]:
    """Write the rows of a task's parts."""
    result = run("closure", [file.path], options={**options, "part": f"{number}/{file.tasks}"})
    columns = {
        name: _library.masked.filled(cells,
                                     "" if cells.dtype.kind == "U" else -1 if cells.dtype.kind == "i" else np.nan)
        for name, cells in result.columns.items()
    }
    with tempfile.NamedTemporaryFile(dir=file.folder, suffix=".npz", delete=False) as part:
        np.savez(part, __units__=np.array(list(result.units.values()), dtype=str), **columns)
    os.replace(part.name, f"{file.made}.{number}.npz")
    return result.notes


def _join_closures(file: _File) -> None:
    """Write a FITS table of the rows of all parts, in their order."""
    from astropy.table import Table
    columns: dict[str, list[Any]] = {}
    units: dict[str, str] = {}
    for number in range(1, file.tasks + 1):
        with np.load(f"{file.made}.{number}.npz") as part:
            names = [name for name in part.files if name != "__units__"]
            units = dict(zip(names, part["__units__"].tolist()))
            for name in names:
                columns.setdefault(name, []).append(part[name])
    whole = {name: np.concatenate(parts) for name, parts in columns.items()}
    order = np.argsort(whole.pop("part"), kind="stable")
    table = Table({name: cells[order] for name, cells in whole.items()})
    for name in table.colnames:
        table[name].unit = {"JD": "d", "radians": "rad"}.get(units[name], units[name]) or None
    table.write(file.made + ".part", format="fits", overwrite=True)
    os.replace(file.made + ".part", file.made)  # always whole under its name, since this may run again


def _image(file: _File, _number: int, options: dict[str, Any], workers: _library.Workers | None = None) -> list[str]:
    return run("image", [file.path], options={**options, "fits": file.made, "force": True}, _workers=workers).notes


def _clean(file: _File, _number: int, options: dict[str, Any], workers: _library.Workers | None = None) -> list[str]:
    return run("clean", [file.path], [file.made], {**options, "force": True}, _workers=workers).notes


class _Divided(Exception):
    """Raised if the image of a file has several parts."""


def _undivided(file: _File, part: Callable[..., list[str]], options: dict[str, Any]) -> list[str] | None:
    """Make an image that has one part. @return the notes, or None if it has more parts: then none is done"""

    def refuse(_task: str, _count: int) -> None:
        raise _Divided

    try:
        return part(file, 1, options, _library.Workers(file.folder, refuse))
    except _Divided:
        return None


def _image_part(_file: _File, task: str, number: int) -> None:
    _library.run_part(task, number)


def _joined(file: _File, parts: Iterable[tuple[list[str], Sentence]], join: Join) -> list[str]:
    """Join the parts into the result, which gets its name later: a task may run again if its worker is lost.
    @return the notes
    """
    notes: dict[str, None] = {}
    for told, sentence in parts:
        if sentence is not None:
            raise Error(sentence)
        notes |= dict.fromkeys(told)
    if join is not None:
        join(file)
    return list(notes)


# ---------------------------------------------------------------------------------------------------------- on the host


class _Here:
    """Runs tasks here when they are gathered, as a client runs them elsewhere."""

    def submit(self, call: Callable[..., Any], *arguments: Any, pure: bool) -> Any:
        return lambda: call(*(self.gather(given) if isinstance(given, list) else given for given in arguments))

    def gather(self, tasks: list[Any]) -> list[Any]:
        return [task() for task in tasks]


def _workers_of(host: Any, file: _File) -> _library.Workers:
    """The workers that make the sums over the visibilities of an image."""

    def run_parts(task: str, count: int) -> None:
        parts = [host.submit(_guarded, _image_part, file, task, number, pure=False) for number in range(1, count + 1)]
        for _, sentence in host.gather(parts):
            if sentence is not None:
                raise Error(sentence)

    return _library.Workers(file.folder, run_parts)


def _workers(host: Any) -> float:
    """How many tasks a host runs at the same time, as far as it tells."""
    threads = getattr(host, "nthreads", None)
    return float(sum(threads().values())) if threads else float("inf")


def _gathered(host: Any, file: _File, task: Any) -> tuple[Any, Sentence]:
    """The result of a task, or the sentence that describes its failure or that of its workers."""
    try:
        result: tuple[Any, Sentence] = host.gather([task])[0]
        return result
    except Exception as failure:
        return None, _unforeseen(file, failure)


def _published(file: _File, force: bool) -> Sentence:
    """Give the result its name. @return the sentence that describes a failure"""
    try:
        put(file.made, file.output, force)
    except Error as failure:
        return str(failure)
    return None


def _files(paths: Path | list[Path], out: Path, ending: str, force: bool, outcome: Outcome) -> list[_File]:
    """Names of inputs and outputs, with a folder for parts beside each output."""
    out = os.path.abspath(os.fspath(out))
    if isinstance(paths, (str, os.PathLike)):
        named = [(os.fspath(paths), out)]
    else:
        try:
            os.makedirs(out, exist_ok=True)
        except OSError as failure:
            raise Error(f"{out}: cannot be written: {reason(failure)}") from failure
        stems = [os.path.splitext(os.path.basename(os.fspath(path)))[0] for path in paths]
        named = [(os.fspath(path), os.path.join(out, stem + ending)) for path, stem in zip(paths, stems)]
        twice = next((stem for stem in stems if stems.count(stem) > 1), None)
        if twice is not None:
            raise Error(f"{os.path.join(out, twice + ending)}: would be made of two inputs")
    versions, files = _versions(), []
    for path, output in named:
        try:
            check_free(output, force)
            folder = tempfile.mkdtemp(dir=os.path.dirname(os.path.realpath(output)),
                                      prefix=f".{os.path.basename(output)}.parts-")
            files.append(_File(os.path.abspath(path), output, folder, versions))
        except OSError as failure:
            outcome.failures[path] = f"{output}: cannot be written: {reason(failure)}"
        except Error as failure:
            outcome.failures[path] = str(failure)
    return files


def _check_options(job: str, options: dict[str, Any]) -> None:
    """Refuse options that are set here for each file."""
    taken = {"part"} | {file["option"] for file in _library.description(job)["outputs"]}
    for name in options:
        if name in taken:
            raise Error(f"option {name} is set for each file, and cannot be given")


def _run(job: str, paths: Paths, out: Path, ending: str, options: dict[str, Any], client: Client | None, force: bool,
         tasks: int | None, part: Part, join: Join) -> Outcome:
    _check_options(job, options)
    if not isinstance(paths, (str, os.PathLike)):
        paths = list(paths)
    host: Any = _Here() if client is None else client
    shared = options if client is None else {"threads": 1, **options}  # workers share the processors
    outcome = Outcome()
    given = {
        os.path.abspath(os.fspath(path)): os.fspath(path)
        for path in ([paths] if isinstance(paths, (str, os.PathLike)) else paths)
    }
    files = _files(paths, out, ending, force, outcome)

    def fail(file: _File, sentence: str) -> None:
        outcome.failures[given[file.path]] = sentence.replace(file.path, given[file.path])

    try:
        divisions = [host.submit(_guarded, _divide, file, options, tasks, pure=False) for file in files if join]
        finals = []
        for place, file in enumerate(files):
            found, sentence = _gathered(host, file, divisions[place]) if join else ((None, 1), None)
            if sentence is not None:
                fail(file, sentence)
                continue
            whole = _File(file.path, file.output, file.folder, file.versions, *found)
            if join is None and client is not None and len(files) < _workers(client):
                finals.append((whole, host.submit(_guarded, _undivided, whole, part, shared, pure=False)))
                continue
            parts = [
                host.submit(_guarded, part, whole, number, shared, pure=False) for number in range(1, whole.tasks + 1)
            ]
            finals.append((whole, host.submit(_guarded, _joined, whole, parts, join, pure=False)))
        while finals:  # once a result has its name it is released, or losing a worker would compute it again
            file, final = finals.pop(0)
            notes, sentence = _gathered(host, file, final)
            if notes is None and sentence is None:  # the image has several parts, for all workers
                notes, sentence = _guarded(part, file, 1, options, _workers_of(host, file))
            if sentence is None:
                sentence = _published(file, force)
            if sentence is None:
                outcome.outputs[given[file.path]], outcome.notes[given[file.path]] = file.output, notes
            else:
                fail(file, sentence)
    finally:
        for file in files:
            shutil.rmtree(file.folder, ignore_errors=True)
    if isinstance(paths, (str, os.PathLike)) and outcome.failures:
        raise Error(next(iter(outcome.failures.values())))
    return outcome


def average(paths: Paths, out: Path, interval: Any, client: Client | None = None, *, force: bool = False,
            tasks: int | None = None, **options: Any) -> Outcome:
    """Average files in time.

    Parameters
    ----------
    paths : str, os.PathLike or iterable
        The file, or files, to read, by names that all workers understand.
    out : str or os.PathLike
        The UVX file to make of one input; for a list of inputs, the folder in which to make a file of the same name for
        each.
    interval : Quantity or float
        Length of the intervals, seconds where it has no unit.
    client : distributed.Client, optional
        Of the scheduler; without it everything runs here.
    force : bool
        Replace outputs that exist.
    tasks : int, optional
        Tasks that a file is divided into; by default, one for each 128 MiB. The result does not depend on it.
    **options
        Those of `zeltra.jobs.average`.

    Returns
    -------
    Outcome

    Raises
    ------
    Error
        If `paths` is a single file and fails.

    Examples
    --------
    >>> import zeltra.distributed
    >>> outcome = zeltra.distributed.average(["sim.uvx", "none.uvx"], "minutes", 60)
    >>> list(outcome.outputs), outcome.failures
    (['sim.uvx'], {'none.uvx': 'none.uvx: cannot be read: no such file or directory'})
    """
    chosen = {"interval": interval, **keywords(options)}
    return _run("average", paths, out, ".uvx", chosen, client, force, tasks, _average_part, _join_average)


def closures(paths: Paths, out: Path, interval: Any, client: Client | None = None, *, force: bool = False,
             tasks: int | None = None, **options: Any) -> Outcome:
    """Form closures of files, as FITS tables with the columns of `zeltra.jobs.closure`; IFs and channels count from 0,
    and -1 stands for none. Parameters are those of `average`.
    """
    chosen = {"interval": interval, **keywords(options)}
    return _run("closure", paths, out, ".fits", chosen, client, force, tasks, _closure_part, _join_closures)


def image(paths: Paths, out: Path, client: Client | None = None, *, force: bool = False, **options: Any) -> Outcome:
    """Make a FITS image of each file. With a client each is one task, but if there are fewer files than workers, large
    UVX files are divided: the sums over their visibilities are made in up to 32 parts. Options are those of
    `zeltra.jobs.image`, other parameters those of `average`.

    Examples
    --------
    >>> import zeltra.distributed
    >>> list(zeltra.distributed.image("sim.uvx", "sim.fits", source="3C273", size=64).outputs)
    ['sim.uvx']
    """
    return _run("image", paths, out, ".fits", keywords(options), client, force, None, _image, None)


def clean(paths: Paths, out: Path, client: Client | None = None, *, force: bool = False, **options: Any) -> Outcome:
    """Make a FITS image of each file without the sidelobes of its beam. Work is divided as for `image`: for a large
    file workers make the sums of each major cycle, and components are found in this process. Options are those of
    `zeltra.jobs.clean`, other parameters those of `average`.
    """
    return _run("clean", paths, out, ".fits", keywords(options), client, force, None, _clean, None)

"""The library's C interface (zeltra/c/zeltra_c.h): one call that runs a job."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import atexit
import ctypes
import ctypes.util
import functools
import json
import os
import signal
import sys
import threading
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Union

import numpy as np
from numpy.typing import NDArray

from ._error import Error

Progress = Callable[[str, int], object]
Cells = Union[NDArray[Any], "np.ma.MaskedArray[Any, Any]"]
masked: Any = np.ma  # numpy does not annotate its functions
BlockSink = Callable[[dict[str, Cells], dict[str, str]], object]

_DONE, _CANCELLED = 0, 130
_INT64, _DOUBLE = 1, 2
_LONGEST_WAIT = 60  # seconds that the process waits for jobs of other threads when it ends
_MOST_BYTES = 1 << 16  # of the sentence that describes a failure
_PATIENCE = 0.03  # seconds between checks for an interrupt


class _Column(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("name", ctypes.c_char_p), ("unit", ctypes.c_char_p),
                ("type", ctypes.c_int32), ("reserved", ctypes.c_int32), ("count", ctypes.c_size_t),
                ("values", ctypes.c_void_p), ("present", ctypes.c_void_p)]


_ProgressCall = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int)
_BlockCall = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.POINTER(ctypes.POINTER(_Column)), ctypes.c_size_t,
                              ctypes.c_size_t)
_TextCall = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.POINTER(ctypes.c_char), ctypes.c_size_t)
_SentenceCall = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)
_PartsCall = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int)


class _Callbacks(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("user", ctypes.c_void_p), ("progress", _ProgressCall),
                ("block", _BlockCall), ("text", _TextCall), ("note", _SentenceCall), ("report", _SentenceCall),
                ("parts", _PartsCall), ("folder", ctypes.c_char_p)]


@dataclass(frozen=True)
class Workers:
    """Those who do the parts of a job.

    Attributes
    ----------
    folder : str
        An empty folder that all of them see.
    run : callable
        Has `run_part` called for a task and each number up to a count.
    """

    folder: str
    run: Callable[[str, int], object]


def _names() -> Iterator[str]:
    """Where the library may be: where the user says, beside the package, in the tree that it was installed with, or
    where the system looks.
    """
    if named := os.environ.get("ZELTRA_LIBRARY"):
        yield named
        return
    names = {"win32": ["ZELTRA.dll"], "darwin": ["libzeltra.0.dylib"]}.get(sys.platform,
                                                                           ["libzeltra.so.0", "libzeltra.so"])
    for name in names:
        package = Path(__file__).parent
        for folder in (package, package.parents[2], package.parents[1] / "bin"):
            if (folder / name).exists():
                yield str(folder / name)
    if found := ctypes.util.find_library("zeltra"):
        yield found
    yield from names


@functools.cache
def library() -> ctypes.CDLL:
    """The loaded library.

    Raises
    ------
    Error
        If it is not found.
    """
    failures = []
    for name in _names():
        try:
            loaded = ctypes.CDLL(name)
            loaded.zeltra_version.restype = ctypes.c_char_p
            loaded.zeltra_jobs.restype = ctypes.POINTER(ctypes.c_char_p)
            loaded.zeltra_job_json.restype = ctypes.c_char_p
            return loaded
        except (OSError, AttributeError) as failure:
            failures.append(str(failure))
    raise Error("the ZELTRA library is not found; the environment variable ZELTRA_LIBRARY may name it: " +
                "; ".join(failures))


def version() -> str:
    """Version of the library that runs the jobs."""
    return str(library().zeltra_version().decode())


def jobs() -> list[str]:
    """Names of all jobs."""
    names = library().zeltra_jobs()
    found: list[str] = []
    while names[len(found)]:
        found.append(names[len(found)].decode())
    return found


@functools.cache
def description(job: str) -> dict[str, Any]:
    """What a job takes and gives."""
    text = library().zeltra_job_json(job.encode())
    if not text:
        raise Error(f"there is no job {job}; there are {', '.join(jobs())}")
    told: dict[str, Any] = json.loads(text)
    return told


def _list(texts: Sequence[str]) -> Any:
    for text in texts:
        if "\0" in text:
            raise Error(f"{text!r} holds a zero byte")
    return (ctypes.c_char_p * (len(texts) + 1))(*map(os.fsencode, texts), None)


def _text(raw: bytes | None) -> str:
    return (raw or b"").decode("utf-8", "replace")


def _cells(column: _Column) -> Cells:
    """A copy of a column's values; masked where cells have none."""
    count = column.count
    if column.type in (_INT64, _DOUBLE):
        dtype = np.dtype("i8" if column.type == _INT64 else "f8")
        values: NDArray[Any] = np.empty(count, dtype)
        if count:
            ctypes.memmove(values.ctypes.data, column.values, count * dtype.itemsize)
    else:
        texts = ctypes.cast(column.values, ctypes.POINTER(ctypes.c_char_p))
        values = np.array([_text(texts[row]) for row in range(count)], dtype=str)
    if not column.present or not count:
        return values
    present = np.frombuffer(ctypes.string_at(column.present, count), np.uint8)
    return masked.MaskedArray(values, present == 0)  # type: ignore[no-any-return]


class _Host:
    """Receives the callbacks of a running job. An exception in one of them is kept and cancels the job."""

    def __init__(self, progress: Progress | None, block: BlockSink | None, workers: Workers | None = None) -> None:
        self.failure: BaseException | None = None
        self.interrupted = False
        self.texts: list[str] = []
        self.notes: list[str] = []
        self.reports: list[str] = []
        self._progress, self._block, self._workers = progress, block, workers

    def _kept(self, call: Callable[[], object]) -> int:
        if self.failure is None and not self.interrupted:
            try:
                call()
            except BaseException as failure:  # must not leave the callback; it is raised again after the job
                self.failure = failure
        return int(self.failure is not None or self.interrupted)

    def _on_progress(self, _user: int, step: bytes, percent: int) -> int:
        progress = self._progress
        return self._kept(lambda: progress(_text(step), percent) if progress else None)

    def _on_block(self, _user: int, columns: Any, count: int, _rows: int) -> int:
        found = [columns[place].contents for place in range(count)]
        block = self._block
        return self._kept(lambda: block({_text(column.name): _cells(column) for column in found},
                                        {_text(column.name): _text(column.unit) for column in found})
                          if block else None)

    def _on_text(self, _user: int, text: Any, size: int) -> int:
        return self._kept(lambda: self.texts.append(_text(ctypes.string_at(text, size))))

    def _on_parts(self, call: Callable[[], object]) -> int:
        return self._kept(lambda: self._wait_for(call))

    def _wait_for(self, call: Callable[[], object]) -> None:
        """Make a call on another thread, so that an interrupt ends the wait."""
        failures: list[BaseException] = []

        def work() -> None:
            try:
                call()
            except BaseException as failure:
                failures.append(failure)

        thread = threading.Thread(target=work, daemon=True)
        thread.start()
        while thread.is_alive() and not self.interrupted:
            thread.join(_PATIENCE)
        if failures:
            raise failures[0]

    def callbacks(self) -> _Callbacks:
        parts: tuple[Any, ...] = ()
        if self._workers:
            call = self._workers.run
            parts = (_PartsCall(lambda _, task, count: self._on_parts(lambda: call(_text(task), count))),
                     os.fsencode(self._workers.folder))
        return _Callbacks(ctypes.sizeof(_Callbacks), None, _ProgressCall(self._on_progress), _BlockCall(self._on_block),
                          _TextCall(self._on_text), _SentenceCall(lambda _, told: self.notes.append(_text(told))),
                          _SentenceCall(lambda _, told: self.reports.append(_text(told))), *parts)

    @contextmanager
    def hearing_interrupts(self) -> Iterator[None]:
        """Let SIGINT cancel the job, and those of other threads. The usual handler raises an exception, which is lost
        on entry to a callback, so another handler takes its place; the usual one is called after the job.
        """
        usual = signal.getsignal(signal.SIGINT)
        if threading.current_thread() is not threading.main_thread() or not callable(usual):
            yield
            return

        def interrupt(_number: int, _frame: object) -> None:
            _running.interrupt()

        signal.signal(signal.SIGINT, interrupt)
        try:
            yield
        finally:
            signal.signal(signal.SIGINT, usual)
        if self.interrupted:
            usual(signal.SIGINT, None)


class _Running:
    """The jobs of all threads."""

    def __init__(self) -> None:
        self._hosts: set[_Host] = set()
        self._changed = threading.Condition()
        self._is_ending = False

    @contextmanager
    def holding(self, host: _Host) -> Iterator[None]:
        try:
            with self._changed:
                if self._is_ending:
                    raise Error("no job can be started while Python ends")
                self._hosts.add(host)
            yield
        finally:
            with self._changed:
                self._hosts.discard(host)
                self._changed.notify_all()

    def interrupt(self) -> None:
        for host in tuple(self._hosts):
            host.interrupted = True

    def end(self) -> None:
        """End the jobs of daemon threads, whose callbacks would find no Python to return to."""
        with self._changed:
            self._is_ending = True
            self.interrupt()
            self._changed.wait_for(lambda: not self._hosts, _LONGEST_WAIT)


_running = _Running()
atexit.register(lambda: _running.end())


def _forget() -> None:
    """Start anew in a forked process, which has one thread and none of the jobs of others."""
    global _running
    _running = _Running()


if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_forget)


def run(job: str, inputs: Sequence[str], outputs: Sequence[str], options: Sequence[str],
        progress: Progress | None = None, block: BlockSink | None = None, workers: Workers | None = None) -> _Host:
    """Run a job to its end, without the interpreter's lock.

    Raises
    ------
    Error
        With the job's sentence. An exception in a callback, or an interrupt, cancels the job and is raised instead.
    """
    host = _Host(progress, block, workers)
    _call(host, job, library().zeltra_run, job.encode(), _list(inputs), _list(outputs), _list(options))
    return host


def run_part(task: str, number: int) -> None:
    """Do a part, counted from 1, of a task for workers.

    Raises
    ------
    Error
        With the sentence that says why it failed.
    """
    _call(_Host(None, None), "part", library().zeltra_run_part, os.fsencode(task), number)


def _call(host: _Host, job: str, function: Any, *arguments: Any) -> None:
    callbacks = host.callbacks()
    sentence = ctypes.create_string_buffer(_MOST_BYTES)
    with _running.holding(host), host.hearing_interrupts():
        code = function(*arguments, ctypes.byref(callbacks), sentence, ctypes.c_size_t(_MOST_BYTES), None)
    if host.failure is not None:
        raise host.failure
    if code != _DONE:
        raise Error(_text(sentence.value) or f"zeltra {job}: {'cancelled' if code == _CANCELLED else 'failed'}")

"""Outputs that the package itself writes: they appear under their names when they are complete."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import os
import shutil

from ._error import Error, reason


def check_free(path: str, force: bool) -> None:
    """Raise Error where `put` would."""
    if os.path.lexists(path) and not force:
        raise Error(f"{path}: exists already and is not replaced unasked")
    if os.path.exists(path) and not os.path.isfile(path):
        raise Error(f"{path}: is not a regular file")


def put(made: str, path: str, force: bool) -> None:
    """Give a file of the same file system its name, and wait until both are on the disk. Symbolic links are followed;
    a file that is replaced passes its permissions on.
    """
    check_free(path, force)
    path = os.path.realpath(path)
    try:
        _sync(made, os.O_RDWR)
        if os.path.exists(path):
            shutil.copymode(path, made)
            os.replace(made, path)
        else:
            _name(made, path)
        if os.name == "posix":
            _sync(os.path.dirname(path), os.O_RDONLY)
    except OSError as failure:
        raise Error(f"{path}: cannot be written: {reason(failure)}") from failure


def _name(made: str, path: str) -> None:
    """Name a file, unless the name has been taken meanwhile."""
    try:
        os.link(made, path)
        os.unlink(made)
    except FileExistsError:
        raise Error(f"{path}: exists already and is not replaced unasked") from None
    except OSError:  # the file system has no hard links
        os.rename(made, path)


def _sync(path: str, mode: int) -> None:
    """Wait until a file, or the names of a folder, are on the disk."""
    descriptor = os.open(path, mode | getattr(os, "O_BINARY", 0))
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)

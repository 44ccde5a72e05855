"""The exception of the package."""
# SPDX-License-Identifier: MIT
import os
from typing import NoReturn


class Error(Exception):
    """A failure, described in one sentence that names the file, what is wrong with it and where."""


def reason(failure: OSError) -> str:
    """The system's reason, as the command words it."""
    text = os.strerror(failure.errno) if failure.errno else str(failure)
    return text[:1].lower() + text[1:]


def missing(package: str, purpose: str, failure: ImportError) -> NoReturn:
    """Raise Error for an optional package that is missing."""
    raise ImportError(f"{purpose} needs the package {package}, which is not installed") from failure

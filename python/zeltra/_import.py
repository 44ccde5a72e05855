"""The import of UV FITS."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

from dataclasses import dataclass
from typing import Any

from ._file import open_file
from ._jobs import Path, keywords, run
from ._library import Progress


@dataclass(frozen=True)
class ImportSummary:
    """What an import has made.

    Attributes
    ----------
    records : int
        Number of records.
    sorted : bool
        Whether they had to be sorted by time.
    tables : list of str
        Codes of the tables.
    remarks : list of str
        What to know about the input, in sentences; it names whatever a UVX file has no place for.
    """

    records: int
    sorted: bool
    tables: list[str]
    remarks: list[str]


def import_uvfits(path: Path, output: Path, overwrite: bool = False, progress: Progress | None = None,
                  **options: Any) -> ImportSummary:
    """Import random-groups UV FITS into a UVX file.

    Parameters
    ----------
    path : str or os.PathLike
        The file to import.
    output : str or os.PathLike
        The UVX file to make.
    overwrite : bool
        Replace it if it exists.
    progress : callable, optional
        Called with the step and its percentage.
    **options
        Those of `zeltra.jobs.import_`.

    Returns
    -------
    ImportSummary
    """
    chosen = {"force": overwrite, **keywords(options)}
    result = run("import", [path], [output], chosen, progress=progress)
    with open_file(output) as file:
        return ImportSummary(len(file), any(", sorted by time" in told for told in result.reports), file.tables,
                             result.notes)

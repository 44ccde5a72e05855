"""The bytes of a UVX file: header, records, table directory and tables (docs/uvx-format.md)."""
# SPDX-License-Identifier: MIT
from __future__ import annotations

import math
import struct
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Union

import numpy as np
from numpy.typing import NDArray

from ._error import Error

if TYPE_CHECKING:
    import mmap

Buffer = Union[bytes, "mmap.mmap"]
Value = Union[str, int, float, bool]

MAGIC = 1003
HEADER_BYTES = 481
RECORD_HEAD = np.dtype([("flag", "i1"), ("freqsel", "i1"), ("source", "<i2"), ("u", "<f4"), ("v", "<f4"), ("w", "<f4"),
                        ("time", "<f8"), ("ant1", "u1"), ("ant2", "u1")])
VALUE_BYTES = 12  # real part, imaginary part, weight
POLARISATIONS = {
    1: "I", 2: "Q", 3: "U", 4: "V", -1: "RR", -2: "LL", -3: "RL", -4: "LR", -5: "XX", -6: "YY", -7: "XY", -8: "YX"
}
MOST_TABLES = 128
_NUMBERS = {"I": "<i2", "J": "<i4", "E": "<f4", "D": "<f8"}


def text_of(raw: bytes) -> str:
    """The text of a field: up to the first zero byte, without blanks around it."""
    return raw.split(b"\0")[0].decode("latin-1").strip()


@dataclass(frozen=True)
class Header:
    """The header of a file."""

    data_offset: int
    directory: int
    records: int
    epoch: float
    date_obs: float
    unit: str
    observer: str
    telescope: str
    codes: tuple[int, ...]
    stored_ifs: int
    channels: int
    freq0: float

    @property
    def ifs(self) -> int:
        """IFs of a record; a file without an IF axis has one."""
        return max(1, self.stored_ifs)

    @property
    def record_bytes(self) -> int:
        return RECORD_HEAD.itemsize + VALUE_BYTES * len(self.codes) * self.channels * self.ifs

    @property
    def end(self) -> int:
        """Where the records end."""
        return self.data_offset + self.records * self.record_bytes


def read_header(raw: Buffer, path: str) -> Header:
    """Read a header and compare it with the size of the file.

    Raises
    ------
    Error
        If this is not a UVX file, or if it is shorter than its header says.
    """
    if len(raw) < HEADER_BYTES or struct.unpack_from("<i", raw, 0)[0] != MAGIC:
        raise Error(f"{path}: not a UVX file, or one whose writer did not finish")
    data_offset, directory, records, epoch, date_obs = struct.unpack_from("<iqidd", raw, 4)
    polarisations = struct.unpack_from("<h", raw, 192)[0]
    stored_ifs, channels, freq0 = struct.unpack_from("<iid", raw, 210)
    whole = 0 <= polarisations <= 8 and min(records, data_offset, directory, stored_ifs, channels) >= 0
    if whole:
        codes = struct.unpack_from(f"<{polarisations}h", raw, 194)
        header = Header(data_offset, directory, records, epoch, date_obs, text_of(bytes(raw[38:48])),
                        text_of(bytes(raw[48:64])), text_of(bytes(raw[64:80])), codes, stored_ifs, channels, freq0)
        if header.record_bytes < 1 << 31 and max(header.end, directory) <= len(raw):
            return header
    raise Error(f"{path}: damaged or cut short, it does not hold what its first {HEADER_BYTES} bytes promise")


@dataclass(frozen=True)
class Column:
    """A column of a table, with `count` elements in each row; `letter` is their type as in FITS."""

    name: str
    unit: str
    letter: str
    count: int

    @property
    def bytes(self) -> int:
        if self.letter == "X":
            return (self.count + 7) // 8
        return self.count * (np.dtype(_NUMBERS[self.letter]).itemsize if self.letter in _NUMBERS else 1)


@dataclass(frozen=True)
class TableImage:
    """A table as it is stored."""

    code: str
    keywords: dict[str, Value]
    columns: tuple[Column, ...]
    rows: NDArray[np.uint8]  # [row, byte]

    def __len__(self) -> int:
        return len(self.rows)

    def has(self, name: str) -> bool:
        """Whether there is a column of that name."""
        return any(column.name == name for column in self.columns)

    def column(self, name: str) -> NDArray[Any]:
        """A column: [row], or [row, element] if a row has several; texts are str, logical values and bits are bool."""
        for place, column in enumerate(self.columns):
            if column.name == name:
                return self.column_at(place)
        raise KeyError(f"there is no column {name}")

    def column_at(self, place: int) -> NDArray[Any]:
        """A column by its position."""
        start, column = sum(before.bytes for before in self.columns[:place]), self.columns[place]
        return _decoded(np.ascontiguousarray(self.rows[:, start:start + column.bytes]), column)


def _decoded(cells: NDArray[np.uint8], column: Column) -> NDArray[Any]:
    rows = len(cells)
    if column.letter == "A":
        texts = [cell.tobytes().split(b"\0")[0].decode("latin-1").rstrip(" ") for cell in cells]
        return np.array(texts, dtype=str).reshape(rows)
    if column.letter == "X":
        values: NDArray[Any] = np.unpackbits(cells[:, ::-1], axis=1)[:, :column.count].astype(bool)
    elif column.letter == "L":
        values = cells == ord("T")
    elif column.letter in _NUMBERS and column.count == 0:
        values = np.empty((rows, 0), _NUMBERS[column.letter])
    else:
        values = cells.view(_NUMBERS.get(column.letter, "u1"))
    return values[:, 0] if column.count == 1 else values


def keyword_value(text: str, is_number: bool) -> Value:
    """The value of a keyword: bool, int or float if the card had no quotes. Exponents may be in Fortran's form."""
    if not is_number:
        return text
    if text in ("T", "F"):
        return text == "T"
    try:
        return int(text)
    except ValueError:
        pass
    try:
        return float(text.upper().replace("D", "E"))
    except ValueError:
        return text


def read_directory(raw: Buffer, header: Header, path: str) -> list[tuple[str, int, int]]:
    """Code, offset and bytes of each table."""
    if header.directory == 0:
        return []
    count = struct.unpack_from("<h", raw, header.directory)[0] if header.directory + 2 <= len(raw) else -1
    if not 0 <= count <= MOST_TABLES or header.directory + 2 + 16 * count > len(raw):
        raise Error(f"{path}: damaged or cut short, its table directory is at byte {header.directory}")
    found = []
    for place in range(count):
        identifier, offset, size = struct.unpack_from("<iqi", raw, header.directory + 2 + 16 * place)
        found.append((chr(identifier & 0xFF) + chr(identifier >> 8 & 0xFF), offset, size))
    return found


def read_table(raw: Buffer, code: str, offset: int, size: int, path: str) -> TableImage:
    """Read the image of a table, which must hold as many bytes as its counts require."""
    damaged = Error(f"{path}: the table {code} at byte {offset} is damaged")
    if offset < 0 or size < 18 or offset + size > len(raw):
        raise damaged
    image = bytes(raw[offset:offset + size])
    words = struct.unpack_from("<h", image, 4)[0]
    at = 6 + 46 * words
    if words < 0 or at + 12 > size:
        raise damaged
    rows, count, row_bytes = struct.unpack_from("<3i", image, at)
    data = at + 12 + 36 * count
    if min(rows, count, row_bytes) < 0 or data + rows * row_bytes > size:
        raise damaged
    keywords = {}
    for place in range(6, at, 46):
        number = struct.unpack_from("<i", image, place + 42)[0]
        keywords[text_of(image[place:place + 10])] = keyword_value(text_of(image[place + 10:place + 42]), number == 1)
    columns = tuple(_column(image[place:place + 36]) for place in range(at + 12, data, 36))
    if sum(column.bytes for column in columns) > row_bytes:
        raise damaged
    return TableImage(code, keywords, columns,
                      np.frombuffer(image, np.uint8, rows * row_bytes, data).reshape(rows, row_bytes))


def _column(raw: bytes) -> Column:
    form = text_of(raw[28:36])
    count = form[:-1]
    return Column(text_of(raw[:18]), text_of(raw[18:28]), form[-1:], int(count) if count.isascii() and count.isdigit() else 1)


def julian_text(days: float) -> str:
    """A Julian date as text that reads back to the same number."""
    return repr(days) if math.isfinite(days) else ""

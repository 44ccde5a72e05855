"""Read a UVX file with numpy: a second reader, written from docs/uvx-format.md alone."""
# SPDX-License-Identifier: MIT
import struct

import numpy as np

GROUP = np.dtype([("flag", "i1"), ("frqsel", "i1"), ("source", "<i2"), ("u", "<f4"), ("v", "<f4"), ("w", "<f4"),
                  ("time", "<f8"), ("ant1", "u1"), ("ant2", "u1")])
ELEMENT = {"I": "<i2", "J": "<i4", "E": "<f4", "D": "<f8"}
STOKES = {1: "I", 2: "Q", 3: "U", 4: "V", -1: "RR", -2: "LL", -3: "RL", -4: "LR", -5: "XX", -6: "YY", -7: "XY", -8: "YX"}
RANGES = ("u", "v", "w", "time", "re", "im", "weight")


def text(raw):
    return raw.split(b"\0")[0].decode("latin-1").strip()


class Table:
    """A table image: `keywords` maps names to (text, numeric flag), `columns` lists (name, unit, letter, count)."""

    def __init__(self, raw):
        self.id, count = struct.unpack_from("<ih", raw, 0)
        self.code = chr(self.id & 0xFF) + chr(self.id >> 8 & 0xFF)
        at = 6
        self.keywords = {}
        for _ in range(count):
            self.keywords[text(raw[at:at + 10])] = (text(raw[at + 10:at + 42]), struct.unpack_from("<i", raw, at + 42)[0])
            at += 46
        self.rows, columns, self.row_bytes = struct.unpack_from("<3i", raw, at)
        at += 12
        self.columns = []
        for _ in range(columns):
            form = text(raw[at + 28:at + 36])
            self.columns.append((text(raw[at:at + 18]), text(raw[at + 18:at + 28]), form[-1], int(form[:-1] or 1)))
            at += 36
        self.data = raw[at:at + self.rows * self.row_bytes]

    def column(self, index):
        """A column by its number or name, shape [row][element]; text columns are an array of bytes."""
        index = [c[0] for c in self.columns].index(index) if isinstance(index, str) else index
        sizes = [(n + 7) // 8 if c == "X" else n * {"I": 2, "J": 4, "E": 4, "D": 8}.get(c, 1)
                 for _, _, c, n in self.columns]
        start, size = sum(sizes[:index]), sizes[index]
        letter = self.columns[index][2]
        rows = np.frombuffer(self.data, "u1").reshape(self.rows, self.row_bytes)[:, start:start + size]
        rows = np.ascontiguousarray(rows)
        if letter == "A":
            return np.array([bytes(r).split(b"\0")[0].rstrip() for r in rows])
        if letter == "X":
            return rows[:, ::-1]  # one unit in machine order
        return rows.view(ELEMENT.get(letter, "u1"))


class File:
    def __init__(self, path):
        with open(path, "rb") as file:
            raw = file.read()
        magic, self.data_offset, directory = struct.unpack_from("<iiq", raw, 0)
        assert magic == 1003, "not a finished UVX file"
        self.count, self.epoch, self.date_obs = struct.unpack_from("<idd", raw, 16)
        self.bunit, self.observer, self.telescope = text(raw[38:48]), text(raw[48:64]), text(raw[64:80])
        self.ranges = dict(zip(RANGES, struct.unpack_from("<14d", raw, 80)[::2]))
        self.maxima = dict(zip(RANGES, struct.unpack_from("<14d", raw, 80)[1::2]))
        polarisations = struct.unpack_from("<h", raw, 192)[0]
        self.stokes = struct.unpack_from("<%dh" % polarisations, raw, 194)
        self.ifs, self.channels, self.freq0 = struct.unpack_from("<iid", raw, 210)
        shape = (max(1, self.ifs), self.channels, polarisations, 3)
        record = np.dtype([("group", GROUP), ("vis", "<f4", shape)])
        self.records = np.frombuffer(raw, record, self.count, self.data_offset)
        self.tables = []
        if directory:
            for i in range(struct.unpack_from("<h", raw, directory)[0]):
                _, offset, size = struct.unpack_from("<iqi", raw, directory + 2 + 16 * i)
                self.tables.append(Table(raw[offset:offset + size]))

    def table(self, code):
        return next(t for t in self.tables if t.code == code)


def edited(source, target, change):
    """Write a copy of a file after `change` has had its records. @return the target"""
    file = File(source)
    with open(source, "rb") as given, open(target, "wb") as made:
        raw = bytearray(given.read())
        change(np.frombuffer(raw, file.records.dtype, file.count, file.data_offset))
        made.write(raw)
    return target


def encode(code, columns, rows, keywords=()):
    """The image of a table: `columns` lists (name, format), rows are flat tuples of numbers and bytes."""
    image = struct.pack("<ih", ord(code[0]) | ord(code[1]) << 8, len(keywords))
    body = b""
    forms = [(form[-1], int(form[:-1])) for _, form in columns]
    for row in rows:
        values = iter(row)
        for letter, n in forms:
            if letter in "AX":
                body += next(values).ljust(n if letter == "A" else (n + 7) // 8)
            else:
                body += np.array([next(values) for _ in range(n)], ELEMENT[letter]).tobytes()
    image += struct.pack("<3i", len(rows), len(columns), len(body) // len(rows))
    for name, form in columns:
        image += name.encode().ljust(18, b"\0") + bytes(10) + form.encode().ljust(8, b"\0")
    return image + body


def with_tables(path, tables):
    """Add tables, as of encode, to a file. @return its name"""
    with open(path, "rb") as file:
        raw = bytearray(file.read())
    directory = struct.unpack_from("<q", raw, 8)[0]
    count = struct.unpack_from("<h", raw, directory)[0]
    for number, table in enumerate(tables, count):
        image = encode(*table)
        struct.pack_into("<iqi", raw, directory + 2 + 16 * number, *struct.unpack_from("<i", image), len(raw), len(image))
        raw += image
    struct.pack_into("<h", raw, directory, count + len(tables))
    with open(path, "wb") as file:
        file.write(raw)
    return path


def renumber(path, out, sources, antennas, days=0, position=0, name=False, unit=b"", unnamed=False):
    """A file with other numbers of sources and antennas, or something else in the way of joining the two: antenna 1
    moved, both sources under each other's name, another unit, antennas without names and positions."""
    with open(path, "rb") as file:
        raw = bytearray(file.read())
    file = File(path)
    group = file.records["group"]
    records = file.records.copy()
    records["group"]["source"] = [sources.get(int(n), n) for n in group["source"]]
    for column in ("ant1", "ant2"):
        records["group"][column] = [antennas.get(int(n), n) for n in group[column]]
    records["group"]["time"] += days
    raw[file.data_offset:file.data_offset + records.nbytes] = records.tobytes()
    struct.pack_into("<d", raw, 28, file.date_obs + days)
    if unit:
        raw[38:48] = unit.ljust(10, b"\0")
    directory = struct.unpack_from("<q", raw, 8)[0]
    known = {"ID. NO.": sources, "SOURCE": sources, "SOURCE ID": sources, "NOSTA": antennas, "ANTENNA NO.": antennas,
             "ANTS": antennas, "REFANT 1": antennas}
    for number, table in enumerate(file.tables):
        at, size = struct.unpack_from("<qi", raw, directory + 6 + 16 * number)
        start = at + size - table.rows * table.row_bytes
        if not table.rows or table.code == "HD":
            continue
        rows = np.frombuffer(raw, "u1", table.rows * table.row_bytes, start).reshape(table.rows, -1)
        offset = 0
        for i, (title, _, letter, n) in enumerate(table.columns):
            width = {"X": (n + 7) // 8}.get(letter, n * {"I": 2, "J": 4, "E": 4, "D": 8}.get(letter, 1))
            cell = rows[:, offset:offset + width]
            if title in known and letter in ELEMENT:
                changed = [[known[title].get(int(value), value) for value in row] for row in table.column(i)]
                cell[:] = np.array(changed, ELEMENT[letter]).view("u1")
            if title == "STABXYZ" and position:
                moved = table.column(i).copy()
                moved[0, 2] += position
                cell[:] = moved.view("u1")
            if title == "SOURCE" and letter == "A" and name:
                cell[:] = cell[::-1].copy()
            if title in ("ANNAME", "STABXYZ") and unnamed:
                cell[:] = 0
            offset += width
    with open(out, "wb") as made:
        made.write(raw)

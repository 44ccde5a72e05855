"""Average a UVX file over intervals, or close its phases, with numpy: numpy_averages.py average|closure FILE SECONDS

The yardstick of read_bench: what a capable person writes in an afternoon. Weighted complex means of valid values.
"""
# SPDX-License-Identifier: MIT
import itertools
import struct
import sys

import numpy as np


def records_of(path):
    with open(path, "rb") as file:
        head = file.read(481)
    offset = struct.unpack_from("<i", head, 4)[0]
    count, _, date = struct.unpack_from("<idd", head, 16)
    stokes = struct.unpack_from("<h", head, 192)[0]
    ifs, channels = struct.unpack_from("<ii", head, 210)
    record = np.dtype([("flag", "i1"), ("frqsel", "i1"), ("source", "<i2"), ("uvw", "<f4", 3), ("time", "<f8"),
                       ("base", ">u2"), ("vis", "<f4", (max(1, ifs) * channels * stokes, 3))])
    return np.memmap(path, record, "r", offset, count), date


def runs(records, date, interval):
    """Slices of one source and interval; the file is in time order."""
    number = np.floor((records["time"] - date) * 86400 / interval)
    change = np.flatnonzero((np.diff(number) != 0) | (np.diff(records["source"]) != 0)) + 1
    edges = np.concatenate([[0], change, [len(records)]])
    return zip(edges[:-1], edges[1:])


def means(block, values):
    order = np.argsort(block["base"], kind="stable")
    order = order[block["flag"][order] == 0]
    bases, starts = np.unique(block["base"][order], return_index=True)
    vis = block["vis"][order][:, values]
    weight = np.where(vis[..., 2:] > 0, vis[..., 2:], 0)
    total = np.add.reduceat(weight, starts, axis=0)
    with np.errstate(invalid="ignore", divide="ignore"):
        return bases, np.add.reduceat(weight * vis[..., :2], starts, axis=0) / total


def main(job, path, interval):
    records, date = records_of(path)
    total = 0
    for first, last in runs(records, date, float(interval)):
        if job == "average":
            bases, mean = means(records[first:last], slice(None))
            total += len(bases)
            continue
        # The first two of four polarisations.
        hands = np.arange(records["vis"].shape[1]).reshape(-1, 4)[:, :2].ravel()
        bases, mean = means(records[first:last], hands)
        none = np.full(len(hands), np.nan)
        value = dict(zip(bases.tolist(), mean[..., 0] + 1j * mean[..., 1]))
        antennas = sorted({a for base in value for a in (base >> 8, base & 255)})
        legs = np.array([(a << 8 | b, b << 8 | c, a << 8 | c) for a, b, c in itertools.combinations(antennas, 3)])
        z = np.array([[value.get(leg, none) for leg in row] for row in legs.tolist()])
        closure = np.angle(np.nansum(z[:, 0] * z[:, 1] * z[:, 2].conj(), axis=1))
        total += np.count_nonzero(np.isfinite(closure))
    print(total)


main(*sys.argv[1:])

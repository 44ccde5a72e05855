"""Print the mean amplitude of each source over intervals of a minute: averages.py FILE.uvx"""
# SPDX-License-Identifier: MIT
import sys

import numpy as np

import zeltra as z
from astropy import units as u


def main(path: str) -> None:
    with z.open(path) as f:
        for number, name in zip(f.sources["number"], f.sources["name"]):
            average = f.select(source=int(number)).average(1 * u.min)
            mean = np.nanmean(np.abs(average.vis))
            print(
                f"{name}: {len(average.time)} intervals, {len(average.baseline)} baselines, {mean:.3f} {average.unit}"
            )


main(sys.argv[1])

"""Small UV FITS files, written by astropy, each with something that a reader may stumble over."""
# SPDX-License-Identifier: MIT
import io

import numpy as np
from astropy.io import fits

JD0 = 2451545.5  # 0 h UTC of 2000-01-02


def antenna_table(name="AIPS AN", frame=True):
    n = 4
    columns = [
        fits.Column("ANNAME", "8A", array=["ANT%d" % i for i in range(1, n + 1)]),
        fits.Column("STABXYZ", "3D", unit="METERS", array=np.arange(3 * n).reshape(n, 3) * 1e5 + 0.125),
        fits.Column("ORBPARM", "0D", array=np.zeros((n, 0))),
        fits.Column("NOSTA", "1J", array=np.arange(1, n + 1)),
        fits.Column("MNTSTA", "1J", array=np.zeros(n)),
        fits.Column("STAXOF", "1E", unit="METERS", array=np.full(n, 2.5)),
    ]
    hdu = fits.BinTableHDU.from_columns(columns, name=name)
    hdu.header.update(ARRAYX=0.0, ARRAYY=0.0, ARRAYZ=0.0, **({"XYZHAND": "RIGHT"} if frame else {}), FREQ=1.4e9, TIMSYS="UTC")
    return hdu


def setup_table(setups, ifs, name="AIPS FQ", idi=False):
    forms = [("FREQID" if idi else "FRQSEL", "1J", None, np.arange(1, setups + 1)),
             ("BANDFREQ" if idi else "IF FREQ", "%dD" % ifs, "HZ", np.arange(setups * ifs).reshape(setups, ifs) * 8e6),
             ("CH_WIDTH" if idi else "CH WIDTH", "%dE" % ifs, "HZ", np.full((setups, ifs), 5e5)),
             ("TOTAL_BANDWIDTH" if idi else "TOTAL BANDWIDTH", "%dE" % ifs, "HZ", np.full((setups, ifs), 2e6)),
             ("SIDEBAND", "%dJ" % ifs, None, np.ones((setups, ifs)))]
    hdu = fits.BinTableHDU.from_columns([fits.Column(n, f, unit=u, array=a) for n, f, u, a in forms], name=name)
    hdu.header["NO_BAND" if idi else "NO_IF"] = ifs
    return hdu


def source_table(names):
    n = len(names)
    columns = [fits.Column("ID. NO.", "1J", array=np.arange(1, n + 1)), fits.Column("SOURCE", "16A", array=names)]
    columns += [fits.Column(c, "1D", unit="DEGREES", array=np.arange(n) * 10.0 + 1.5)
                for c in ("RAEPO", "DECEPO", "RAAPP", "DECAPP")]
    columns.append(fits.Column("EPOCH", "1D", unit="YEARS", array=np.full(n, 2000.0)))
    return fits.BinTableHDU.from_columns(columns, name="AIPS SU")


def odd_table():
    """Columns of every type that tables carry, a string with garbage after its end, and types that they do not."""
    columns = [
        fits.Column("BITS", "12X", array=np.arange(24).reshape(2, 12) % 3 == 0),
        fits.Column("FLAGS", "3L", array=np.array([[True, False, True], [False, False, True]])),
        fits.Column("SHORTS", "2I", array=np.array([[-2, 300], [7, -32768]])),
        fits.Column("NOTHING", "0E", array=np.zeros((2, 0))),
        fits.Column("WIDE", "1K", array=np.array([1 << 40, 2])),
        fits.Column("PLAIN", "E", array=np.array([1.5, -2.25])),
        fits.Column("NAME", "6A", array=np.array([b"AB\0xyz", b"CDE"])),
    ]
    hdu = fits.BinTableHDU.from_columns(columns, name="AIPS TY")
    hdu.header.update(REVISION=10, OBSCODE="BT001")
    return hdu


def header(axes, parameters, groups, bitpix=-32, more=()):
    """The primary header for axes (name, length, value, step) and parameters (name, scale, zero)."""
    cards = [("SIMPLE", True), ("BITPIX", bitpix), ("NAXIS", len(axes) + 1), ("NAXIS1", 0)]
    cards += [("NAXIS%d" % i, axis[1]) for i, axis in enumerate(axes, 2)]
    cards += [("EXTEND", True), ("GROUPS", True), ("PCOUNT", len(parameters)), ("GCOUNT", groups)]
    for i, (name, scale, zero) in enumerate(parameters, 1):
        cards += [("PTYPE%d" % i, name), ("PSCAL%d" % i, scale), ("PZERO%d" % i, zero)]
    for i, (name, _, value, step) in enumerate(axes, 2):
        cards += [("CTYPE%d" % i, name), ("CRVAL%d" % i, value), ("CDELT%d" % i, step), ("CRPIX%d" % i, 1.0)]
    cards += [("OBJECT", "3C273"), ("TELESCOP", "TEST"), ("INSTRUME", "TEST"), ("OBSERVER", "NOBODY"),
              ("DATE-OBS", "2000-01-02"), ("BUNIT", "JY"), ("EPOCH", 2000.0)]
    given = {key for key, _ in more}
    cards = [(key, value) for key, value in cards if key not in given] + list(more)
    return blocks(("".join(fits.Card(*card).image for card in cards) + "END".ljust(80)).encode(), b" ")


def blocks(content, filler=b"\0"):
    return content.ljust(-(-len(content) // 2880) * 2880, filler)


def store(path, head, groups, tables=()):
    """Write a header, groups as an array and tables."""
    hdus = fits.HDUList([fits.PrimaryHDU(), *tables])
    made = io.BytesIO()
    hdus.writeto(made)
    with open(path, "wb") as out:
        out.write(head + blocks(groups.tobytes()) + made.getvalue()[2880:])
    return path


def load(path):
    """Header, bytes of it, and groups with fields par [parameter] and data, as stored, without astropy's scaling."""
    with open(path, "rb") as file:
        head = fits.Header.fromfile(file)  # fits.open reads the headers of all tables
        kind = {-32: ">f4", 16: ">i2", 32: ">i4"}[head["BITPIX"]]
        shape = tuple(head["NAXIS%d" % i] for i in range(head["NAXIS"], 1, -1))
        start = file.tell()
        groups = np.fromfile(file, [("par", kind, (head["PCOUNT"],)), ("data", kind, shape)], head["GCOUNT"])
        file.seek(0)
        return head, file.read(start), groups


def write(path, stokes=(-1, -1, 4), channels=3, ifs=2, if_axis=True, bitpix=-32, bscale=1.0, bzero=0.0, scaled=False,
          sources=0, setups=0, unsorted=False, split_date=True, extra=(), tables=(), more_cards=()):
    """Write random groups of all baselines of four antennas at five times."""
    rng = np.random.default_rng(7)
    pairs = [(a, b) for a in range(1, 5) for b in range(a + 1, 5)]
    times = np.repeat(np.arange(5) * 0.0125 + 0.25, len(pairs))
    count, f = len(times), 1.4e9
    order = rng.permutation(count) if unsorted else np.arange(count)
    parameters, values = [], []

    def parameter(name, value, scale=1.0, zero=0.0):
        parameters.append((name, scale, zero))
        stored = (np.asarray(value, float) - zero) / scale
        values.append(np.round(stored) if bitpix > 0 or scale != 1 else stored)

    for name in ("UU", "VV", "WW"):
        uvw = np.round(rng.normal(0, 2e4, count))
        parameter(*((name + "-L", uvw) if scaled == "wavelengths" else
                    (name + "---SIN", uvw / f, 1 / f) if scaled else (name, np.float32(uvw / f))))
    parameter("BASELINE", np.tile([256 * a + b for a, b in pairs], 5))
    whole = np.floor(times * 16) / 16
    if bitpix > 0:  # integers of 2^-10 days
        parameter("DATE", JD0 + np.round(times * 1024) / 1024, 1 / 1024, JD0)
    elif split_date:
        parameter("DATE", JD0 + whole, 1.0, JD0)
        parameter("_DATE", np.float32(times - whole))
    else:
        parameter("DATE", JD0 + times.astype("f4"), 1.0, JD0)
    for name, numbers in (("SOURCE", sources), ("FREQSEL", setups)):
        if numbers:
            parameter(name, np.repeat(np.arange(5) % numbers + 1, len(pairs)))
    for name in extra:
        parameter(name, np.full(count, 30.0))

    shape = (1, 1) + ((max(ifs, 1),) if if_axis else ()) + (channels, stokes[2], 3)
    data = rng.normal(0, 1, (count,) + shape)
    data[..., 2] = np.abs(data[..., 2]) - 0.25
    kind = {-32: ">f4", 16: ">i2", 32: ">i4"}[bitpix]
    groups = np.zeros(count, [("par", kind, (len(values),)), ("data", kind, shape)])
    groups["par"] = np.stack(values, axis=1)[order]
    groups["data"] = (np.round(data * 100) if bitpix > 0 else data)[order]
    axes = [("COMPLEX", 3, 1.0, 1.0), ("STOKES", stokes[2], stokes[0], stokes[1]), ("FREQ", channels, f, 5e5)]
    axes += [("IF", ifs, 1.0, 1.0)] if if_axis else []
    axes += [("RA", 1, 187.5, 1.0), ("DEC", 1, 12.25, 1.0)]
    more = [("BSCALE", bscale), ("BZERO", bzero), *more_cards]
    store(path, header(axes, parameters, count, bitpix, more), groups, tables)


VARIANTS = {
    "plain": dict(tables=[antenna_table(), setup_table(1, 2)]),
    "integers of 16 bits": dict(bitpix=16, bscale=0.01, bzero=0.5),
    "integers of 32 bits": dict(bitpix=32, bscale=0.001, bzero=-0.25),
    "scaled parameters": dict(scaled=True, extra=["INTTIM"], tables=[antenna_table(frame=False)]),
    "wavelengths": dict(scaled="wavelengths"),
    "sources and setups": dict(sources=3, setups=2, tables=[antenna_table(), setup_table(2, 2),
                                                             source_table(["A", "B", "C  D"])]),
    "no IF axis": dict(if_axis=False, ifs=0, stokes=(1, 1, 1)),
    "unsorted": dict(unsorted=True, sources=2, tables=[antenna_table()]),
    "look-alikes": dict(extra=["SUBARRAY", "WEIGHT", "DELAY", "FILTER", "UNKNOWN"]),
    "odd columns": dict(tables=[antenna_table(), odd_table()]),
    "one date": dict(split_date=False),
    "linear": dict(stokes=(-5, -1, 2)),
    "interchange names": dict(tables=[antenna_table("ARRAY_GEOMETRY"), setup_table(1, 2, "FREQUENCY", idi=True)]),
}

"""Small UV FITS files, written by astropy, each with something that a reader may stumble over."""
# SPDX-License-Identifier: MIT
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
    for axis, value in zip("XYZ", (0.0, 0.0, 0.0)):
        hdu.header["ARRAY" + axis] = value
    if frame:
        hdu.header["XYZHAND"] = "RIGHT"
    hdu.header["FREQ"] = 1.4e9
    hdu.header["TIMSYS"] = "UTC"
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
    """Columns of every type that tables carry, a string with garbage behind its end, and types that they do not."""
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
    hdu.header["REVISION"] = 10
    hdu.header["OBSCODE"] = "BT001"
    return hdu


def write(path, stokes=(-1, -1, 4), channels=3, ifs=2, if_axis=True, bitpix=-32, bscale=1.0, bzero=0.0, scaled=False,
          sources=0, setups=0, unsorted=False, split_date=True, extra=(), tables=(), more_cards=()):
    """Write random groups of all baselines of four antennas at five times."""
    rng = np.random.default_rng(7)
    pairs = [(a, b) for a in range(1, 5) for b in range(a + 1, 5)]
    times = np.repeat(np.arange(5) * 0.0125 + 0.25, len(pairs))
    groups = len(times)
    order = rng.permutation(groups) if unsorted else np.arange(groups)
    shape = (1, 1) + ((max(ifs, 1),) if if_axis else ()) + (channels, stokes[2], 3)
    names, values, scales, zeros = [], [], [], []

    def parameter(name, value, scale=1.0, zero=0.0):
        names.append(name), values.append(np.asarray(value, float)), scales.append(scale), zeros.append(zero)

    f = 1.4e9
    for name in ("UU", "VV", "WW"):
        uvw = np.round(rng.normal(0, 2e4, groups))
        parameter(*((name + "-L", uvw) if scaled == "wavelengths" else
                    (name + "---SIN", uvw / f, 1 / f) if scaled else (name, np.float32(uvw / f))))
    parameter("BASELINE", np.tile([256 * a + b for a, b in pairs], 5))
    whole, fraction = np.floor(times * 16) / 16, None
    fraction = times - whole
    if bitpix > 0:  # integers of 2^-10 days
        parameter("DATE", JD0 + np.round(times * 1024) / 1024, 1 / 1024, JD0)
    elif split_date:
        parameter("DATE", JD0 + whole, 1.0, JD0)
        parameter("_DATE", np.float32(fraction))
    else:
        parameter("DATE", JD0 + times.astype("f4"), 1.0, JD0)
    if sources:
        parameter("SOURCE", np.repeat(np.arange(5) % sources + 1, len(pairs)))
    if setups:
        parameter("FREQSEL", np.repeat(np.arange(5) % setups + 1, len(pairs)))
    for name in extra:
        parameter(name, np.full(groups, 30.0))

    data = rng.normal(0, 1, (groups,) + shape)
    data[..., 2] = np.abs(data[..., 2]) - 0.25
    if bitpix > 0:
        data = np.round(data * 100)
    dtype = {-32: "f4", 16: "i2", 32: "i4"}[bitpix]
    raw = [np.round((v - z) / s) if bitpix > 0 or s != 1 else v - z for v, s, z in zip(values, scales, zeros)]
    raw = np.stack([r[order] for r in raw], axis=1)
    group = np.dtype([("par", ">" + dtype, (len(names),)), ("data", ">" + dtype, shape)])
    rows = np.zeros(groups, group)
    rows["par"], rows["data"] = raw, data[order]

    axes = [("COMPLEX", 3, 1.0, 1.0), ("STOKES", stokes[2], stokes[0], stokes[1]), ("FREQ", channels, f, 5e5)]
    axes += [("IF", ifs, 1.0, 1.0)] if if_axis else []
    axes += [("RA", 1, 187.5, 1.0), ("DEC", 1, 12.25, 1.0)]
    cards = [("SIMPLE", True), ("BITPIX", bitpix), ("NAXIS", len(axes) + 1), ("NAXIS1", 0)]
    cards += [("NAXIS%d" % (i + 2), a[1]) for i, a in enumerate(axes)]
    cards += [("EXTEND", True), ("GROUPS", True), ("PCOUNT", len(names)), ("GCOUNT", groups)]
    for i, (name, scale, zero) in enumerate(zip(names, scales, zeros), 1):
        cards += [("PTYPE%d" % i, name), ("PSCAL%d" % i, scale), ("PZERO%d" % i, zero)]
    for i, (name, _, value, step) in enumerate(axes, 2):
        cards += [("CTYPE%d" % i, name), ("CRVAL%d" % i, value), ("CDELT%d" % i, step), ("CRPIX%d" % i, 1.0)]
    cards += [("BSCALE", bscale), ("BZERO", bzero), ("OBJECT", "3C273"), ("TELESCOP", "TEST"), ("INSTRUME", "TEST"),
              ("OBSERVER", "NOBODY"), ("DATE-OBS", "2000-01-02"), ("BUNIT", "JY"), ("EPOCH", 2000.0)]
    given = {key for key, _ in more_cards}
    cards = [(k, v) for k, v in cards if k not in given] + list(more_cards)
    header = "".join(fits.Card(k, v).image for k, v in cards) + "END".ljust(80)
    with open(path, "wb") as out:
        out.write(header.ljust(-(-len(header) // 2880) * 2880).encode())
        body = rows.tobytes()
        out.write(body.ljust(-(-len(body) // 2880) * 2880, b"\0"))
        if tables:
            hdus = fits.HDUList([fits.PrimaryHDU()] + list(tables))
            hdus.writeto(path + ".tables", overwrite=True)
            with open(path + ".tables", "rb") as made:
                out.write(made.read()[2880:])


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

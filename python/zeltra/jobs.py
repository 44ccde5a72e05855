"""The jobs of the command `zeltra`: one function each, with the same options. Made by scripts/make-python-jobs.

Files are given by their names, or as what `zeltra.open` and `select` return. A selection sets the options that it
stands for. Options left at None take the default of the command. IFs, channels and scans count from 0. Flags, progress
and failures are those of `zeltra.run`.
"""
# SPDX-License-Identifier: MIT
from __future__ import annotations

from collections.abc import Sequence
from typing import TYPE_CHECKING, Literal, Union

from ._jobs import Input, Path, Result, run
from ._library import Progress
from ._select import Moment, Names

if TYPE_CHECKING:
    from astropy.units import Quantity

Text = Path
Real = Union[float, str, "Quantity"]
Numbers = Union[int, Sequence[int]]
Span = Union[str, tuple[Union[float, None], Union[float, None]]]


def import_(input: Input, out: Path, *, subarray: int | None = None, scan_gap: Real | None = None,
            threads: int | None = None, force: bool = False, no_sync: bool = False,
            progress: Progress | None = None) -> Result:
    """Import random-groups UV FITS into a UVX file.

    Values are those of the source bit for bit. Groups in time order keep their order; others are sorted by time, then
    baseline. Whatever a UVX file has no place for is reported.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        The file to import.
    out : str or os.PathLike
        The file to make.
    subarray : int
        Import this subarray alone; from 1 to 100; default: all, as one list of antennas.
    scan_gap : float, str or Quantity
        Make a new list of scans, ended where time stamps are further apart than this, in s; from 0.001 to 1e+09;
        default: the list of the input; if it has none, the larger of 60 s and 8 times the median spacing of its time
        stamps.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"subarray": subarray, "scan-gap": scan_gap, "threads": threads, "force": force, "no-sync": no_sync}
    return run("import", [input], [out], options, progress=progress)


def export(input: Input, out: Path, *, force: bool = False, no_sync: bool = False,
           progress: Progress | None = None) -> Result:
    """Export a UVX file as random-groups UV FITS.

    32-bit floats, with AIPS tables as binary tables.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        The file to export.
    out : str or os.PathLike
        The file to make.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"force": force, "no-sync": no_sync}
    return run("export", [input], [out], options, progress=progress)


def info(input: Input, *, json: bool = False, baselines: bool = False, source: Names | None = None,
         freqsel: int | None = None, scan: Numbers | None = None, start: Moment | None = None,
         stop: Moment | None = None, antenna: Names | None = None, baseline: Names | None = None,
         uvrange: Span | None = None, progress: Progress | None = None) -> Result:
    """Show what a UVX file contains.

    A page of what the header and the tables say: sources, scans, frequencies, antennas, ranges of values. A selection
    applies to the records that --baselines reads.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    json : bool
        Print one JSON object: frequencies in Hz, scans in seconds since 0 h of the date, from their first and last
        records or, where there are more than 100000 scans, from the index, with their records numbered from 1.
    baselines : bool
        Read all records for the mean amplitude, its scatter and the number of valid values of every baseline and
        polarisation.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: all.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"json": json, "baselines": baselines, "source": source, "freqsel": freqsel, "scan": scan, "start": start,
               "stop": stop, "antenna": antenna, "baseline": baseline, "uvrange": uvrange}
    return run("info", [input], [], options, progress=progress)


def records(input: Input, *, source: Names | None = None, freqsel: int | None = None, scan: Numbers | None = None,
            start: Moment | None = None, stop: Moment | None = None, antenna: Names | None = None,
            baseline: Names | None = None, uvrange: Span | None = None, if_: Numbers | None = None,
            channel: Numbers | None = None, stokes: Names | None = None, from_: int | None = None,
            count: int | None = None, progress: Progress | None = None) -> Result:
    """Print visibility records.

    One line per record, in file order.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: all.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisations, stored or formed, as in RR, I or PI, the parallel hands that are there; default: those stored.
    from_ : int
        First record to consider, counted from 0.
    count : int
        Number of records to consider; from 0; default: all up to the last one.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns index, time, ant1, ant2, source, freqsel, u, v, w, re_IF_CHANNEL_POLARISATION,
        im_IF_CHANNEL_POLARISATION, weight_IF_CHANNEL_POLARISATION.
    """
    options = {"source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna,
               "baseline": baseline, "uvrange": uvrange, "if": if_, "channel": channel, "stokes": stokes, "from": from_,
               "count": count}
    return run("records", [input], [], options, progress=progress)


def table(input: Input, *, code: Text, version: int | None = None, progress: Progress | None = None) -> Result:
    """Print a table of a UVX file.

    One line per row, one column per element, as in STABXYZ[1]; 'zeltra info' lists the tables.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    code : str or os.PathLike
        The two characters that name the table, as in AN.
    version : int
        Which of several tables with this code, from 1; from 1; default: 1.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"code": code, "version": version}
    return run("table", [input], [], options, progress=progress)


def average(input: Input, *, interval: Real, output: Path | None = None, source: Names | None = None,
            freqsel: int | None = None, scan: Numbers | None = None, start: Moment | None = None,
            stop: Moment | None = None, antenna: Names | None = None, baseline: Names | None = None,
            uvrange: Span | None = None, if_: Numbers | None = None, channel: Numbers | None = None,
            stokes: Names | None = None, mode: Literal["complex", "amphase"] | None = None,
            mean: Literal["weighted", "plain"] | None = None, threads: int | None = None,
            mix: Literal["all", "rl", "cross"] | None = None, part: Text | None = None, force: bool = False,
            no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Average visibilities in time, into a table or a UVX file.

    One line per interval and baseline, in time order, each source and setup by itself. Flagged records and values do
    not count. A UVX file of averages keeps the tables of the input and its scans; the baseline list is made anew.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    interval : float, str or Quantity
        Length of the intervals, which begin at --start, or at multiples of the length since 0 h of the observation
        date; -1 makes each time stamp an interval, in s; -1 or from 0.001 to 1e+09.
    output : str or os.PathLike
        Write a UVX file instead of the table.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: each by itself.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisations, stored or formed, as in RR, I or PI, the parallel hands that are there; default: those stored.
    mode : {"complex", "amphase"}
        Average real and imaginary parts, or amplitudes and unwrapped phases; default: complex.
    mean : {"weighted", "plain"}
        The mean weighted by the weights, whose sum is its weight, or the plain mean with the mean weight; default:
        weighted.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    mix : {"all", "rl", "cross"}
        Average combinations of polarisations: all that can be formed, the parallel hands (rl) or the cross hands;
        default: the polarisations of the file.
    part : str or os.PathLike
        With -o: only the parts K, K + N, K + 2 N, ... that plan lists, into OUT.uvx.K-of-N for join --parts; default:
        all parts.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns time, ant1, ant2, re_IF_CHANNEL_POLARISATION, im_IF_CHANNEL_POLARISATION,
        weight_IF_CHANNEL_POLARISATION.
    """
    options = {"output": output, "source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop,
               "antenna": antenna, "baseline": baseline, "uvrange": uvrange, "if": if_, "channel": channel,
               "stokes": stokes, "interval": interval, "mode": mode, "mean": mean, "threads": threads, "mix": mix,
               "part": part, "force": force, "no-sync": no_sync}
    return run("average", [input], [], options, progress=progress)


def closure(input: Input, *, interval: Real, source: Names | None = None, freqsel: int | None = None,
            scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
            baseline: Names | None = None, uvrange: Span | None = None, if_: Numbers | None = None,
            channel: Numbers | None = None, antenna: Names | None = None, stokes: Names | None = None,
            each: bool = False, incoherent: bool = False, set: Literal["all", "independent"] | None = None,
            amplitudes: bool = False, part: Text | None = None, threads: int | None = None,
            progress: Progress | None = None) -> Result:
    """Form closure phases or closure amplitudes.

    One line per interval and triangle of antennas, or quadrangle, whose baselines have valid values, in time order,
    each source and setup by itself. Visibilities are averaged over the interval first, those of each IF, channel and
    polarisation by themselves; then their closures are averaged.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    interval : float, str or Quantity
        Length of the intervals, which begin at --start, or at multiples of the length since 0 h of the observation
        date; -1 makes each time stamp an interval, in s; -1 or from 0.001 to 1e+09.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: each by itself.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    antenna : str, int or list
        Numbers or names of antennas, separated by commas: closures through a single one, or among several; default:
        all.
    stokes : str, int or list
        Polarisations that are stored, as in RR,LL; default: the parallel hands, or I in a file without them.
    each : bool
        One line for each IF, channel and polarisation, instead of their mean.
    incoherent : bool
        Average the bispectra of the time stamps over an interval, not the visibilities, where intervals are longer than
        the coherence time.
    set : {"all", "independent"}
        All closures, or as many as are independent of each other; default: all.
    amplitudes : bool
        Closure amplitudes instead of closure phases.
    part : str or os.PathLike
        Only the parts K, K + N, K + 2 N, ... that plan lists; each line begins with its part; default: all parts.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns part, time, source, stokes, if, channel, ant1, ant2, ant3, ant4, phase, log_amplitude, sigma.
    """
    options = {"source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "baseline": baseline,
               "uvrange": uvrange, "if": if_, "channel": channel, "interval": interval, "antenna": antenna,
               "stokes": stokes, "each": each, "incoherent": incoherent, "set": set, "amplitudes": amplitudes,
               "part": part, "threads": threads}
    return run("closure", [input], [], options, progress=progress)


def loops(input: Input, *, baseline: Text, max: int | None = None, source: Names | None = None,
          progress: Progress | None = None) -> Result:
    """List the chains of baselines that lead from one antenna to another.

    One line per chain, as in 2-5 5-7 7-3 for 2-3. Baselines count that the table BL lists as not flagged, or those of
    the records in a file without that table.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    baseline : str or os.PathLike
        Numbers or names of the antennas, as in 2-5 or PT-LA.
    max : int
        The longest chain, in baselines; from 2 to 1000; default: 3.
    source : str, int or list
        Only baselines with records of these sources, numbers or names; =7 is the source named 7; default: all.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"baseline": baseline, "max": max, "source": source}
    return run("loops", [input], [], options, progress=progress)


def copy(input: Input, out: Path, *, source: Names | None = None, freqsel: int | None = None,
         scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
         antenna: Names | None = None, baseline: Names | None = None, uvrange: Span | None = None,
         if_: Numbers | None = None, channel: Numbers | None = None, stokes: Names | None = None,
         drop_flagged: bool = False, scan_gap: Real | None = None, force: bool = False, no_sync: bool = False,
         progress: Progress | None = None) -> Result:
    """Copy a UVX file, or the part of it that is selected.

    Scans are kept if they still have records, the baseline list is made anew, antennas and sources that have no records
    any more are left out, as are rows of other tables about such sources. Frequencies stay right where IFs or channels
    are left out.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: all.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisations that are stored, as in RR,LL; default: all.
    drop_flagged : bool
        Leave out records that are flagged or keep no value with a weight above 0.
    scan_gap : float, str or Quantity
        Make a new list of scans, ended where time stamps are further apart than this, in s; from 0.001 to 1e+09;
        default: the list of the input; if it has none, the larger of 60 s and 8 times the median spacing of its time
        stamps.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna,
               "baseline": baseline, "uvrange": uvrange, "if": if_, "channel": channel, "stokes": stokes,
               "drop-flagged": drop_flagged, "scan-gap": scan_gap, "force": force, "no-sync": no_sync}
    return run("copy", [input], [out], options, progress=progress)


def sort(input: Input, out: Path, *, order: Text | None = None, memory: Real | None = None, force: bool = False,
         no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Sort the records of a UVX file.

    Records are not changed, and those whose keys are the same keep their order. An order is two letters, of which the
    second varies fastest: B baseline, T time, U, V, W the coordinate, R length and P position angle of u, v, X
    descending |u|, Y descending |v|, Z ascending |u|, M ascending |v|, as second one also * for none. Records of one
    time and baseline are ordered by source, then setup, in TB and BT. The list of scans is made anew.

    Averages and closures need time order, the default. A file that is in order is copied. Where the records do not fit
    into the memory, some are read several times, or as much room as the file takes is needed beside the output for as
    long as the job runs.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    order : str or os.PathLike
        Two keys, of which the second varies fastest; default: TB.
    memory : float, str or Quantity
        The most memory to take, 25 at least; k, M or G may follow, as in 2G, in MiB; from 25; default: 256.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"order": order, "memory": memory, "force": force, "no-sync": no_sync}
    return run("sort", [input], [out], options, progress=progress)


def split(input: Input, folder: Path, *, source: Names | None = None, freqsel: int | None = None,
          scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
          antenna: Names | None = None, baseline: Names | None = None, uvrange: Span | None = None, force: bool = False,
          no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Write a UVX file of each source and frequency setup.

    Files are named after their sources, with _ for characters that a file system or a shell takes for something else,
    and after their setups where there are several: 3C279.uvx, or 3C279_setup2.uvx. Numbers of sources, setups and
    antennas stay. Tables of flags and of calibration keep the rows about the source and the setup, or about all. Lists
    of scans and baselines are made anew. No file has its name before all are complete.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    folder : str or os.PathLike
        Where to make the files; created if it does not exist.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: all.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna,
               "baseline": baseline, "uvrange": uvrange, "force": force, "no-sync": no_sync}
    return run("split", [input], [folder], options, progress=progress)


def join(inputs: Sequence[Input], out: Path, *, parts: bool = False, force: bool = False, no_sync: bool = False,
         progress: Progress | None = None) -> Result:
    """Join UVX files, or the parts of an output.

    Records follow each other in the order of the inputs, which agree in polarisations, IFs, channels and unit. The same
    sources (by name, within 1 mas), antennas (by name, within 1 m) and setups (within 1 kHz) get one number; others
    keep theirs where they are free. Tables of flags and of calibration are joined, other tables are those of the first
    input. Times stay as they are. Lists of scans and baselines are made anew.

    With --parts, OUT.uvx is named alone: it is made of OUT.uvx.1-of-N to OUT.uvx.N-of-N, as zeltra average --part K/N
    -o OUT.uvx writes them, byte for byte as zeltra average -o OUT.uvx. The parts stay. Files of another run, of another
    input or with other options are refused.

    Parameters
    ----------
    inputs : list
        UVX, or UV FITS, which is imported first; several of them.
    out : str or os.PathLike
        The file to make.
    parts : bool
        Join the parts of OUT.uvx, whose own names are not given.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"parts": parts, "force": force, "no-sync": no_sync}
    return run("join", [*inputs], [out], options, progress=progress)


def delete_if(input: Input, out: Path, *, if_: Numbers | None = None, keep: Numbers | None = None, force: bool = False,
              no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Delete IFs.

    Records lose the values of these IFs, tables their elements: frequencies, polarisation terms, gains, system
    temperatures, bandpasses. The remaining IFs are renumbered, in the flag table too; its entries only about deleted
    IFs are removed. The frequency of the header becomes that of the first remaining IF.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    if_ : int or list, from 0
        Numbers of the IFs to delete; default: all but those to keep.
    keep : int or list, from 0
        Numbers of the IFs to keep; default: all others.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"if": if_, "keep": keep, "force": force, "no-sync": no_sync}
    return run("delete-if", [input], [out], options, progress=progress)


def average_frequency(input: Input, out: Path, *, channels: Text, ifs: bool = False, trim: Real | None = None,
                      require: Literal["any", "all"] | None = None, remainder: Literal["refuse", "drop"] | None = None,
                      force: bool = False, no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Average channels.

    Weighted means of adjacent channels. Flagged values do not count; a mean of flagged values only is flagged and keeps
    their weight. Frequencies do not depend on flags: N channels become one in their middle, N times as wide. The flag
    table is translated if its entries cover whole new channels; bandpass tables are left out.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    channels : str or os.PathLike
        How many channels become one.
    ifs : bool
        Join IFs that follow each other without a gap into one, with channels of the same width and sideband, before
        their channels are averaged.
    trim : float, str or Quantity
        Omit this share of the channels at each end of every IF, in whole channels, as in 12.5%; from 0 to 50; default:
        0.
    require : {"any", "all"}
        A mean is valid if any of its channels is valid, or only if all are; default: any.
    remainder : {"refuse", "drop"}
        What to do with channels left over at the end of an IF; default: refuse.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"channels": channels, "ifs": ifs, "trim": trim, "require": require, "remainder": remainder,
               "force": force, "no-sync": no_sync}
    return run("average-frequency", [input], [out], options, progress=progress)


def squeeze(input: Input, out: Path, *, ifs: bool = False, channels: bool = False, source: Text | None = None,
            force: bool = False, no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Average all IFs into one, or all channels.

    Weighted means, as with average-frequency. IFs are averaged channel by channel, wherever they are: the frequencies
    of the resulting IF are the means of theirs, and a note gives the span if they leave gaps or differ in width.
    Frequency setups without scans are left out.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    ifs : bool
        Average the IFs.
    channels : bool
        Average the channels of each IF.
    source : str or os.PathLike
        Only the records of this source, and only its setups; default: all.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"ifs": ifs, "channels": channels, "source": source, "force": force, "no-sync": no_sync}
    return run("squeeze", [input], [out], options, progress=progress)


def unfold(input: Input, out: Path, *, ifs: bool = False, channels: bool = False, force: bool = False,
           no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Turn every IF, or every channel, into its own record.

    Each IF, or channel, gets its own frequency setup; there can be 127. The records of a scan are ordered by setup,
    then as before; each setup forms a scan. Tables with setup numbers get rows for the new ones.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    ifs : bool
        A record for every IF.
    channels : bool
        A record for every channel; with --ifs for every channel of every IF.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"ifs": ifs, "channels": channels, "force": force, "no-sync": no_sync}
    return run("unfold", [input], [out], options, progress=progress)


def uvw(input: Input, out: Path, *, force: bool = False, no_sync: bool = False,
        progress: Progress | None = None) -> Result:
    """Compute u, v, w anew from antennas, source and time.

    Files do not say reliably in which frame the positions of their antennas are. Both hands, geocentric and local axes,
    and source positions of date and of their equinox are tried, and the combination that gives the file's own u, v, w
    is taken. Where nothing fits within 1 % there is no output. Prints how far the new coordinates lie from those in the
    file: the largest difference of u, v and w and its root mean square, in seconds of light travel time and in metres.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"force": force, "no-sync": no_sync}
    return run("uvw", [input], [out], options, progress=progress)


def flag(input: Input, out: Path, *, source: Names | None = None, freqsel: int | None = None,
         scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
         antenna: Names | None = None, baseline: Names | None = None, uvrange: Span | None = None,
         if_: Numbers | None = None, channel: Numbers | None = None, stokes: Names | None = None,
         clip: Real | None = None, below: Real | None = None, trim: Real | None = None, table: Text | None = None,
         file: Text | None = None, records: bool = False, unflag: bool = False, force: bool = False,
         no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Flag values, so that they can be restored.

    Without a criterion everything selected is flagged; a criterion limits that. Weights above 0 get a minus sign, all
    others are unchanged: --unflag with the same options restores them, but also values flagged earlier. Prints why
    values are flagged, one line per antenna and one for the file; a value with several causes counts for the first of
    them, in the order of the columns.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: all.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each visibility at its own frequency; default:
        all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisations that are stored, as in RR,LL, or PI, the parallel hands; default: all.
    clip : float, str or Quantity
        Flag values with a larger amplitude, or without any, in the unit of the file; from 0; default: none.
    below : float, str or Quantity
        Flag values with a smaller amplitude, or without any; from 0; default: none.
    trim : float, str or Quantity
        Flag this percentage of the channels at each end of an IF, to the nearest channel; from 0 to 50; default: none.
    table : str or os.PathLike
        Flag as a table of the file says, as in FG, or FG:2 for the second one; default: none.
    file : str or os.PathLike
        Flag as this text says, in the form that correlators provide for the task UVFLG of AIPS (docs/flags.md);
        default: none.
    records : bool
        Set the flag of a record too if all of its values are affected.
    unflag : bool
        Unflag instead.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns antenna, name, values, before, selection, trim, table, file, clip, below, after, percent.
    """
    options = {"source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna,
               "baseline": baseline, "uvrange": uvrange, "if": if_, "channel": channel, "stokes": stokes, "clip": clip,
               "below": below, "trim": trim, "table": table, "file": file, "records": records, "unflag": unflag,
               "force": force, "no-sync": no_sync}
    return run("flag", [input], [out], options, progress=progress)


def shift(input: Input, out: Path, *, ra: Real, dec: Real, source: Names | None = None, force: bool = False,
          no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Move the phase centre to another place in the field.

    What an image shows at the offsets (--ra, --dec) is then at its centre. Phases, u, v, w and the positions of the
    sources in the table SU follow; the pointing of the antennas (RAOBS, OBSRA, ...) is unchanged. Offsets are in
    milliarcseconds on the sky: the one in right ascension is the difference times cos dec, as in an image.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    ra : float, str or Quantity
        Offset to the east, in mas; from -3e+08 to 3e+08.
    dec : float, str or Quantity
        Offset to the north, in mas; from -3e+08 to 3e+08.
    source : str, int or list
        Numbers or names of the sources to shift, all by the same offsets; =7 is the source named 7; default: the only
        source; one of several has to be named.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"ra": ra, "dec": dec, "source": source, "force": force, "no-sync": no_sync}
    return run("shift", [input], [out], options, progress=progress)


def plan(input: Input, *, interval: Real, source: Names | None = None, freqsel: int | None = None,
         scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
         antenna: Names | None = None, baseline: Names | None = None, parts: int | None = None,
         progress: Progress | None = None) -> Result:
    """List the parts that --part of average and closure refers to.

    One line per part, in time order. A part holds whole intervals of all sources and setups of its records, some 16
    MiB. Worker K of N does the parts K, K + N, K + 2 N, ...: zeltra average --part K/N -o OUT on each of N machines,
    then zeltra join --parts OUT. The parts do not depend on how many workers there are.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    interval : float, str or Quantity
        Length of the intervals, which begin at --start, or at multiples of the length since 0 h of the observation
        date; -1 makes each time stamp an interval, in s; -1 or from 0.001 to 1e+09.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: each by itself.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    parts : int
        Number of workers, to show which worker does which part; from 1 to 1000; default: one.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns part, worker, sources, setups, first, last, records, bytes.
    """
    options = {"source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna,
               "baseline": baseline, "interval": interval, "parts": parts}
    return run("plan", [input], [], options, progress=progress)


def gains(input: Input, out: Path | None = None, *, task: Literal["info", "csv", "average"], table: Text | None = None,
          interval: Real | None = None, force: bool = False, no_sync: bool = False,
          progress: Progress | None = None) -> Result:
    """Look into gains of antennas and average them.

    info prints statistics of each antenna, hand and IF: the mean modulus and its standard deviation, the drift of the
    phase in degrees an hour and its scatter about it in degrees, and the mean signal-to-noise ratio. csv prints every
    gain. average makes a gain file of averages over --interval, or a copy of the visibilities with one more table SN:
    phases are those of mean vectors, moduli are averaged by themselves.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        A gain file, or UVX or UV FITS with a table SN or CL.
    out : str or os.PathLike
        The file to make: average .gain or .uvx.
    task : {"info", "csv", "average"}
        What to do: info, csv or average.
    table : str or os.PathLike
        Which gains of a UVX file: a table, as in SN:2 or CL:1, or those of a gain file; default: the last table SN.
    interval : float, str or Quantity
        Average: length of the intervals, multiples of which count from 0 h of the observation date, in s; from 0.001 to
        1e+09; default: none.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns time, interval, source, setup, subarray, antenna, reference, if, hand, snr, re, im, delay,
        rate.
    """
    options = {"task": task, "table": table, "interval": interval, "force": force, "no-sync": no_sync}
    return run("gains", [input], [*([] if out is None else [out])], options, progress=progress)


def apply(input: Input, out: Path, *, gains: Text | None = None, from_: Text | None = None, max_gap: Real | None = None,
          correct: Literal["both", "amplitude", "phase"] | None = None,
          scale_weights: Literal["auto", "yes", "no"] | None = None, missing: Literal["flag", "pass"] | None = None,
          force: bool = False, no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Apply gains of antennas to visibilities.

    Each visibility is divided by g_p conj(g_q). Between two solutions of a scan phases are those of the complex values
    interpolated linearly, and moduli are interpolated by themselves; where solutions have other reference antennas the
    nearer one counts. Before the first and after the last a solution holds for half of its interval. Tables SN and CL
    are left out of the output.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    gains : str or os.PathLike
        A table of the file by its version, as in SN:1 or CL:2, or a gain file; default: the last table SN.
    from_ : str or os.PathLike
        Apply the solutions of this source to all, by number or name; default: each source's own.
    max_gap : float, str or Quantity
        Join solutions that are no further apart than this, within and between scans, in s; from 0; default: those of
        one scan are joined.
    correct : {"both", "amplitude", "phase"}
        Correct amplitudes and phases, or one of them; default: both.
    scale_weights : {"auto", "yes", "no"}
        Multiply weights by |g_p g_q|^2: auto does where gains change amplitudes; default: auto.
    missing : {"flag", "pass"}
        What becomes of visibilities without a solution; default: flag.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"gains": gains, "from": from_, "max-gap": max_gap, "correct": correct, "scale-weights": scale_weights,
               "missing": missing, "force": force, "no-sync": no_sync}
    return run("apply", [input], [out], options, progress=progress)


def solve(input: Input, *, output: Path, model: Text, mode: Literal["p", "ap", "a"] | None = None,
          interval: Real | None = None, source: Names | None = None, freqsel: int | None = None,
          scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
          antenna: Names | None = None, baseline: Names | None = None, uvrange: Span | None = None,
          if_: Numbers | None = None, channel: Numbers | None = None, refant: Names | None = None,
          min_antennas: int | None = None, snr: Real | None = None, ifs: Literal["apart", "together"] | None = None,
          pols: Literal["apart", "together"] | None = None, normalize: Literal["all", "none"] | None = None,
          robust: bool = False, threads: int | None = None, force: bool = False, no_sync: bool = False,
          progress: Progress | None = None) -> Result:
    """Solve for the gains of antennas with a model of the source.

    The gains g of V = g_p M conj(g_q), M being what the model says of a baseline, for every interval, source, setup, IF
    and hand. The two parallel hands are solved, or Stokes I in a file without hands; autocorrelations and flagged
    values do not count. A UVX file of gains has the records and tables of the input and one more table SN; zeltra apply
    corrects records by it. OUT.gain holds the gains alone.

    One line per antenna says how many gains it has, and why it lacks others: in an interval there are too few antennas
    with visibilities of each other (--min-antennas), it is not connected with the others, the amplitudes are not
    determined, the signal-to-noise ratio is low (--snr), or the solution has not converged after 1000 iterations. Gains
    that were not found have weight 0. Chi^2 is that of the visibilities whose two antennas have gains, over twice their
    number.

    The phase of the reference antenna is 0 in both hands, so the difference of its two phases is lost.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    output : str or os.PathLike
        The UVX file to make, or a gain file where the name ends in .gain.
    model : str or os.PathLike
        A list of components (.mod), a FITS image with a table AIPS CC, point or point=JY, or visibilities with the same
        records.
    mode : {"p", "ap", "a"}
        Phases (p), amplitudes and phases (ap), or the amplitudes of such gains (a); default: p.
    interval : float, str or Quantity
        Length of the intervals, which begin at --start, or at multiples of the length since 0 h of the observation
        date; -1 makes each time stamp an interval, in s; -1 or from 0.001 to 1e+09; default: -1.
    source : str, int or list
        Numbers or names of sources; =7 is the source named 7; default: each by itself.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each record in the middle of the frequencies
        selected; default: all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    refant : str, int or list
        Antennas, numbers or names, of which the first that has a gain has phase 0; default: the antenna with the most
        gains.
    min_antennas : int
        Antennas that an interval needs; from 2 to 255; default: 3 for phases, 4 for amplitudes.
    snr : float, str or Quantity
        Least signal-to-noise ratio of a gain; from 0 to 1e+09; default: 3.
    ifs : {"apart", "together"}
        A gain for each IF, or one for all; default: apart.
    pols : {"apart", "together"}
        A gain for each hand, or one for both; default: apart.
    normalize : {"all", "none"}
        Make the geometric mean of the amplitudes of each hand and IF 1, so that the flux stays, or leave them as they
        are; default: all where amplitudes are solved for, none for phases alone.
    robust : bool
        Leave out baselines that lie far off, in passes whose bound falls from 7 to 2.2 times the rms.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns antenna, name, solved, no_data, too_few, unconnected, undetermined, low_snr, not_converged.
    """
    options = {"output": output, "model": model, "mode": mode, "interval": interval, "source": source,
               "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna, "baseline": baseline,
               "uvrange": uvrange, "if": if_, "channel": channel, "refant": refant, "min-antennas": min_antennas,
               "snr": snr, "ifs": ifs, "pols": pols, "normalize": normalize, "robust": robust, "threads": threads,
               "force": force, "no-sync": no_sync}
    return run("solve", [input], [], options, progress=progress)


def fit(input: Input | None = None, *, output: Path, image_plane: Path | None = None, residual: Path | None = None,
        model: Text | None = None, free: Text | None = None, source: Names | None = None, freqsel: int | None = None,
        scan: Numbers | None = None, start: Moment | None = None, stop: Moment | None = None,
        antenna: Names | None = None, baseline: Names | None = None, uvrange: Span | None = None,
        if_: Numbers | None = None, channel: Numbers | None = None, stokes: Names | None = None,
        threads: int | None = None, force: bool = False, no_sync: bool = False,
        progress: Progress | None = None) -> Result:
    """Fit points and Gaussians to visibilities or to an image.

    The components with the least sum of w |V - M|^2 over all IFs and channels, each at its own u, v, found by the
    method of Levenberg and Marquardt from a start, by default in Stokes I of both hands, with the weight 4 / (1 / w_RR
    + 1 / w_LL). Chi^2/2N is that sum over twice the number of visibilities. Errors are (J'J)^-1 chi^2 / (2N - P) for P
    free numbers, so they allow for weights that are all wrong by one factor. A Gaussian with a fixed axial ratio of 1
    stays a circle; ratios above 1 exchange the axes. Notes name numbers that the data do not determine, components that
    are not resolved, and correlations above 0.9.

    With --image-plane, elliptical Gaussians are fitted to a FITS image with a beam instead, one by one in turn, each to
    the pixels around it: at the places of a model, or at the brightest pixel. Their sizes are printed with the beam
    taken out; errors are those of Condon (1997) for the rms of what is left of the image.

    OUT.mod has the numbers of the start in its order, with 12 digits and the same marks, and the errors as comments.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    output : str or os.PathLike
        The list of components to make.
    image_plane : str or os.PathLike
        Fit to this image instead of visibilities.
    residual : str or os.PathLike
        Make a UVX file of the records with the fitted components subtracted, from the parallel hands and I.
    model : str or os.PathLike
        The start: a list of components (.mod), a FITS image with a table AIPS CC, point or point=JY; needed for
        visibilities.
    free : str or os.PathLike
        What may change in all components: flux, x, y, major, ratio, pa; default: the numbers followed by v in the
        model.
    source : str, int or list
        Number or name of the source; =7 is the source named 7; default: the only one.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each visibility at its own frequency; default:
        all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisation, stored or formed, as in RR, I or PI, the parallel hands that are there; default: I of both hands,
        or the first one where there is no I.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns component, flux, flux_error, x, x_error, y, y_error, major, major_error, ratio, ratio_error,
        pa, pa_error.
    """
    options = {"image-plane": image_plane, "output": output, "residual": residual, "model": model, "free": free,
               "source": source, "freqsel": freqsel, "scan": scan, "start": start, "stop": stop, "antenna": antenna,
               "baseline": baseline, "uvrange": uvrange, "if": if_, "channel": channel, "stokes": stokes,
               "threads": threads, "force": force, "no-sync": no_sync}
    return run("fit", [*([] if input is None else [input])], [], options, progress=progress)


def image(input: Input, out: Path | None = None, *, fits: Path | None = None, beam: Path | None = None,
          source: Names | None = None, freqsel: int | None = None, scan: Numbers | None = None,
          start: Moment | None = None, stop: Moment | None = None, antenna: Names | None = None,
          baseline: Names | None = None, uvrange: Span | None = None, if_: Numbers | None = None,
          channel: Numbers | None = None, stokes: Names | None = None, size: int | None = None,
          cell: Real | None = None, weight: Text | None = None, weight_power: Real | None = None,
          taper: Text | None = None, memory: Real | None = None, threads: int | None = None, force: bool = False,
          no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Make the dirty image of a source.

    Images have north up and east to the left; pixel (size / 2, size / 2) is the phase centre. They are divided by the
    sum of weights, so that a point source of 1 Jy is 1 Jy/beam. The beam is the Gaussian that curves as the dirty beam
    does at its centre. Two noise figures are reported: the thermal noise, as expected from the weights, and the rms of
    all pixels. The curvature of the sky (w) is not corrected for; a note says where that matters. At least one output
    has to be named.

    W is the weight that a visibility is gridded with, w its weight in the file after power and taper, and W_k the sum
    of w over the square of 1 / (size x cell) wavelengths that it lies in, both halves of the u, v plane added up.
    natural: W = w, the least noise. uniform: W = w / W_k, the narrowest beam. robust=R: W = w / (1 + W_k f^2), f^2 = (5
    x 10^-R)^2 / (sum of W_k^2 / sum of w), which is natural for R = 5 and uniform for R = -5: the scale of Briggs
    (1995). The ROBUST of AIPS is on another scale, 2 R - 0.7 for the same mean density.

    Memory: 64 bytes for each of n x n cells, n being the smallest power of two not below the size, and 8 for each
    pixel: 76 MB for 1024, 1.2 GB for 4096, 4.8 GB for 8192 pixels. Records of more than 32 MiB, and of eight times as
    much as the cells, are added up in parts, by several threads: with P parts the cells are held 2 + log2 P times, and
    for each thread beyond the first once more, as far as they fit.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The map file to make.
    fits : str or os.PathLike
        Make a FITS image.
    beam : str or os.PathLike
        Make a map file of the dirty beam.
    source : str, int or list
        Number or name of the source; =7 is the source named 7; default: the only one.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    stop : Time, float or str
        No records after this time, given as for --start; default: the last record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each visibility at its own frequency; default:
        all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisation, stored or formed, as in RR, I or PI, the parallel hands that are there; default: I, or the first
        one where there is no I.
    size : int
        Pixels in a line and number of lines, an even number, in pixels; from 16 to 8192; default: 512.
    cell : float, str or Quantity
        Size of a pixel; uas, mas, arcsec, arcmin or deg may follow, in mas; from 1e-09 to 1e+09; default: a fifth of
        the narrowest fringe.
    weight : str or os.PathLike
        Natural: least noise, uniform: narrowest beam, or between them, R from -5 to 5 on the scale of Briggs, not that
        of AIPS; default: natural.
    weight_power : float, str or Quantity
        Power of the weights in the file, as in 0.5 for their square root; from 0 to 2; default: 1.
    taper : str or os.PathLike
        Multiply weights by a Gaussian that falls to V at RADIUS wavelengths from the origin; k, M or G may follow, as
        in 0.5,100M; default: none.
    memory : float, str or Quantity
        The most memory to use; k, M or G may follow, as in 2G, in bytes; from 1; default: half of what is free.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"fits": fits, "beam": beam, "source": source, "freqsel": freqsel, "scan": scan, "start": start,
               "stop": stop, "antenna": antenna, "baseline": baseline, "uvrange": uvrange, "if": if_,
               "channel": channel, "stokes": stokes, "size": size, "cell": cell, "weight": weight,
               "weight-power": weight_power, "taper": taper, "memory": memory, "threads": threads, "force": force,
               "no-sync": no_sync}
    return run("image", [input], [*([] if out is None else [out])], options, progress=progress)


def clean(input: Input, out: Path, *, save_model: Path | None = None, residual: Path | None = None,
          source: Names | None = None, freqsel: int | None = None, scan: Numbers | None = None,
          start: Moment | None = None, antenna: Names | None = None, baseline: Names | None = None,
          uvrange: Span | None = None, if_: Numbers | None = None, channel: Numbers | None = None,
          stokes: Names | None = None, size: int | None = None, cell: Real | None = None, weight: Text | None = None,
          weight_power: Real | None = None, taper: Text | None = None, memory: Real | None = None,
          niter: int | None = None, gain: Real | None = None, stop: Text | Sequence[Text] | None = None,
          window: Text | None = None, box: Text | Sequence[Text] | None = None, auto: Real | None = None,
          no_negative: bool = False, model: Text | None = None, beam: Text | None = None, threads: int | None = None,
          force: bool = False, no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Make the image of a source without the sidelobes of its beam.

    CLEAN by cycles. Components are found where the image is largest, one after another, and the dirty beam is
    subtracted there, until the largest pixel is below the beam's largest sidelobe times the peak that the cycle began
    with, or 0.8 of that peak. Then their visibilities are subtracted from the data, summed up directly for all IFs and
    channels at their own u, v, and the image is made anew. At the end the components are convolved with the Gaussian
    that curves as the dirty beam does at its centre, and added to what is left. If what is left grows in three cycles
    in a row, the result is that of the best cycle, and a note says so.

    The FITS image holds the components as a table AIPS CC, one for each pixel where some were found. Two noise figures
    are reported: the thermal noise, as expected from the weights, and the rms of what is left.

    Memory: what image takes, 64 bytes more for each cell and 16 for each pixel; four times as many cells for windows
    that are wider or higher than half of the image, for --auto too.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The FITS image to make.
    save_model : str or os.PathLike
        Write the components as text.
    residual : str or os.PathLike
        Make a FITS image of what is left.
    source : str, int or list
        Number or name of the source; =7 is the source named 7; default: the only one.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each visibility at its own frequency; default:
        all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisation, stored or formed, as in RR, I or PI, the parallel hands that are there; default: I, or the first
        one where there is no I.
    size : int
        Pixels in a line and number of lines, an even number, in pixels; from 16 to 8192; default: 512.
    cell : float, str or Quantity
        Size of a pixel; uas, mas, arcsec, arcmin or deg may follow, in mas; from 1e-09 to 1e+09; default: a fifth of
        the narrowest fringe.
    weight : str or os.PathLike
        Natural: least noise, uniform: narrowest beam, or between them, R from -5 to 5 on the scale of Briggs, not that
        of AIPS; default: natural.
    weight_power : float, str or Quantity
        Power of the weights in the file, as in 0.5 for their square root; from 0 to 2; default: 1.
    taper : str or os.PathLike
        Multiply weights by a Gaussian that falls to V at RADIUS wavelengths from the origin; k, M or G may follow, as
        in 0.5,100M; default: none.
    memory : float, str or Quantity
        The most memory to use; k, M or G may follow, as in 2G, in bytes; from 1; default: half of what is free.
    niter : int
        The most components to find; 0 restores a model; from 0 to 1e+08; default: 10000.
    gain : float, str or Quantity
        Share of the largest pixel that becomes a component; from 1e-06 to 1; default: 0.05.
    stop : str or os.PathLike, or a list of them
        End where no pixel searched exceeds this: a multiple of sigma, which is 1.4826 times the median absolute
        deviation of what is left, or a brightness, which uJy, mJy or Jy may follow; flux=JY ends where the components
        add up to this flux, negative where the largest pixel is negative; several are separated by commas. A time, with
        a colon or above 9999, given beside that: no records after it; default: 3sigma.
    window : str or os.PathLike
        File of windows to search: lines of xmin, xmax, ymin, ymax in mas, x to the east; default: the inner quarter of
        the image.
    box : str or os.PathLike, or a list of them
        Window to search: east offsets of two edges, then north offsets of two, in mas unless a unit follows; may be
        given several times.
    auto : float, str or Quantity
        Search windows that grow around pixels above this many sigma, by half a beam, and above the sidelobes; 0 or from
        1 to 1e+06; default: 0.
    no_negative : bool
        Find positive components only.
    model : str or os.PathLike
        Components to begin with: a text file of components, or a FITS image with AIPS CC.
    beam : str or os.PathLike
        Widths of the beam to restore with, in mas unless a unit follows, and its angle in degrees from north through
        east; what is left of the image keeps its own beam; default: auto: from the weights.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"save-model": save_model, "residual": residual, "source": source, "freqsel": freqsel, "scan": scan,
               "start": start, "antenna": antenna, "baseline": baseline, "uvrange": uvrange, "if": if_,
               "channel": channel, "stokes": stokes, "size": size, "cell": cell, "weight": weight,
               "weight-power": weight_power, "taper": taper, "memory": memory, "niter": niter, "gain": gain,
               "stop": stop, "window": window, "box": box, "auto": auto, "no-negative": no_negative, "model": model,
               "beam": beam, "threads": threads, "force": force, "no-sync": no_sync}
    return run("clean", [input], [out], options, progress=progress)


def selfcal(input: Input, out: Path, *, image: Path | None = None, save_model: Path | None = None,
            residual: Path | None = None, png: Path | None = None, loop: Text | None = None,
            source: Names | None = None, freqsel: int | None = None, scan: Numbers | None = None,
            start: Moment | None = None, antenna: Names | None = None, baseline: Names | None = None,
            uvrange: Span | None = None, if_: Numbers | None = None, channel: Numbers | None = None,
            stokes: Names | None = None, size: int | None = None, cell: Real | None = None, weight: Text | None = None,
            weight_power: Real | None = None, taper: Text | None = None, memory: Real | None = None,
            niter: int | None = None, gain: Real | None = None, stop: Text | Sequence[Text] | None = None,
            window: Text | None = None, box: Text | Sequence[Text] | None = None, auto: Real | None = None,
            no_negative: bool = False, model: Text | None = None, beam: Text | None = None, refant: Names | None = None,
            min_antennas: int | None = None, snr: Real | None = None, ifs: Literal["apart", "together"] | None = None,
            pols: Literal["apart", "together"] | None = None, normalize: Literal["all", "none"] | None = None,
            robust: bool = False, threads: int | None = None, force: bool = False, no_sync: bool = False,
            progress: Progress | None = None) -> Result:
    """Calibrate a source with its own image.

    An image is made by CLEAN, gains are solved for with its components as the model and applied, and so on for all
    steps; then an image is made of the result. Each step corrects what those before have left, and begins with the
    image that they lead to. The output holds the records that are selected, corrected; what has no solution is flagged.

    A row is printed for the data at the start and after each step. chi2 is sum w |V - model|^2 over twice the number of
    visibilities of the image. closure_chi2 compares closure phases with those of the model, for each time stamp, IF and
    hand, for an independent set with its full covariance, divided by their number: no phase of an antenna changes it,
    so that where a step makes it grow the model is in error, and a note says so. Baselines below three times their
    noise do not count in it.

    Disk: each step writes the selected records once more, beside the output, and removes those of the step before.

    Parameters
    ----------
    input : str, os.PathLike, File or Selection
        UVX, or UV FITS, which is imported first.
    out : str or os.PathLike
        The file to make.
    image : str or os.PathLike
        The FITS image to make of the result.
    save_model : str or os.PathLike
        Write its components as text.
    residual : str or os.PathLike
        Make a FITS image of what is left of it.
    png : str or os.PathLike
        Make a picture of it, .svg or .png.
    loop : str or os.PathLike
        The steps: phases (p), amplitudes and phases (ap) or amplitudes (a), with the interval in seconds after a colon,
        without it each time stamp; default: p,p.
    source : str, int or list
        Number or name of the source; =7 is the source named 7; default: the only one.
    freqsel : int
        Number of the frequency setup; default: all.
    scan : int or list, from 0
        Scans, as numbered by info; default: all.
    start : Time, float or str
        No records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or modified
        Julian date, 07:30 of the observation's first day, or +1/07:30 of the next; default: the first record.
    antenna : str, int or list
        All baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0; default:
        all.
    baseline : str, int or list
        Only these baselines, as in 2-5,PT-LA, stored in either order; default: all.
    uvrange : tuple or str
        Distances in the u, v plane in wavelengths, as in 250k,10M: of each visibility at its own frequency; default:
        all.
    if_ : int or list, from 0
        Numbers of IFs; default: all.
    channel : int or list, from 0
        Numbers of channels; default: all.
    stokes : str, int or list
        Polarisation, stored or formed, as in RR, I or PI, the parallel hands that are there; default: I, or the first
        one where there is no I.
    size : int
        Pixels in a line and number of lines, an even number, in pixels; from 16 to 8192; default: 512.
    cell : float, str or Quantity
        Size of a pixel; uas, mas, arcsec, arcmin or deg may follow, in mas; from 1e-09 to 1e+09; default: a fifth of
        the narrowest fringe.
    weight : str or os.PathLike
        Natural: least noise, uniform: narrowest beam, or between them, R from -5 to 5 on the scale of Briggs, not that
        of AIPS; default: natural.
    weight_power : float, str or Quantity
        Power of the weights in the file, as in 0.5 for their square root; from 0 to 2; default: 1.
    taper : str or os.PathLike
        Multiply weights by a Gaussian that falls to V at RADIUS wavelengths from the origin; k, M or G may follow, as
        in 0.5,100M; default: none.
    memory : float, str or Quantity
        The most memory to use; k, M or G may follow, as in 2G, in bytes; from 1; default: half of what is free.
    niter : int
        The most components to find; 0 restores a model; from 0 to 1e+08; default: 10000.
    gain : float, str or Quantity
        Share of the largest pixel that becomes a component; from 1e-06 to 1; default: 0.05.
    stop : str or os.PathLike, or a list of them
        End where no pixel searched exceeds this: a multiple of sigma, which is 1.4826 times the median absolute
        deviation of what is left, or a brightness, which uJy, mJy or Jy may follow; flux=JY ends where the components
        add up to this flux, negative where the largest pixel is negative; several are separated by commas. A time, with
        a colon or above 9999, given beside that: no records after it; default: 3sigma.
    window : str or os.PathLike
        File of windows to search: lines of xmin, xmax, ymin, ymax in mas, x to the east; default: the inner quarter of
        the image.
    box : str or os.PathLike, or a list of them
        Window to search: east offsets of two edges, then north offsets of two, in mas unless a unit follows; may be
        given several times.
    auto : float, str or Quantity
        Search windows that grow around pixels above this many sigma, by half a beam, and above the sidelobes; 0 or from
        1 to 1e+06; default: 0.
    no_negative : bool
        Find positive components only.
    model : str or os.PathLike
        Components to begin with: a text file of components, or a FITS image with AIPS CC.
    beam : str or os.PathLike
        Widths of the beam to restore with, in mas unless a unit follows, and its angle in degrees from north through
        east; what is left of the image keeps its own beam; default: auto: from the weights.
    refant : str, int or list
        Antennas, numbers or names, of which the first that has a gain has phase 0; default: the antenna with the most
        gains.
    min_antennas : int
        Antennas that an interval needs; from 2 to 255; default: 3 for phases, 4 for amplitudes.
    snr : float, str or Quantity
        Least signal-to-noise ratio of a gain; from 0 to 1e+09; default: 3.
    ifs : {"apart", "together"}
        A gain for each IF, or one for all; default: apart.
    pols : {"apart", "together"}
        A gain for each hand, or one for both; default: apart.
    normalize : {"all", "none"}
        Make the geometric mean of the amplitudes of each hand and IF 1, so that the flux stays, or leave them as they
        are; default: all where amplitudes are solved for, none for phases alone.
    robust : bool
        Leave out baselines that lie far off, in passes whose bound falls from 7 to 2.2 times the rms.
    threads : int
        Threads that work at the same time; the result is the same for any number; from 0 to 1024; default: one per
        processor.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
        With the columns round, step, solved, failed, chi2, flux, peak, rms, dynamic_range, closure_chi2, closures.
    """
    options = {"image": image, "save-model": save_model, "residual": residual, "png": png, "loop": loop,
               "source": source, "freqsel": freqsel, "scan": scan, "start": start, "antenna": antenna,
               "baseline": baseline, "uvrange": uvrange, "if": if_, "channel": channel, "stokes": stokes, "size": size,
               "cell": cell, "weight": weight, "weight-power": weight_power, "taper": taper, "memory": memory,
               "niter": niter, "gain": gain, "stop": stop, "window": window, "box": box, "auto": auto,
               "no-negative": no_negative, "model": model, "beam": beam, "refant": refant, "min-antennas": min_antennas,
               "snr": snr, "ifs": ifs, "pols": pols, "normalize": normalize, "robust": robust, "threads": threads,
               "force": force, "no-sync": no_sync}
    return run("selfcal", [input], [out], options, progress=progress)


def simulate(out: Path, *, seed: int | None = None, antennas: int | None = None, minutes: Real | None = None,
             integration: Real | None = None, ifs: int | None = None, channels: int | None = None,
             components: int | None = None, noise: Real | None = None, phase_errors: bool = False, force: bool = False,
             no_sync: bool = False, progress: Progress | None = None) -> Result:
    """Make a UVX file of a simulated VLBA observation.

    Two sources in turn, 2020-03-20 from 07:00 UTC at 8.4 GHz, with RR, LL, RL and LR. The same options make the same
    file.

    Parameters
    ----------
    out : str or os.PathLike
        The file to make.
    seed : int
        Of the random numbers: the same seed makes the same file; default: 1.
    antennas : int
        Number of antennas; from 2 to 10; default: 10.
    minutes : float, str or Quantity
        Length of the observation, in min; from 1e-06 to 1e+06; default: 60.
    integration : float, str or Quantity
        Length of a record, in s; from 0.001 to 3600; default: 10.
    ifs : int
        Number of IFs; from 1; default: 2.
    channels : int
        Channels of an IF; from 1; default: 4.
    components : int
        Point sources of each source; from 1 to 2; default: 2.
    noise : float, str or Quantity
        Multiple of the thermal noise; from 0 to 1e+06; default: 1.
    phase_errors : bool
        Give every antenna a random phase in each scan.
    force : bool
        Replace an output that exists.
    no_sync : bool
        Do not wait until the output is on the disk.
    progress : callable, optional
        Called with the step and its percentage.

    Returns
    -------
    Result
    """
    options = {"seed": seed, "antennas": antennas, "minutes": minutes, "integration": integration, "ifs": ifs,
               "channels": channels, "components": components, "noise": noise, "phase-errors": phase_errors,
               "force": force, "no-sync": no_sync}
    return run("simulate", [], [out], options, progress=progress)

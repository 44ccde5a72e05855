// The options and results of the jobs on UVX files, as the user sees them.
// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ScanGapInternal.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ClosedLoops.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/ops/CopyUVX.h"
#include "zeltra/ops/RecomputeUVW.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/ops/SimulateUVX.h"

namespace zeltra {
namespace {

AJobDescription DescribeAverage() {
  AJobDescriber<AverageOptions> job(
      "average", "Average visibilities in time, into a table or a UVX file",
      "One line per interval and baseline, in time order, each source and setup by itself. Flagged records and values "
      "do not count. A UVX file of averages keeps the tables of the input and its scans; the baseline list is made "
      "anew.");
  job.Input(UVXInputFile());
  job.Output({"OUT.uvx", "write a UVX file instead of the table", "output", 'o', {}});
  DescribeIntervals(job, {.sources = "each by itself"});
  DescribeMeans(job);
  job.Threads();
  job.Choice<AverageMix AverageOptions::*, AverageMix>(
         "mix", &AverageOptions::mix,
         {{"all", AverageMix::All}, {"rl", AverageMix::Parallel}, {"cross", AverageMix::Cross}},
         "average combinations of polarisations: all that can be formed, the parallel hands (rl) or the cross hands")
      .Excludes("stokes")
      .Otherwise("the polarisations of the file");
  DescribeShare(job,
                "with -o: only the parts K, K + N, K + 2 N, ... that plan lists, into OUT.uvx.K-of-N for join --parts");
  job.Overwrite();
  job.Column("time", "JD",
             "Julian date of the interval: the mean of its records' times, each with the sum of its weights");
  job.IntegerColumn("ant1", "number of antenna 1");
  job.IntegerColumn("ant2", "number of antenna 2");
  job.Column("re_IF_CHANNEL_POLARISATION", "unit of the file",
             "real part of the mean, as in re_1_1_RR; IFs and channels count from 1");
  job.Column("im_IF_CHANNEL_POLARISATION", "unit of the file", "imaginary part");
  job.Column("weight_IF_CHANNEL_POLARISATION", "", "weight of the mean; not above 0: flagged");
  return job.Finish();
}

AJobDescription DescribeClosure() {
  AJobDescriber<ClosureOptions> job(
      "closure", "Form closure phases or closure amplitudes",
      "One line per interval and triangle of antennas, or quadrangle, whose baselines have valid values, in time "
      "order, each source and setup by itself. Visibilities are averaged over the interval first, those of each IF, "
      "channel and polarisation by themselves; then their closures are averaged.");
  job.Input(UVXInputFile());
  DescribeIntervals(job, {.leftOut = kAntennas | kStokes, .sources = "each by itself"});
  job.Option(
         "antenna", [](ClosureOptions & o) -> auto& { return o.selection.antennas; },
         "numbers or names of antennas, separated by commas: closures through a single one, or among several")
      .Form("N|NAME[,...]")
      .Otherwise("all");
  job.Option(
         "stokes", [](ClosureOptions & o) -> auto& { return o.selection.stokes; },
         "polarisations that are stored, as in RR,LL")
      .Otherwise("the parallel hands, or I in a file without them");
  job.Option("each", &ClosureOptions::each, "one line for each IF, channel and polarisation, instead of their mean");
  job.Option("incoherent", &ClosureOptions::incoherent,
             "average the bispectra of the time stamps over an interval, not the visibilities, where intervals are "
             "longer than the coherence time")
      .Excludes("amplitudes");
  job.Choice<ClosureSet ClosureOptions::*, ClosureSet>(
      "set", &ClosureOptions::set, {{"all", ClosureSet::All}, {"independent", ClosureSet::Independent}},
      "all closures, or as many as are independent of each other");
  job.Option("amplitudes", &ClosureOptions::amplitudes, "closure amplitudes instead of closure phases");
  DescribeShare(job, "only the parts K, K + N, K + 2 N, ... that plan lists; each line begins with its part");
  job.Threads();
  job.IntegerColumn("part", "number of the part; with --part");
  job.Column("time", "JD",
             "Julian date of the interval: the mean of its records' times, each with the sum of its weights");
  job.IntegerColumn("source", "number of the source");
  job.TextColumn("stokes", "polarisation; empty for a mean of several");
  job.IntegerColumn("if", "number of the IF, from 1; empty for a mean of several");
  job.IntegerColumn("channel", "number of the channel, from 1; empty for a mean of several");
  job.IntegerColumn("ant1", "number of antenna 1, the lowest");
  job.IntegerColumn("ant2", "number of antenna 2");
  job.IntegerColumn("ant3", "number of antenna 3, of a triangle the highest");
  job.IntegerColumn("ant4", "number of antenna 4; with --amplitudes");
  job.Column("phase", "radians", "phase(1-2) + phase(2-3) - phase(1-3), from -pi to pi; without --amplitudes");
  job.Column("log_amplitude", "", "natural logarithm of |V12| |V34| / (|V13| |V24|); with --amplitudes");
  job.Column("sigma", "radians", "standard deviation of the phase, or of the logarithm, from the weights");
  return job.Finish();
}

AJobDescription DescribeLoops() {
  AJobDescriber<LoopOptions> job("loops", "List the chains of baselines that lead from one antenna to another",
                                 "One line per chain, as in 2-5 5-7 7-3 for 2-3. Baselines count that the table BL "
                                 "lists as not flagged, or those of the records in a "
                                 "file without that table.");
  job.Input(UVXInputFile());
  job.Option("baseline", &LoopOptions::baseline, "numbers or names of the antennas, as in 2-5 or PT-LA")
      .Form("A-B")
      .Word();
  job.Option("max", &LoopOptions::longest, "the longest chain").Unit("baselines").Range(2, 1000);
  job.Option(
         "source", [](LoopOptions & o) -> auto& { return o.selection.sources; },
         "only baselines with records of these sources, numbers or names; =7 is the source named 7")
      .Form("N|NAME[,...]")
      .Otherwise("all");
  return job.Finish();
}

AJobDescription DescribeCopy() {
  AJobDescriber<CopyOptions> job(
      "copy", "Copy a UVX file, or the part of it that is selected",
      "Scans are kept if they still have records, the baseline list is made anew, antennas and sources that have no "
      "records any more are left out, as are rows of other tables about such sources. Frequencies stay right where IFs "
      "or channels are left out.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  DescribeSelection(job, {.leftOut = kStokes});
  job.Option(
         "stokes", [](CopyOptions & o) -> auto& { return o.selection.stokes; },
         "polarisations that are stored, as in RR,LL")
      .Otherwise("all");
  job.Option("drop-flagged", &CopyOptions::dropFlagged,
             "leave out records that are flagged or keep no value with a weight above 0");
  DescribeScanGap(job);
  job.Overwrite();
  return job.Finish();
}

AJobDescription DescribeUVW() {
  AJobDescriber<JobOptions> job(
      "uvw", "Compute u, v, w anew from antennas, source and time",
      "Files do not say reliably in which frame the positions of their antennas are. Both hands, geocentric and local "
      "axes, and source positions of date and of their equinox are tried, and the combination that gives the file's "
      "own u, v, w is taken. Where nothing fits within 1 % there is no output. Prints how far the new coordinates lie "
      "from those in the file: the largest difference of u, v and w and its root mean square, in seconds of light "
      "travel time and in metres.");
  job.Input(UVXInputFile());
  job.Output(UVXOutputFile());
  job.Overwrite();
  return job.Finish();
}

AJobDescription DescribeSimulate() {
  AJobDescriber<SimulateOptions> job("simulate", "Make a UVX file of a simulated VLBA observation",
                                     "Two sources in turn, 2020-03-20 from 07:00 UTC at 8.4 GHz, with RR, LL, RL and "
                                     "LR. The same options make the same file.");
  job.Output(UVXOutputFile());
  job.Option("seed", &SimulateOptions::seed, "of the random numbers: the same seed makes the same file");
  job.Option("antennas", &SimulateOptions::antennas, "number of antennas").Range(2, 10);
  job.Option("minutes", &SimulateOptions::minutes, "length of the observation").Unit("min").Range(1e-6, 1e6);
  job.Option("integration", &SimulateOptions::integration, "length of a record").Unit("s").Range(1e-3, 3600);
  job.Option("ifs", &SimulateOptions::ifs, "number of IFs").From(1);
  job.Option("channels", &SimulateOptions::channels, "channels of an IF").From(1);
  job.Option("components", &SimulateOptions::components, "point sources of each source").Range(1, 2);
  job.Option("noise", &SimulateOptions::noise, "multiple of the thermal noise").Range(0, 1e6);
  job.Option("phase-errors", &SimulateOptions::phaseErrors, "give every antenna a random phase in each scan");
  job.Overwrite();
  return job.Finish();
}

}  // namespace

const AJobDescription& AverageDescription() {
  static const AJobDescription description = DescribeAverage();
  return description;
}

const AJobDescription& ClosureDescription() {
  static const AJobDescription description = DescribeClosure();
  return description;
}

const AJobDescription& LoopsDescription() {
  static const AJobDescription description = DescribeLoops();
  return description;
}

const AJobDescription& CopyDescription() {
  static const AJobDescription description = DescribeCopy();
  return description;
}

const AJobDescription& UVWDescription() {
  static const AJobDescription description = DescribeUVW();
  return description;
}

const AJobDescription& SimulateDescription() {
  static const AJobDescription description = DescribeSimulate();
  return description;
}

}  // namespace zeltra

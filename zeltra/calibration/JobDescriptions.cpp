// What the jobs on gains take and give, as people see it.
// SPDX-License-Identifier: MIT
#include "zeltra/calibration/SolveGains.h"
#include "zeltra/calibration/SolvingOptionsInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeSolve() {
  AJobDescriber<SolveOptions> job(
      "solve", "Solve for the gains of antennas with a model of the source",
      "The gains g of V = g_p M conj(g_q), M being what the model says of a baseline, for every interval, source, "
      "setup, IF and "
      "hand. The two parallel hands are solved, or Stokes I in a file without hands; autocorrelations and flagged "
      "values do not "
      "count. A UVX file of gains has the records and tables of the input and one more table SN; zeltra apply corrects "
      "records by "
      "it. OUT.gain holds the gains alone.\n\n"
      "A line an antenna tells how many gains it has, and why it lacks others: in an interval there are too few "
      "antennas with "
      "visibilities of each other (--min-antennas), it is not connected with the others, the amplitudes are not "
      "determined, the "
      "signal-to-noise ratio is low (--snr), or the solution has not converged after 1000 iterations. Gains that were "
      "not found "
      "have weight 0. Chi^2 is that of the visibilities whose two antennas have gains, over twice their number.\n\n"
      "The phase of the reference antenna is 0 in both hands, so the difference of its two phases is lost.");
  job.Input(UVXInputFile());
  AJobFile out = {"OUT", "the UVX file to make, or a gain file where the name ends in .gain", "output", 'o', {}};
  out.isNeeded = true;
  job.Output(out);
  // The name of a file says nothing to whoever reads the history of the output elsewhere.
  job.Option("model", &SolveOptions::model,
             "a list of components (.mod), a FITS image with a table AIPS CC, point or point=JY, or visibilities with "
             "the same records")
      .Form("MODEL")
      .Required()
      .KeepsResult();
  job.Choice<GainMode SolveOptions::*, GainMode>(
      "mode", &SolveOptions::mode, {{"p", GainMode::Phase}, {"ap", GainMode::Complex}, {"a", GainMode::Amplitude}},
      "phases (p), amplitudes and phases (ap), or the amplitudes of such gains (a)");
  DescribeInterval(job, &SolveOptions::interval);
  DescribeSelection(job, {.leftOut = kStokes, .sources = "each by itself"});
  DescribeSolving(job, [](SolveOptions& o) -> SolveOptions& { return o; });
  job.Threads();
  job.Overwrite();
  job.IntegerColumn("antenna", "number of the antenna");
  job.TextColumn("name", "its name");
  job.IntegerColumn("solved", "gains that were found, one for each interval, IF and hand");
  job.IntegerColumn("no_data", "intervals in which only other IFs or hands have data");
  job.IntegerColumn("too_few", "too few antennas");
  job.IntegerColumn("unconnected", "not connected with the antennas that were solved");
  job.IntegerColumn("undetermined", "amplitudes of antennas without a closed loop of an odd number of baselines");
  job.IntegerColumn("low_snr", "signal-to-noise ratio below --snr");
  job.IntegerColumn("not_converged", "not converged");
  return job.Finish();
}

}  // namespace

const AJobDescription& SolveDescription() {
  static const AJobDescription description = DescribeSolve();
  return description;
}

}  // namespace zeltra

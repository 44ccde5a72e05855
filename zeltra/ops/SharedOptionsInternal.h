// The options that several jobs share, each described once.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SHAREDOPTIONSINTERNAL_H_
#define ZELTRA_OPS_SHAREDOPTIONSINTERNAL_H_

#include "zeltra/core/JobDescription.h"
#include "zeltra/ops/IntervalOptions.h"

namespace zeltra {

/// The input of every job on UVX files.
inline AJobFile UVXInputFile() {
  return {"FILE", "UVX, or UV FITS, which is imported first", "", 0, {}};
}
inline AJobFile UVXOutputFile() {
  return {"OUT.uvx", "the file to make", "", 0, {}};
}

/// --start and --stop.
template <typename Options>
void DescribeTimes(AJobDescriber<Options>& job) {
  job.Option(
         "start", [](Options & o) -> auto& { return o.selection.start; },
         "no earlier records; in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or a modified "
         "one, 07:30 of the "
         "observation's first day, or +1/07:30 of the next")
      .Otherwise("the first record");
  job.Option(
         "stop", [](Options & o) -> auto& { return o.selection.stop; }, "no later records; as --start")
      .Otherwise("the last record");
}

/// --interval.
template <typename Options, typename Access>
AJobOption& DescribeInterval(AJobDescriber<Options>& job, Access access) {
  return job
      .Option("interval", access,
              "length of the intervals, which begin at --start, or at multiples of the length since 0 h of the "
              "observation date; -1 makes an interval of every time stamp")
      .Form("SECONDS")
      .Unit("s")
      .Range(1e-3, 1e9)
      .Or(-1);
}

/// What every job over intervals takes.
template <typename Options>
void DescribeIntervals(AJobDescriber<Options>& job) {
  job.Option(
         "source", [](Options & o) -> auto& { return o.selection.sources; }, "number or name of the source")
      .Form("N|NAME")
      .Otherwise("each by itself");
  job.Option(
         "freqsel", [](Options & o) -> auto& { return o.selection.freqSel; }, "number of the frequency setup")
      .Otherwise("each by itself");
  DescribeInterval(job, &Options::interval).Required();
  DescribeTimes(job);
}

/// --mode and --mean.
template <typename Options>
void DescribeMeans(AJobDescriber<Options>& job) {
  job.template Choice<bool IntervalOptions::*, bool>(
      "mode", &IntervalOptions::complexMean, {{"complex", true}, {"amphase", false}},
      "average real and imaginary parts, or amplitudes and unwrapped phases");
  job.template Choice<MeanKind IntervalOptions::*, MeanKind>(
      "mean", &IntervalOptions::mean, {{"weighted", MeanKind::Weighted}, {"plain", MeanKind::Plain}},
      "the mean weighted by the weights, which then add up, or the plain mean, with the mean weight");
}

}  // namespace zeltra

#endif  // ZELTRA_OPS_SHAREDOPTIONSINTERNAL_H_

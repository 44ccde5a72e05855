// The options that several jobs share, each described once.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SHAREDOPTIONSINTERNAL_H_
#define ZELTRA_OPS_SHAREDOPTIONSINTERNAL_H_

#include <string>

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

/// What a command may omit from a selection.
enum SelectionPart : unsigned {
  kBaselines = 1,    ///< --antenna, --baseline
  kUVRange = 2,      ///< --uvrange
  kFrequencies = 4,  ///< --if, --channel
  kStokes = 8,       ///< --stokes
  kAntennas = 16,    ///< --antenna
  kStopTime = 32,    ///< --stop
};

/// How a command presents a selection.
struct SelectionForm {
  unsigned leftOut = 0;                 ///< a sum of SelectionPart
  std::string sources = "all";          ///< the default, if no source is named
  std::string stokes = "those stored";  ///< the default, if no polarisation is named
  bool isSingle = false;                ///< whether only one source and one polarisation are allowed
  bool isByVisibility = false;          ///< whether single visibilities are selected, not whole records
};

template <typename Options>
void DescribeRecordSelection(AJobDescriber<Options>& job, const SelectionForm& form) {
  job.Option(
         "source", [](Options & o) -> auto& { return o.selection.sources; },
         form.isSingle ? "number or name of the source; =7 is the source named 7"
                       : "numbers or names of sources; =7 is the source named 7")
      .Form(form.isSingle ? "N|NAME" : "N|NAME[,...]")
      .Otherwise(form.sources);
  job.Option(
         "freqsel", [](Options & o) -> auto& { return o.selection.setup; }, "number of the frequency setup")
      .Otherwise("all");
  job.Option(
         "scan", [](Options & o) -> auto& { return o.selection.scans; }, "scans, as numbered by info, as in 1,3-5")
      .CountedFrom(1)
      .Otherwise("all");
  job.Option(
         "start", [](Options & o) -> auto& { return o.selection.start; },
         "no records before this time, in the time scale of the file, as in 2020-03-20T07:30:00, a Julian date or "
         "modified Julian date, 07:30 of the observation's first day, or +1/07:30 of the next")
      .Otherwise("the first record");
  if (form.leftOut & kStopTime) return;
  job.Option(
         "stop", [](Options & o) -> auto& { return o.selection.stop; },
         "no records after this time, given as for --start")
      .Otherwise("the last record");
}

/// The options of every command that reads visibilities.
template <typename Options>
void DescribeSelection(AJobDescriber<Options>& job, const SelectionForm& form = {}) {
  DescribeRecordSelection(job, form);
  if (!(form.leftOut & kBaselines)) {
    if (!(form.leftOut & kAntennas)) {
      job.Option(
             "antenna", [](Options & o) -> auto& { return o.selection.antennas; },
             "all baselines of this antenna, or those between several; numbers or names; =0 is the antenna named 0")
          .Form("N|NAME[,...]")
          .Otherwise("all");
    }
    job.Option(
           "baseline", [](Options & o) -> auto& { return o.selection.baselines; },
           "only these baselines, as in 2-5,PT-LA, stored in either order")
        .Form("A-B[,...]")
        .Otherwise("all");
  }
  if (!(form.leftOut & kUVRange)) {
    job.Option(
           "uvrange", [](Options & o) -> auto& { return o.selection.uvRange; },
           std::string("distances in the u, v plane in wavelengths, as in 250k,10M: ") +
               (form.isByVisibility ? "of each visibility at its own frequency"
                                    : "of each record in the middle of the frequencies selected"))
        .Otherwise("all");
  }
  if (!(form.leftOut & kFrequencies)) {
    job.Option(
           "if", [](Options & o) -> auto& { return o.selection.IFs; }, "numbers of IFs, as in 1,3-4")
        .CountedFrom(1)
        .Otherwise("all");
    job.Option(
           "channel", [](Options & o) -> auto& { return o.selection.channels; }, "numbers of channels, as in 8-15")
        .CountedFrom(1)
        .Otherwise("all");
  }
  if (!(form.leftOut & kStokes)) {
    job.Option(
           "stokes", [](Options & o) -> auto& { return o.selection.stokes; },
           std::string(form.isSingle ? "polarisation" : "polarisations") +
               ", stored or formed, as in RR, I or PI, the parallel hands that are there")
        .Form(form.isSingle ? "NAME" : "NAME[,...]")
        .Otherwise(form.stokes);
  }
}

/// --interval.
template <typename Options, typename Access>
AJobOption& DescribeInterval(AJobDescriber<Options>& job, Access access) {
  return job
      .Option("interval", access,
              "length of the intervals, which begin at --start, or at multiples of the length since 0 h of the "
              "observation date; -1 makes each time stamp an interval")
      .Form("SECONDS")
      .Unit("s")
      .Range(1e-3, 1e9)
      .Or(-1);
}

/// The options of every command over intervals.
template <typename Options>
void DescribeIntervals(AJobDescriber<Options>& job, const SelectionForm& form) {
  DescribeSelection(job, form);
  DescribeInterval(job, &Options::interval).Required();
}

/// --part.
template <typename Options>
void DescribeShare(AJobDescriber<Options>& job, const std::string& help) {
  job.Parsed(
         "part",
         [](const std::string& text, Options& o) {
           const size_t slash = text.find('/');
           PartShare& share = o.share.emplace();
           const bool isRead = slash != std::string::npos && strToVal(text.substr(0, slash), share.number) &&
                               strToVal(text.substr(slash + 1), share.count);
           if (isRead && share.number >= 1 && share.number <= share.count && share.count <= PartShare::kMost) {
             return AResult::Ok();
           }
           return AResult::Fail(text + ": not K/N with K from 1 to N and N up to " + std::to_string(PartShare::kMost));
         },
         [](const Options&) { return std::string(); }, help)
      .Form("K/N")
      .Otherwise("all parts")
      .KeepsResult();
}

/// --mode and --mean.
template <typename Options>
void DescribeMeans(AJobDescriber<Options>& job) {
  job.template Choice<bool IntervalOptions::*, bool>(
      "mode", &IntervalOptions::complexMean, {{"complex", true}, {"amphase", false}},
      "average real and imaginary parts, or amplitudes and unwrapped phases");
  job.template Choice<MeanKind IntervalOptions::*, MeanKind>(
      "mean", &IntervalOptions::mean, {{"weighted", MeanKind::Weighted}, {"plain", MeanKind::Plain}},
      "the mean weighted by the weights, whose sum is its weight, or the plain mean with the mean weight");
}

}  // namespace zeltra

#endif  // ZELTRA_OPS_SHAREDOPTIONSINTERNAL_H_

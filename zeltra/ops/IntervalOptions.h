// What every job over time intervals takes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALOPTIONS_H_
#define ZELTRA_OPS_INTERVALOPTIONS_H_

#include <optional>
#include <string>

#include "zeltra/core/JobOptions.h"
#include "zeltra/core/Parse.h"

namespace zeltra {

/// What a mean is.
enum class MeanKind {
  Weighted,  ///< sum w v / sum w with the weight sum w; combinations have the inverse of their variance for a weight
  Plain,     ///< sum v / n with the mean weight; combinations are those of AStokesMix
};

struct IntervalOptions : JobOptions {
  /// Number or name of the source; empty for all sources, each averaged by itself.
  std::string source;
  /// Frequency setup; none for all of them, each averaged by itself.
  std::optional<int> freqSel;
  /// Length in seconds, at least 0.001; a negative one makes an interval of every time stamp. Intervals begin at
  /// `start`, or at multiples of their length since 0 h of the observation date where there is no start, and end at the
  /// latest where a scan ends.
  double interval = -1;
  /// Times between which records count, both included.
  std::optional<ATime> start;
  std::optional<ATime> stop;
  /// Whether real and imaginary parts are averaged, or amplitudes and unwrapped phases.
  bool complexMean = true;
  MeanKind mean = MeanKind::Weighted;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALOPTIONS_H_

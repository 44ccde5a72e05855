// The options shared by all jobs over time intervals.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALOPTIONS_H_
#define ZELTRA_OPS_INTERVALOPTIONS_H_

#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// How a mean is formed.
enum class MeanKind {
  Weighted,  ///< sum w v / sum w with weight sum w; combinations have the inverse of their variance as weight
  Plain,     ///< sum v / n with the mean weight; combinations are those of AStokesMix
};

struct IntervalOptions : JobOptions {
  /// Sources and setups are averaged separately.
  UVXSelection selection;
  /// Length in seconds, at least 0.001; negative: each time stamp is an interval. Intervals begin at the selected
  /// start, or, without one, at multiples of their length since 0 h of the observation date, and end no later than
  /// their scan.
  double interval = -1;
  /// Whether real and imaginary parts are averaged, or amplitudes and unwrapped phases.
  bool complexMean = true;
  MeanKind mean = MeanKind::Weighted;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALOPTIONS_H_

// What every job over time intervals takes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALOPTIONS_H_
#define ZELTRA_OPS_INTERVALOPTIONS_H_

#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// What a mean is.
enum class MeanKind {
  Weighted,  ///< sum w v / sum w with the weight sum w; combinations have the inverse of their variance for a weight
  Plain,     ///< sum v / n with the mean weight; combinations are those of AStokesMix
};

struct IntervalOptions : JobOptions {
  /// Sources and setups are averaged each by itself.
  UVXSelection selection;
  /// Length in seconds, at least 0.001; a negative one makes an interval of every time stamp. Intervals begin at the
  /// start that is selected, or at multiples of their length since 0 h of the observation date where there is no start,
  /// and end at the latest where a scan ends.
  double interval = -1;
  /// Whether real and imaginary parts are averaged, or amplitudes and unwrapped phases.
  bool complexMean = true;
  MeanKind mean = MeanKind::Weighted;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALOPTIONS_H_

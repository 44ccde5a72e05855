// The options shared by all jobs over time intervals.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALOPTIONS_H_
#define ZELTRA_OPS_INTERVALOPTIONS_H_

#include <optional>
#include <string>

#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// How a mean is formed.
enum class MeanKind {
  Weighted,  ///< sum w v / sum w with weight sum w; combinations have the inverse of their variance as weight
  Plain,     ///< sum v / n with the mean weight; combinations are those of AStokesMix
};

/// The parts of a job that one of several workers does: those of the plan (PlanParts) whose numbers, from 1, are
/// `number`, `number` + `count`, `number` + 2 `count`, ...
struct PartShare {
  static constexpr int kMost = 1000;  ///< workers

  int number = 1;
  int count = 1;

  /// The name of the file that holds these parts of a whole file, as in "OUT.uvx.2-of-4".
  std::string FileName(const std::string& whole) const {
    return whole + "." + std::to_string(number) + "-of-" + std::to_string(count);
  }
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
  /// The parts that are done; none: all of them.
  std::optional<PartShare> share;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALOPTIONS_H_

// The parts that a job over intervals is divided into.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_PLANPARTS_H_
#define ZELTRA_OPS_PLANPARTS_H_

#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"

namespace zeltra {

struct PlanOptions : IntervalOptions {
  /// How many workers share the parts; 0: not specified.
  int workers = 0;
};

/// All records of some whole intervals.
struct PlannedPart {
  std::vector<int> sources, setups;  ///< of the selected records, ascending
  int first = 0, last = 0;           ///< records, from 0; a file that is not in time order has others between them
  int64 records = 0;                 ///< number of records to read
  int64 bytes = 0;                   ///< the size of these
};

/// Find the parts of a job with this interval and selection, in time order: some 16 MiB of records each, cut at bounds
/// of intervals. They depend only on the file, the interval, --start and --stop. Worker K of N does the parts K, K + N,
/// K + 2 N, ... counted from 1: see PartShare.
ZELTRA_API AResult PlanParts(AUVXInput& from, const PlanOptions& options, std::vector<PlannedPart>& parts);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& PlanDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_PLANPARTS_H_

// The parts that a job over intervals is done in.
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
  /// Workers that share the parts; 0: it does not matter.
  int workers = 0;
};

/// All records of some whole intervals.
struct PlannedPart {
  std::vector<int> sources, setups;  ///< of the records that are selected, ascending
  int first = 0, last = 0;           ///< records, from 0; a file that is not in time order has others between them
  int64 records = 0;                 ///< that are read
  int64 bytes = 0;                   ///< of these
};

/// Find the parts of a job with this interval and selection, in the order of time: some 16 MiB of records, cut at
/// bounds of intervals. They depend on the file, the interval, --start and --stop alone. Worker K of N does the parts
/// K, K + N, K + 2 N, ... counted from 1: see PartShare.
ZELTRA_API AResult PlanParts(AUVXInput& from, const PlanOptions& options, std::vector<PlannedPart>& parts);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& PlanDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_PLANPARTS_H_

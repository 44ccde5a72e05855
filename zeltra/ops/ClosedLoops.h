// The chains of baselines of a file that close the loop over one of them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CLOSEDLOOPS_H_
#define ZELTRA_OPS_CLOSEDLOOPS_H_

#include <string>
#include <vector>

#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

struct LoopOptions : JobOptions {
  /// Antennas by number or name with a hyphen between, as in "2-5" or "PT-LA".
  std::string baseline;
  /// The longest chain, baselines.
  int longest = 3;
  /// With no more than sources, whose baselines count.
  UVXSelection selection;
};

/// Baselines, each from its first antenna to its second one, that lead from antenna 1 of the searched baseline to its
/// antenna 2.
using AChain = std::vector<ABL>;

/// Search the baselines that the table "BL" lists as not flagged, or those of the records in a file without the table.
/// @param chains  of 2 to `longest` baselines, none of them twice, in the order of ABaseClosedSearch
/// @return a failure also where the chains could be more than a million
ZELTRA_API AResult FindClosedLoops(AUVXInput& from, const LoopOptions& options, std::vector<AChain>& chains);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& LoopsDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSEDLOOPS_H_

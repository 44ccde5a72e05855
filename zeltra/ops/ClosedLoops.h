// Chains of baselines that close a loop with a given one.
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
  /// Two antennas, each a number or a name, joined by a hyphen, as in "2-5" or "PT-LA".
  std::string baseline;
  /// The longest chain, in baselines.
  int longest = 3;
  /// Only `sources` may be set: the baselines of these sources count.
  UVXSelection selection;
};

/// Baselines, each from its first antenna to its second, that lead from antenna 1 of the searched baseline to its
/// antenna 2.
using AChain = std::vector<ABL>;

/// Search the baselines that the table "BL" lists as not flagged, or, without that table, those of the records.
/// @param chains  of 2 to `longest` baselines, none used twice, in the order of ABaseClosedSearch
/// @return a failure also if there could be more than a million chains
ZELTRA_API AResult FindClosedLoops(AUVXInput& from, const LoopOptions& options, std::vector<AChain>& chains);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& LoopsDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSEDLOOPS_H_

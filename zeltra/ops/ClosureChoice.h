// Which closure phases are looked at where little is asked for.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CLOSURECHOICE_H_
#define ZELTRA_OPS_CLOSURECHOICE_H_

#include "zeltra/core/AResult.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/ops/SelectedVisibilities.h"

namespace zeltra {

/// Settle the antenna that `closure` leaves open: the one that most of the visibilities are of.
/// @param data  selects the visibilities of the closure phases
/// @return a failure of the selection, or that it leaves no valid visibility
ZELTRA_API AResult SettleClosure(SelectedVisibilities& data, ClosureOptions& closure);

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSURECHOICE_H_

// The default choice of closure phases.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CLOSURECHOICE_H_
#define ZELTRA_OPS_CLOSURECHOICE_H_

#include "zeltra/core/AResult.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/ops/SelectedVisibilities.h"

namespace zeltra {

/// Choose the antenna, if `closure` names none: the one with the most visibilities.
/// @param data  selects the visibilities of the closure phases
/// @return a failure if something selected does not exist, or if no valid visibility is left
ZELTRA_API AResult SettleClosure(SelectedVisibilities& data, ClosureOptions& closure);

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSURECHOICE_H_

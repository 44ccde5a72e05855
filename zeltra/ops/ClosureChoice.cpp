// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosureChoice.h"

namespace zeltra {

AResult SettleClosure(SelectedVisibilities& data, ClosureOptions& closure) {
  UVXSelection& selection = closure.selection;
  if (AResult result = data.Select(selection, SelectedVisibilities::ParallelHands); !result) return result;
  if (!selection.antennas.empty()) return AResult::Ok();
  int antenna = -1;
  if (AResult result = data.FindBusiestAntenna(closure, antenna); !result) return result;
  if (antenna < 0) return data.NothingValid();
  selection.antennas = {std::to_string(antenna)};
  return AResult::Ok();
}

}  // namespace zeltra

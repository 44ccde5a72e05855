// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosureChoice.h"

namespace zeltra {

AResult SettleClosure(SelectedVisibilities& data, ClosureOptions& closure) {
  UVXSelection& selection = closure.selection;
  if (selection.stokes.empty()) {
    if (AResult result = data.Select(selection, SelectedVisibilities::ParallelHands, RecordChoice::Antennas); !result)
      return result;
    selection.stokes = {data.polarisations()[0].name};
  }
  if (AResult result = data.Select(selection, SelectedVisibilities::ParallelHands, RecordChoice::Antennas); !result)
    return result;
  if (!selection.antennas.empty()) return AResult::Ok();
  int antenna = -1;
  if (AResult result = data.FindBusiestAntenna(closure, antenna); !result) return result;
  if (antenna < 0) return data.NothingValid(closure);
  selection.antennas = {std::to_string(antenna)};
  return AResult::Ok();
}

}  // namespace zeltra

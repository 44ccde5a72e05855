// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosureChoice.h"

namespace zeltra {

AResult SettleClosure(SelectedVisibilities& data, ClosureOptions& closure) {
  UVXSelection selection;
  // As it was named: the number of one source may be the name of another.
  selection.source = closure.source;
  selection.IF = closure.IF;
  selection.channel = closure.channel;
  if (closure.stokes.empty()) {
    if (AResult result = data.Select(selection, SelectedVisibilities::ParallelHands); !result) return result;
    closure.stokes = data.mixes()(0).asShortString();
  }
  selection.stokes = {closure.stokes};
  if (AResult result = data.Select(selection, SelectedVisibilities::ParallelHands); !result) return result;
  if (!closure.antenna.empty()) return AResult::Ok();
  int antenna = -1;
  if (AResult result = data.FindBusiestAntenna(closure, antenna); !result) return result;
  if (antenna < 0) return data.NothingValid();
  closure.antenna = std::to_string(antenna);
  return AResult::Ok();
}

}  // namespace zeltra

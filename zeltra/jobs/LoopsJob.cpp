// The job loops: the chains of baselines that close a loop with one baseline.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/ClosedLoops.h"

namespace zeltra {
namespace {

AResult RunLoops(const AJobFiles& files, LoopOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  std::vector<AChain> chains;
  if (AResult result = FindClosedLoops(input, options, chains); !result) return result;
  for (const AChain& chain : chains) {
    std::string line;
    for (size_t i = 0; i < chain.size(); ++i) {
      if (i > 0) line += " ";
      line += chain[i].Str();
    }
    if (AResult result = host.Text(line + "\n"); !result) return result;
  }
  if (chains.empty()) host.Note("no chain closes " + options.baseline);
  return AResult::Ok();
}

}  // namespace

AJob LoopsJob() {
  return JobOf<LoopOptions, RunLoops>(LoopsDescription);
}

}  // namespace zeltra

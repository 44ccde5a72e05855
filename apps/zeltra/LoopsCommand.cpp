// zeltra loops: the chains of baselines that close a loop with one baseline.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/ClosedLoops.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string path;
  LoopOptions options;
};

AResult PrintLoops(const Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.path, arguments.options.selection, session); !result) return result;
  std::vector<AChain> chains;
  if (AResult result = FindClosedLoops(input, arguments.options, chains); !result) return result;
  StandardOutput out;
  for (const AChain& chain : chains) {
    for (size_t i = 0; i < chain.size(); ++i) {
      if (i > 0) out.Append(" ");
      out.Append(chain[i].Str());
    }
    out.Append("\n");
  }
  if (chains.empty()) session.Note("no chain closes " + arguments.options.baseline);
  return out.Flush();
}

}  // namespace

void AddLoopsCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, LoopsDescription(), {arguments->options, {&arguments->path}},
             [arguments, &session] { return PrintLoops(*arguments, session); });
}

}  // namespace zeltra::app

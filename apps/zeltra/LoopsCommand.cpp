// zeltra loops: the chains of baselines that close a baseline.
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
  if (AResult result = input.Open(arguments.path, session); !result) return result;
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
  LoopOptions& options = arguments->options;
  CLI::App& command = *app.add_subcommand(
      "loops",
      "List the chains of baselines that lead from one antenna to another, a line each, as in 2-5 5-7 7-3 for 2-3");
  command.add_option("FILE", arguments->path, "UVX, or UV FITS, which is imported first")->required();
  command.add_option("ANT1-ANT2", options.baseline, "numbers or names of the antennas, as in 2-5 or PT-LA")->required();
  command.add_option("--max", options.longest, "the longest chain, baselines")
      ->check(CLI::Range(2, 1000))
      ->capture_default_str();
  command.add_option("--source", options.source, "only baselines with records of this source")->type_name("N|NAME");
  session.OnRun(command, [arguments, &session] { return PrintLoops(*arguments, session); });
}

}  // namespace zeltra::app

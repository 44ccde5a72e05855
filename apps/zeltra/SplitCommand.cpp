// zeltra split: a UVX file of each source and setup of another one.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/SplitUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string folder;
  SplitOptions options;
};

AResult Split(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  SplitSummary summary;
  AResult result = SplitUVX(input, arguments.folder, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (!result) return result;
  for (const std::string& path : summary.paths) ReportUVX(session, path);
  return result;
}

}  // namespace

void AddSplitCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, SplitDescription(), {arguments->options, {&arguments->from, &arguments->folder}},
             [arguments, &session] { return Split(*arguments, session); });
}

}  // namespace zeltra::app

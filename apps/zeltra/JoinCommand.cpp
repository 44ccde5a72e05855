// zeltra join: several UVX files as one.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/JoinUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::vector<std::string> files;  // the inputs, and the output
  JoinOptions options;
};

AResult Join(Arguments& arguments, Session& session) {
  std::vector<std::string> from = arguments.files;
  const std::string to = from.back();
  from.pop_back();
  arguments.options.open = [&session](const std::string& path, std::unique_ptr<AUVXInput>& input) {
    auto opened = std::make_unique<UVXInput>();
    AResult result = opened->Open(path, session);
    input = std::move(opened);
    return result;
  };
  JoinSummary summary;
  AResult result = JoinUVX(from, to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (result) ReportUVX(session, to);
  return result;
}

}  // namespace

void AddJoinCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, JoinDescription(), {.options = arguments->options, .files = {}, .list = &arguments->files},
             [arguments, &session] { return Join(*arguments, session); });
}

}  // namespace zeltra::app

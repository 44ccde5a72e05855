// zeltra join: several UVX files, or the parts of an output, become one file.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/JoinParts.h"
#include "zeltra/ops/JoinUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::vector<std::string> files;  // the inputs, and the output
  JoinOptions options;
};

AResult JoinInputs(Arguments& arguments, Session& session) {
  arguments.options.open = [&session](const std::string& path, std::unique_ptr<AUVXInput>& input) {
    auto opened = std::make_unique<UVXInput>();
    AResult result = opened->Open(path, session);
    input = std::move(opened);
    return result;
  };
  const std::vector<std::string> from(arguments.files.begin(), arguments.files.end() - 1);
  JoinSummary summary;
  AResult result = JoinUVX(from, arguments.files.back(), arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  return result;
}

AResult Join(Arguments& arguments, Session& session) {
  const std::string& to = arguments.files.back();
  const bool isAlone = arguments.files.size() == 1;
  if (isAlone != arguments.options.parts) {
    return AResult::Fail(to + (isAlone ? ": there is nothing to join; --parts joins its parts"
                                       : ": is not the only file that is named; --parts takes the output alone"));
  }
  AResult result = isAlone ? JoinParts(to, arguments.options) : JoinInputs(arguments, session);
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

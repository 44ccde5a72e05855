// zeltra copy: a part of a UVX file as another one.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  CopyOptions options;
};

AResult Copy(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  CopySummary summary;
  AResult result = CopyUVX(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (result) ReportUVX(session, arguments.to, "", " of " + std::to_string(input.uvx().count()));
  return result;
}

}  // namespace

void AddCopyCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, CopyDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Copy(*arguments, session); });
}

}  // namespace zeltra::app

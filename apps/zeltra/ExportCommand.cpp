// zeltra export: UVX into UV FITS.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/interchange/ExportUVFITS.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  JobOptions options;
};

AResult Export(const Arguments& arguments, Session& session) {
  if (AResult result = ExportUVFITS(arguments.from, arguments.to, arguments.options); !result) return result;
  AUVXInput from;
  if (from.Open(arguments.from)) ReportVisibilities(session, arguments.to, from);
  return AResult::Ok();
}

}  // namespace

void AddExportCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ExportDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Export(*arguments, session); });
}

}  // namespace zeltra::app

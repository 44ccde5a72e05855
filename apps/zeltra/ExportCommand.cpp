// zeltra export: UVX into UV FITS.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "zeltra/interchange/ExportUVFITS.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  JobOptions options;
};

}  // namespace

void AddExportCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ExportDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments] { return ExportUVFITS(arguments->from, arguments->to, arguments->options); });
}

}  // namespace zeltra::app

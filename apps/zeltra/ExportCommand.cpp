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
  bool force = false;
};

}  // namespace

void AddExportCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App& command = *app.add_subcommand("export", "Export a UVX file as random-groups UV FITS");
  command.add_option("IN.uvx", arguments->from, "the file to export")->required();
  command.add_option("OUT.uvfits", arguments->to, "the file to make")->required();
  command.add_flag("-f,--force", arguments->force, "replace OUT.uvfits if it exists");
  session.OnRun(command, [arguments, &session] {
    return ExportUVFITS(arguments->from, arguments->to, session.Options(arguments->force));
  });
}

}  // namespace zeltra::app

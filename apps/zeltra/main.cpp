// The zeltra command: one subcommand a job, each in a source file of its own.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <exception>
#include <new>

#include "apps/zeltra/Command.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

int Run(std::vector<std::string> arguments) {
  Session session;
  CLI::App app("Radio-interferometry visibility data: import, look at, average, close, copy, export", "zeltra");
  app.set_version_flag("--version", "zeltra " ZELTRA_VERSION);
  AddOptions(app, ToolDescription(), session.options);
  app.require_subcommand(1);
  app.fallthrough();
  // A file name may begin with a slash on Windows too.
  app.allow_windows_style_options(false);
  app.failure_message([](const CLI::App* parsed, const CLI::Error& e) {
    std::string name = "zeltra";
    for (const CLI::App* command : parsed->get_subcommands()) name += " " + command->get_name();
    return "zeltra: error: " + std::string(e.what()) + "\nRun '" + name + " --help' for help.\n";
  });

  AddImportCommand(app, session);
  AddExportCommand(app, session);
  AddInfoCommand(app, session);
  AddRecordsCommand(app, session);
  AddTableCommand(app, session);
  AddAverageCommand(app, session);
  AddClosureCommand(app, session);
  AddLoopsCommand(app, session);
  AddCopyCommand(app, session);
  AddUVWCommand(app, session);
  AddImageCommand(app, session);
  AddPlotCommand(app, session);
  AddSimulateCommand(app, session);
  AddRegisterCommand(app, session);
  AddManualCommand(app, session);

  try {
    // The parser takes arguments from the back.
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? kDone : kWrongUsage;
  }
  return session.Finish();
}

}  // namespace
}  // namespace zeltra::app

int main(int argc, char** argv) {
  zeltra::UseBinaryStandardOutput();
  try {
    return zeltra::app::Run(zeltra::CommandLineArguments(argc, argv));
  } catch (const std::bad_alloc&) {
    zeltra::app::PrintError("out of memory");
  } catch (const std::exception& e) {
    zeltra::app::PrintError(e.what());
  }
  return zeltra::app::kFailed;
}

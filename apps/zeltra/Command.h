// What every command of the tool shares with main.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_COMMAND_H_
#define ZELTRA_APPS_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "apps/zeltra/TablePrinter.h"
#include "apps/zeltra/TerminalProgress.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra::app {

/// How the process ends.
enum ExitCode : int { kDone = 0, kFailed = 1, kWrongUsage = 2, kCancelled = 130 };

/// One run of the tool. A command is one source file with one function, which adds the command with its arguments:
///
///     void AddCopyCommand(CLI::App& app, Session& session) {
///       auto arguments = std::make_shared<Arguments>();
///       CLI::App& command = *app.add_subcommand("copy", "Copy a UVX file");
///       command.add_option("IN.uvx", arguments->from, "the file to copy")->required();
///       session.OnRun(command, [arguments, &session] { return Copy(*arguments, session); });
///     }
///
/// The function is declared below and called in main.cpp.
class Session {
 public:
  /// Let Ctrl-C ask the running job to stop; a second one ends the process at once.
  Session();

  /// Run `job` when the command line names `command`.
  void OnRun(CLI::App& command, std::function<AResult()> job);

  /// What a whole-file job is given.
  JobOptions Options(bool overwrite);
  bool IsCancelled() const;

  /// Tell the person something that does not end the command; told whether or not the tool is to be quiet.
  void Note(const std::string& sentence);
  /// Tell the person that all went well, unless the tool is to be quiet.
  void Report(const std::string& sentence);

  /// Tell how the command ended. @return the exit code
  int Finish();

  bool quiet = false;
  bool pause = false;  ///< whether a person is to press Enter before the process ends

 private:
  TerminalProgress progress_;
  AResult result_ = AResult::Ok();
};

/// Print `zeltra: error: SENTENCE` on standard error.
void PrintError(const std::string& sentence);

/// Add --csv and --json, which set `format`.
void AddFormatOptions(CLI::App& command, TableFormat& format);

void AddAverageCommand(CLI::App& app, Session& session);
void AddClosureCommand(CLI::App& app, Session& session);
void AddCopyCommand(CLI::App& app, Session& session);
void AddExportCommand(CLI::App& app, Session& session);
void AddImageCommand(CLI::App& app, Session& session);
void AddImportCommand(CLI::App& app, Session& session);
void AddInfoCommand(CLI::App& app, Session& session);
void AddLoopsCommand(CLI::App& app, Session& session);
void AddPlotCommand(CLI::App& app, Session& session);
void AddRecordsCommand(CLI::App& app, Session& session);
void AddRegisterCommand(CLI::App& app, Session& session);
void AddSimulateCommand(CLI::App& app, Session& session);
void AddTableCommand(CLI::App& app, Session& session);
void AddUVWCommand(CLI::App& app, Session& session);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_COMMAND_H_

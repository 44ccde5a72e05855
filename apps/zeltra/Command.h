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
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra::app {

/// How the process ends; kSignalled and the number of the signal that cancelled the job: 130 after Ctrl-C.
enum ExitCode : int { kDone = 0, kFailed = 1, kWrongUsage = 2, kSignalled = 128, kCancelled = 130 };

/// What every command takes.
struct ToolOptions : JobOptions {
  bool quiet = false;
  bool pause = false;  ///< whether a person is to press Enter before the process ends
};
const AJobDescription& ToolDescription();

/// One run of the tool. A command is one source file with one function, declared below and called in main.cpp, which
/// adds what the description of its job tells:
///
///     void AddCopyCommand(CLI::App& app, Session& session) {
///       auto arguments = std::make_shared<Arguments>();
///       AddCommand(app, session, CopyDescription(), {arguments->options, {&arguments->from, &arguments->to}},
///                  [arguments, &session] { return Copy(*arguments, session); });
///     }
class Session {
 public:
  /// Let Ctrl-C and other signals ask the running job to stop; a second one ends the process at once.
  Session();

  /// Run `job` when the command line names `command`.
  void OnRun(CLI::App& command, std::function<AResult()> job);

  /// Keep a description for the manual.
  void Describe(const AJobDescription& description) { descriptions_.push_back(&description); }
  const std::vector<const AJobDescription*>& descriptions() const { return descriptions_; }

  /// Let a job show its progress and be cancelled.
  void Prepare(JobOptions& options);
  /// Options of a job that needs no others.
  JobOptions Options();
  bool IsCancelled() const;

  /// Tell the person something that does not end the command, unless the tool is to be quiet.
  void Note(const std::string& sentence);
  /// Tell the person that all went well, unless the tool is to be quiet.
  void Report(const std::string& sentence);

  /// Tell how the command ended. @return the exit code
  int Finish();

  ToolOptions options;

 private:
  TerminalProgress progress_;
  std::vector<const AJobDescription*> descriptions_;
  AResult result_ = AResult::Ok();
};

/// Print `zeltra: error: SENTENCE` on standard error.
void PrintError(const std::string& sentence);

/// Where the arguments of a command go.
struct CommandTargets {
  JobOptions& options;              ///< of the type that the description is of
  std::vector<std::string*> files;  ///< the names of the inputs, then of the outputs
  TableFormat* format = nullptr;    ///< of a command that prints a table
};

/// Add a command with the arguments, options and help that a description tells. --csv and --json are added for a table;
/// a job that gives a table or a file gives the file where it is named.
/// @param run  what the command does, with the options prepared; it owns the targets
void AddCommand(CLI::App& app, Session& session, const AJobDescription& description, const CommandTargets& targets,
                std::function<AResult()> run);

/// Add options alone.
void AddOptions(CLI::App& command, const AJobDescription& description, JobOptions& options);

/// The columns that a description begins with, times as text where the format is for people.
/// @param count  how many of them; negative: all
std::vector<PrintedColumn> PrintedColumns(const AJobDescription& description, TableFormat format, int count = -1);

void AddApplyCommand(CLI::App& app, Session& session);
void AddAverageCommand(CLI::App& app, Session& session);
void AddClosureCommand(CLI::App& app, Session& session);
void AddCopyCommand(CLI::App& app, Session& session);
void AddExportCommand(CLI::App& app, Session& session);
void AddGainsCommand(CLI::App& app, Session& session);
void AddImageCommand(CLI::App& app, Session& session);
void AddImportCommand(CLI::App& app, Session& session);
void AddInfoCommand(CLI::App& app, Session& session);
void AddLoopsCommand(CLI::App& app, Session& session);
void AddManualCommand(CLI::App& app, Session& session);
void AddPlotCommand(CLI::App& app, Session& session);
void AddRecordsCommand(CLI::App& app, Session& session);
void AddRegisterCommand(CLI::App& app, Session& session);
void AddSimulateCommand(CLI::App& app, Session& session);
void AddSolveCommand(CLI::App& app, Session& session);
void AddTableCommand(CLI::App& app, Session& session);
void AddUVWCommand(CLI::App& app, Session& session);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_COMMAND_H_

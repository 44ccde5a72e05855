// What all commands of the tool share with main.
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

/// The exit codes; kSignalled is added to the number of the signal that cancelled the job: 130 after Ctrl-C.
enum ExitCode : int { kDone = 0, kFailed = 1, kWrongUsage = 2, kSignalled = 128, kCancelled = 130 };

/// The options of every command.
struct ToolOptions : JobOptions {
  bool quiet = false;
  bool pause = false;  ///< whether to wait for Enter before the process ends
};
const AJobDescription& ToolDescription();

/// One run of the tool. A command is one source file with one function, declared below and called in main.cpp, which
/// adds what the description of its job contains:
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

  /// Connect a job to the progress bar and to cancellation by signals.
  void Prepare(JobOptions& options);
  /// Options for a job that has none of its own.
  JobOptions Options();
  bool IsCancelled() const;

  /// Print something that does not end the command, unless the tool is to be quiet.
  void Note(const std::string& sentence);
  /// Print that the command succeeded, unless the tool is to be quiet.
  void Report(const std::string& sentence);

  /// Print how the command ended. @return the exit code
  int Finish();

  ToolOptions options;

 private:
  TerminalProgress progress_;
  std::vector<const AJobDescription*> descriptions_;
  AResult result_ = AResult::Ok();
};

/// Print `zeltra: error: SENTENCE` on standard error.
void PrintError(const std::string& sentence);

/// Where the arguments of a command are stored.
struct CommandTargets {
  JobOptions& options;              ///< of the type that the description requires
  std::vector<std::string*> files;  ///< the names of the inputs, then of the outputs
  TableFormat* format = nullptr;    ///< for a command that prints a table
  /// Of a command that takes several inputs: their names, then that of the output. `files` is empty then.
  std::vector<std::string>* list = nullptr;
};

/// Add a command with the arguments, options and help of a description. A table gets --csv and --json; a job that makes
/// either a table or a file makes the file if it is named.
/// @param run  what the command does, called with the options prepared; it owns the targets
void AddCommand(CLI::App& app, Session& session, const AJobDescription& description, const CommandTargets& targets,
                std::function<AResult()> run);

/// Add only the options.
void AddOptions(CLI::App& command, const AJobDescription& description, JobOptions& options);

/// The first columns of a description; times are text if the format is text.
/// @param count  how many; negative: all
std::vector<PrintedColumn> PrintedColumns(const AJobDescription& description, TableFormat format, int count = -1);

void AddApplyCommand(CLI::App& app, Session& session);
void AddAverageCommand(CLI::App& app, Session& session);
void AddCleanCommand(CLI::App& app, Session& session);
void AddClosureCommand(CLI::App& app, Session& session);
void AddCopyCommand(CLI::App& app, Session& session);
void AddExportCommand(CLI::App& app, Session& session);
void AddFrequencyCommands(CLI::App& app, Session& session);
void AddFlagCommand(CLI::App& app, Session& session);
void AddGainsCommand(CLI::App& app, Session& session);
void AddImageCommand(CLI::App& app, Session& session);
void AddImportCommand(CLI::App& app, Session& session);
void AddInfoCommand(CLI::App& app, Session& session);
void AddJoinCommand(CLI::App& app, Session& session);
void AddLoopsCommand(CLI::App& app, Session& session);
void AddManualCommand(CLI::App& app, Session& session);
void AddPlanCommand(CLI::App& app, Session& session);
void AddPlotCommand(CLI::App& app, Session& session);
void AddRecordsCommand(CLI::App& app, Session& session);
void AddRegisterCommand(CLI::App& app, Session& session);
void AddSelfCalCommand(CLI::App& app, Session& session);
void AddShiftCommand(CLI::App& app, Session& session);
void AddSimulateCommand(CLI::App& app, Session& session);
void AddSolveCommand(CLI::App& app, Session& session);
void AddSortCommand(CLI::App& app, Session& session);
void AddSplitCommand(CLI::App& app, Session& session);
void AddTableCommand(CLI::App& app, Session& session);
void AddUVWCommand(CLI::App& app, Session& session);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_COMMAND_H_

// What all commands of the tool share with main.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_COMMAND_H_
#define ZELTRA_APPS_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "apps/zeltra/TablePrinter.h"
#include "apps/zeltra/TerminalProgress.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/jobs/JobHost.h"

namespace zeltra::app {

/// The exit codes; kSignalled is added to the number of the signal that cancelled the job: 130 after Ctrl-C.
enum ExitCode : int { kDone = 0, kFailed = 1, kWrongUsage = 2, kSignalled = 128, kCancelled = 130 };

/// The options of every command.
struct ToolOptions : JobOptions {
  bool quiet = false;
  bool pause = false;  ///< whether to wait for Enter before the process ends
};
const AJobDescription& ToolDescription();

/// One run of the tool, as jobs see it. Most commands are a job of the library, added by AddJob. A command that does
/// more, or has no job, is one source file with one function, declared below and called in main.cpp, which adds what a
/// description contains:
///
///     void AddPlotCommand(CLI::App& app, Session& session) {
///       auto arguments = std::make_shared<Arguments>();
///       AddCommand(app, session, PlotDescription(), {arguments->options, {&arguments->from, &arguments->to}},
///                  [arguments, &session] { return Plot(*arguments, session); });
///     }
class Session : public AJobHost {
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

  /// Print something that does not end the command, unless the tool is to be quiet.
  void Note(const std::string& sentence) override;
  /// Print that the command succeeded, unless the tool is to be quiet.
  void Report(const std::string& sentence) override;
  ATableSink& BeginTable(std::vector<AJobColumn> columns) override;
  bool IsForPeople() const override { return format == TableFormat::Text; }
  AResult Text(std::string_view text) override;
  /// Write what has been printed. @return a failure if it is not accepted
  AResult FlushOutput() { return out_.Flush(); }
  /// Decompress a file that is compressed with gzip.
  AResult OpenInput(const std::string& path, const JobOptions& job, std::unique_ptr<AInputFile>& plain) override;

  /// Print how the command ended. @return the exit code
  int Finish();

  ToolOptions options;
  TableFormat format = TableFormat::Text;

 private:
  TerminalProgress progress_;
  std::vector<const AJobDescription*> descriptions_;
  StandardOutput out_;
  std::optional<TablePrinter> table_;
  AResult result_ = AResult::Ok();
};

/// Print `zeltra: error: SENTENCE` on standard error.
void PrintError(const std::string& sentence);

/// Where the arguments of a command are stored.
struct CommandTargets {
  JobOptions& options;              ///< of the type that the description requires
  std::vector<std::string*> files;  ///< the names of the inputs, then of the outputs
  bool hasTable = false;            ///< whether the command prints a table, in the format of the session
  /// For a command that takes several inputs: their names, then that of the output. `files` is then ignored.
  std::vector<std::string>* list = nullptr;
};

/// Add a job of the library, with the progress, notes and results of a session.
void AddJob(CLI::App& app, Session& session, const AJob& job);

/// The targets of a command whose files are an AJobFiles, which gets room for them.
CommandTargets TargetsOf(const AJobDescription& description, JobOptions& options, AJobFiles& files);

/// Add a command with the arguments, options and help of a description. A table gets --csv and --json; a job that makes
/// either a table or a file makes the file if it is named.
/// @param run  what the command does, called with the options prepared; it owns the targets
void AddCommand(CLI::App& app, Session& session, const AJobDescription& description, const CommandTargets& targets,
                std::function<AResult()> run);

/// Add only the options.
void AddOptions(CLI::App& command, const AJobDescription& description, JobOptions& options);

void AddCleanCommand(CLI::App& app, Session& session);
void AddGainsCommand(CLI::App& app, Session& session);
void AddImageCommand(CLI::App& app, Session& session);
void AddInfoCommand(CLI::App& app, Session& session);
void AddManualCommand(CLI::App& app, Session& session);
void AddPlotCommand(CLI::App& app, Session& session);
void AddRegisterCommand(CLI::App& app, Session& session);
void AddSelfCalCommand(CLI::App& app, Session& session);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_COMMAND_H_

// SPDX-License-Identifier: MIT
#include "apps/zeltra/Command.h"

#include <cstdio>

#include "apps/zeltra/Gunzip.h"
#include "zeltra/core/Text.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

ACancelFlag cancelled = 0;

void WaitForEnter() {
  std::fprintf(stderr, "\nPress Enter to close ");
  int character;
  do {
    character = std::getchar();
  } while (character != '\n' && character != EOF);
}

}  // namespace

Session::Session() {
  CatchSignals(cancelled);
}

const AJobDescription& ToolDescription() {
  static const AJobDescription description = [] {
    AJobDescriber<ToolOptions> tool("zeltra", "Inspect visibility data, and convert it to other data");
    tool.Option("quiet", &ToolOptions::quiet, "no progress bar, notes or summary, only errors").Letter('q');
    tool.Option("pause", &ToolOptions::pause, "wait for Enter at the end, for a window that closes with the program");
    return tool.Finish();
  }();
  return description;
}

void Session::OnRun(CLI::App& command, std::function<AResult()> job) {
  command.callback([this, job = std::move(job)] { result_ = job(); });
}

void Session::Prepare(JobOptions& job) {
  if (!options.quiet && IsErrorTerminal()) job.progress = &progress_;
  job.cancel = &cancelled;
}

void Session::Note(const std::string& sentence) {
  progress_.Clear();
  if (!options.quiet) std::fprintf(stderr, "zeltra: note: %s\n", Printable(sentence).c_str());
}

void Session::Report(const std::string& sentence) {
  progress_.Clear();
  if (!options.quiet) std::fprintf(stderr, "zeltra: %s\n", Printable(sentence).c_str());
}

ATableSink& Session::BeginTable(std::vector<AJobColumn> columns) {
  return table_.emplace(out_, format, PrintedColumns(columns, format));
}

AResult Session::Text(std::string_view text) {
  out_.Append(text);
  return out_.good() ? AResult::Ok() : out_.Flush();
}

AResult Session::OpenInput(const std::string& path, const JobOptions& job, std::unique_ptr<AInputFile>& plain) {
  return Gunzip(path, job, plain);
}

int Session::Finish() {
  progress_.Clear();
  const int signal = cancelled;
  const bool isPipeGone = signal == kPipeSignal;
  if (!result_ && !isPipeGone) PrintError(result_.message());
  if (options.pause) WaitForEnter();
  if (result_) return kDone;
  return isPipeGone || result_.code() == AResult::Cancelled ? kSignalled + signal : kFailed;
}

void PrintError(const std::string& sentence) {
  std::fprintf(stderr, "zeltra: error: %s\n", Printable(sentence).c_str());
}

}  // namespace zeltra::app

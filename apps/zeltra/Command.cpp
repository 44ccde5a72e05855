// SPDX-License-Identifier: MIT
#include "apps/zeltra/Command.h"

#include <csignal>
#include <cstdio>

#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

ACancelFlag cancelled = 0;

extern "C" void Interrupt(int) {
  cancelled.store(1, std::memory_order_relaxed);
  std::signal(SIGINT, SIG_DFL);
}

void WaitForEnter() {
  std::fprintf(stderr, "\nPress Enter to close ");
  int character;
  do {
    character = std::getchar();
  } while (character != '\n' && character != EOF);
}

}  // namespace

Session::Session() {
  // A shell has its background jobs ignore Ctrl-C, and so they do.
  if (std::signal(SIGINT, Interrupt) == SIG_IGN) std::signal(SIGINT, SIG_IGN);
}

void Session::OnRun(CLI::App& command, std::function<AResult()> job) {
  command.callback([this, job = std::move(job)] { result_ = job(); });
}

JobOptions Session::Options(bool overwrite) {
  JobOptions options;
  if (!quiet && IsErrorTerminal()) options.progress = &progress_;
  options.cancel = &cancelled;
  options.overwrite = overwrite;
  return options;
}

bool Session::IsCancelled() const {
  return IsSet(&cancelled);
}

void Session::Note(const std::string& sentence) {
  progress_.Clear();
  std::fprintf(stderr, "zeltra: note: %s\n", Printable(sentence).c_str());
}

void Session::Report(const std::string& sentence) {
  progress_.Clear();
  if (!quiet) std::fprintf(stderr, "zeltra: %s\n", sentence.c_str());
}

int Session::Finish() {
  progress_.Clear();
  if (!result_) PrintError(result_.message());
  if (pause) WaitForEnter();
  switch (result_.code()) {
    case AResult::Done:
      return kDone;
    case AResult::Cancelled:
      return kCancelled;
    default:
      return kFailed;
  }
}

void PrintError(const std::string& sentence) {
  std::fprintf(stderr, "zeltra: error: %s\n", Printable(sentence).c_str());
}

void AddFormatOptions(CLI::App& command, TableFormat& format) {
  CLI::Option* csv = command.add_flag_callback(
      "--csv", [&format] { format = TableFormat::CSV; }, "print CSV");
  CLI::Option* json = command.add_flag_callback(
      "--json", [&format] { format = TableFormat::JSON; }, "print JSON");
  csv->excludes(json);
}

}  // namespace zeltra::app

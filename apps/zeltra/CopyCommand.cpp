// zeltra copy: a part of a UVX file as another one.
// SPDX-License-Identifier: MIT
#include <charconv>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  bool force = false;
  CopyOptions options;
};

// Numbers and ranges, as in 0,4-7. @return false if `text` is something else
bool ParseNumbers(const std::string& text, std::vector<int>& numbers) {
  constexpr int kLargest = 1 << 24;
  const char* p = text.data();
  const char* end = p + text.size();
  for (;;) {
    int first = 0;
    auto parsed = std::from_chars(p, end, first);
    int last = first;
    if (parsed.ec == std::errc() && parsed.ptr != end && *parsed.ptr == '-') {
      parsed = std::from_chars(parsed.ptr + 1, end, last);
    }
    if (parsed.ec != std::errc() || first < 0 || last < first || last > kLargest) return false;
    for (int number = first; number <= last; ++number) numbers.push_back(number);
    if (parsed.ptr == end) return true;
    if (*parsed.ptr != ',') return false;
    p = parsed.ptr + 1;
  }
}

void AddNumbers(CLI::App& command, const char* name, std::vector<int>& numbers, const char* description) {
  command
      .add_option_function<std::string>(
          name,
          [name, &numbers](const std::string& text) {
            if (ParseNumbers(text, numbers)) return;
            throw CLI::ValidationError(name, text + " is no list of numbers like 0,4-7");
          },
          description)
      ->type_name("LIST");
}

AResult Copy(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  static_cast<JobOptions&>(arguments.options) = session.Options(arguments.force);
  CopySummary summary;
  AResult result = CopyUVX(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (result) {
    session.Report(arguments.to + ": " + std::to_string(summary.records) + " of " +
                   std::to_string(input.uvx().count()) + " records");
  }
  return result;
}

}  // namespace

void AddCopyCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  CopyOptions& options = arguments->options;
  CLI::App& command = *app.add_subcommand("copy", "Copy a UVX file, or the part of it that is selected");
  command.add_option("IN", arguments->from, "UVX, or UV FITS, which is imported first")->required();
  command.add_option("OUT.uvx", arguments->to, "the file to make")->required();
  command.add_option("--source", options.sources, "numbers or names of sources, separated by commas")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("LIST");
  command
      .add_option("--antenna", options.antennas,
                  "numbers or names of antennas, separated by commas: the baselines between them")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("LIST");
  AddTimeOptions(command, options.start, options.stop);
  command.add_flag("--drop-flagged", options.dropFlagged,
                   "leave out records that are flagged or keep no value with a weight above 0");
  AddNumbers(command, "--if", options.ifs, "numbers of IFs, from 0, as in 0,2-3");
  AddNumbers(command, "--channel", options.channels, "numbers of channels, from 0, evenly spaced, as in 8-15");
  command.add_option("--stokes", options.stokes, "polarisations, as in RR,LL")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("LIST");
  command.add_flag("-f,--force", arguments->force, "replace OUT.uvx if it exists");
  session.OnRun(command, [arguments, &session] { return Copy(*arguments, session); });
}

}  // namespace zeltra::app

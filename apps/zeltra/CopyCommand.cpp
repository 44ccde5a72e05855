// zeltra copy: a part of a UVX file as another one.
// SPDX-License-Identifier: MIT
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

void AddNumbers(CLI::App& command, const char* name, std::vector<int>& numbers, const char* description) {
  command
      .add_option_function<std::string>(
          name,
          [name, &numbers](const std::string& text) {
            if (AResult result = strToList(text, 0, numbers); !result) {
              throw CLI::ValidationError(name, result.message());
            }
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

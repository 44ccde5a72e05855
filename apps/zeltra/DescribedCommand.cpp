// Builds a command line from the description of a job.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cassert>
#include <memory>

#include "apps/zeltra/Command.h"

namespace zeltra::app {
namespace {

std::string OptionNames(const std::string& name, char letter) {
  return (letter ? std::string("-") + letter + "," : "") + "--" + name;
}

// The help of an option with its unit and default.
std::string Help(const AJobDescription& description, const AJobOption& option) {
  const std::string otherwise = description.DefaultOf(option), range = option.RangeText();
  return option.help + (range.empty() ? "" : ", " + range) + (option.unit.empty() ? "" : " (" + option.unit + ")") +
         (otherwise.empty() ? "" : " [" + otherwise + "]");
}

void AddOption(CLI::App& command, const AJobOption& option, const std::string& help, JobOptions& options) {
  const std::string shown = option.isWord ? option.form : "--" + option.name;
  const auto take = [&option, &options, shown](const std::string& text) {
    if (AResult result = option.Set(options, text); !result) throw CLI::ValidationError(shown, result.message());
  };
  if (option.kind == AOptionKind::Flag) {
    command.add_flag_function(
        OptionNames(option.name, option.letter), [take](std::int64_t count) { take(count > 0 ? "true" : "false"); },
        help);
    return;
  }
  const auto takeAll = [take](const CLI::results_t& texts) {
    for (const std::string& text : texts) take(text);
    return true;
  };
  CLI::Option& added =
      *command.add_option(option.isWord ? shown : OptionNames(option.name, option.letter), takeAll, help);
  added.type_name(option.isWord ? "" : option.form)->required(option.isRequired);
  const bool isList = option.kind == AOptionKind::TextList || option.kind == AOptionKind::NumberList;
  if (isList || option.isRepeated) added.expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args(false);
}

void AddFile(CLI::App& command, const AJobFile& file, std::string& path) {
  const std::string names = file.isWord() ? file.name : OptionNames(file.option, file.letter);
  CLI::Option& added = *command.add_option(names, path, file.help);
  added.type_name(file.isWord() ? "" : file.name)->required(file.isRequired());
  added.check([&file](const std::string& text) { return file.Check(text).message(); });
}

// Several inputs and an output, which is the last word.
void AddFileList(CLI::App& command, const AJobDescription& description, std::vector<std::string>& paths) {
  const AJobFile &input = description.inputs.front(), &output = description.outputs.front();
  CLI::Option& added = *command.add_option(input.name, paths, input.help + "; the last one: " + output.help);
  added.option_text(input.name + "... " + output.name)->required()->expected(1, CLI::detail::expected_max_vector_size);
}

void AddFormat(CLI::App& command, TableFormat& format) {
  CLI::Option* csv = command.add_flag_callback(
      "--csv", [&format] { format = TableFormat::CSV; }, "print CSV");
  CLI::Option* json = command.add_flag_callback(
      "--json", [&format] { format = TableFormat::JSON; }, "print JSON");
  csv->excludes(json);
}

// Let a file replace the table.
void ReplaceTable(CLI::App& command, const AJobFile& output) {
  CLI::Option* file = command.get_option("--" + output.option);
  for (const char* format : {"--csv", "--json"}) file->excludes(command.get_option(format));
  for (const char* option : {"--force", "--no-sync"}) command.get_option(option)->needs(file);
}

// `text` in lines of up to 100 characters; existing line breaks are kept.
std::string Wrapped(const std::string& text) {
  constexpr size_t kColumns = 100;
  std::string lines;
  size_t begin = 0;
  while (text.size() - begin > kColumns) {
    const size_t newline = text.find('\n', begin);
    const size_t end = newline <= begin + kColumns ? newline : text.rfind(' ', begin + kColumns);
    if (end == text.npos || end < begin) break;
    lines += text.substr(begin, end - begin) + "\n";
    begin = end + 1;
  }
  return lines + text.substr(begin);
}

// What the help says after the list of options.
std::string Footer(const AJobDescription& description) {
  std::string text = description.details.empty() ? "" : Wrapped(description.details) + "\n";
  if (!description.columns.empty()) text += "Columns:\n";
  for (const AJobColumn& column : description.columns) {
    text += "  " + column.name + (column.unit.empty() ? "" : " [" + column.unit + "]") + "  " + column.help + "\n";
  }
  return text;
}

}  // namespace

void AddOptions(CLI::App& command, const AJobDescription& description, JobOptions& options) {
  for (const AJobOption& option : description.options) {
    AddOption(command, option, Help(description, option), options);
  }
  for (const AJobOption& option : description.options) {
    if (!option.excludes.empty()) {
      command.get_option("--" + option.name)->excludes(command.get_option("--" + option.excludes));
    }
  }
}

void AddCommand(CLI::App& app, Session& session, const AJobDescription& description, const CommandTargets& targets,
                std::function<AResult()> run) {
  CLI::App& command = *app.add_subcommand(description.name, description.summary);
  command.footer(Footer(description));
  assert(targets.files.size() == description.inputs.size() + description.outputs.size());
  if (targets.list) AddFileList(command, description, *targets.list);
  auto path = targets.files.begin();
  // Arguments without names come in the order in which they are typed: inputs, what to do with them, outputs.
  for (const AJobFile& file : description.inputs) {
    if (!targets.list) AddFile(command, file, **path++);
  }
  AddOptions(command, description, targets.options);
  for (const AJobFile& file : description.outputs) {
    if (!targets.list) AddFile(command, file, **path++);
  }
  if (targets.hasTable) {
    AddFormat(command, session.format);
    // A job that must have an output prints its table beside it.
    const bool isBeside = std::any_of(description.outputs.begin(), description.outputs.end(),
                                      [](const AJobFile& file) { return file.isRequired(); });
    for (const AJobFile& file : description.outputs) {
      if (!isBeside && !file.isWord()) ReplaceTable(command, file);
    }
  }
  session.Describe(description);
  session.OnRun(command, [&session, &options = targets.options, run = std::move(run)] {
    session.Prepare(options);
    AResult result = run();
    if (result.code() == AResult::Misused) throw CLI::ValidationError(result.message());
    return result ? session.FlushOutput() : result;
  });
}

CommandTargets TargetsOf(const AJobDescription& description, JobOptions& options, AJobFiles& files) {
  files.inputs.resize(description.inputs.size());
  files.outputs.resize(description.outputs.size());
  CommandTargets targets{options, {}};
  for (auto* list : {&files.inputs, &files.outputs}) {
    for (std::string& path : *list) targets.files.push_back(&path);
  }
  return targets;
}

void AddJob(CLI::App& app, Session& session, const AJob& job) {
  const AJobDescription& description = job.description();
  auto files = std::make_shared<AJobFiles>();
  std::shared_ptr<JobOptions> options = description.makeOptions();
  CommandTargets targets = TargetsOf(description, *options, *files);
  targets.hasTable = job.hasTable;
  const bool isList = !description.inputs.empty() && description.inputs.front().isList;
  if (isList) targets.list = &files->inputs;
  AddCommand(app, session, description, targets, [files, options, isList, run = job.run, &session] {
    if (isList) {
      files->outputs = {files->inputs.back()};
      files->inputs.pop_back();
    }
    return run(*files, *options, session);
  });
}

}  // namespace zeltra::app

// The zeltra command: one subcommand per job, each in its own source file.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <new>
#include <numeric>
#include <utility>

#include "apps/zeltra/Command.h"
#include "zeltra/core/Text.h"
#include "zeltra/jobs/JobList.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

// How many letters must be inserted, removed or replaced to turn one word into the other.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> line(b.size() + 1);
  std::iota(line.begin(), line.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(line[0], i + 1);
    for (size_t k = 0; k < b.size(); ++k) {
      const size_t exchanged = diagonal + (a[i] != b[k]);
      diagonal = line[k + 1];
      line[k + 1] = std::min({exchanged, diagonal + 1, line[k] + 1});
    }
  }
  return line.back();
}

// The first argument that is not an option, which should be a command; empty if there is none.
std::string FirstWord(const std::vector<std::string>& arguments) {
  const auto word =
      std::find_if(arguments.begin(), arguments.end(), [](const auto& a) { return a.rfind('-', 0) != 0; });
  return word == arguments.end() ? std::string() : *word;
}

// Why `word` is not a command, with the one that may be meant; empty if it is one, or if there is no word.
std::string NoCommand(const CLI::App& app, const std::string& word) {
  if (word.empty()) return {};
  std::string nearest;
  size_t least = std::max<size_t>(word.size() / 2, 1);
  for (const CLI::App* command : app.get_subcommands({})) {
    const std::string& name = command->get_name();
    if (name == word) return {};
    const size_t distance = name.rfind(word, 0) == 0 ? 1 : Distance(word, name);
    if (distance > least || (distance == least && !nearest.empty())) continue;
    least = distance;
    nearest = name;
  }
  return "there is no command '" + word + "'" + (nearest.empty() ? "" : "; did you mean '" + nearest + "'?");
}

using Adder = std::function<void(CLI::App&, Session&)>;

// All commands by name, in the order of the help: the jobs, some of which do more here, and what only the command does.
std::vector<std::pair<std::string, Adder>> Commands() {
  const std::map<std::string, Adder> own = {{"clean", AddCleanCommand},
                                            {"gains", AddGainsCommand},
                                            {"image", AddImageCommand},
                                            {"info", AddInfoCommand},
                                            {"selfcal", AddSelfCalCommand}};
  std::vector<std::pair<std::string, Adder>> commands;
  for (const AJob& job : Jobs()) {
    const std::string& name = job.description().name;
    // Plots are listed beside images.
    if (name == "simulate") commands.emplace_back("plot", AddPlotCommand);
    const auto add = [&job](CLI::App& app, Session& session) { AddJob(app, session, job); };
    const auto special = own.find(name);
    commands.emplace_back(name, special == own.end() ? Adder(add) : special->second);
  }
  commands.emplace_back("register", AddRegisterCommand);
  commands.emplace_back("manual", AddManualCommand);
  return commands;
}

// If a command line begins with a command, add only the commands that are among its words: the options of all the
// others take longer to build than everything else at the start. For any other command line, and for the manual, add
// all commands.
void AddCommands(CLI::App& app, Session& session, const std::vector<std::string>& arguments) {
  const std::vector<std::pair<std::string, Adder>> commands = Commands();
  const std::string word = FirstWord(arguments);
  const bool isOne = word != "manual" && std::any_of(commands.begin(), commands.end(),
                                                     [&word](const auto& command) { return command.first == word; });
  for (const auto& [name, add] : commands) {
    if (!isOne || std::find(arguments.begin(), arguments.end(), name) != arguments.end()) add(app, session);
  }
}

int Run(std::vector<std::string> arguments) {
  Session session;
  CLI::App app("Radio-interferometry visibility data: import, inspect, average, close, copy, export", "zeltra");
  app.set_version_flag("--version", "zeltra " ZELTRA_VERSION);
  AddOptions(app, ToolDescription(), session.options);
  app.require_subcommand(1);
  app.fallthrough();
  // On Windows too, file names may begin with a slash.
  app.allow_windows_style_options(false);
  app.failure_message([](const CLI::App* parsed, const CLI::Error& e) {
    std::string name = "zeltra";
    for (const CLI::App* command : parsed->get_subcommands()) name += " " + command->get_name();
    return "zeltra: error: " + Printable(e.what()) + "\nRun '" + name + " --help' for help.\n";
  });

  AddCommands(app, session, arguments);

  if (const std::string sentence = NoCommand(app, FirstWord(arguments)); !sentence.empty()) {
    PrintError(sentence);
    std::fputs("Run 'zeltra --help' for help.\n", stderr);
    return kWrongUsage;
  }
  try {
    // The parser takes arguments from the end of the list.
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& e) {
    const bool isHelp = app.exit(e) == 0;
    if (isHelp && !std::cout.flush()) {
      PrintError("standard output cannot be written");
      return kFailed;
    }
    return isHelp ? kDone : kWrongUsage;
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

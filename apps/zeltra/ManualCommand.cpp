// zeltra manual: the pages of docs/manual and the page for man, made of the descriptions of all commands. Called by
// scripts/make-manual. SPDX-License-Identifier: MIT
#include <cmath>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/Manual.h"
#include "zeltra/core/WriteWholeFile.h"

namespace zeltra::app {
namespace {

// Text in a cell of a table.
std::string Cell(const std::string& text) {
  std::string cell;
  for (const char c : text) cell += c == '|' ? std::string("\\|") : std::string(1, c);
  return cell;
}

std::string Row(const std::vector<std::string>& cells) {
  std::string row = "|";
  for (const std::string& cell : cells) row += (cell.empty() ? "" : " ") + Cell(cell) + " |";
  return row + "\n";
}

std::string Head(const std::vector<std::string>& names) {
  return Row(names) + Row(std::vector<std::string>(names.size(), "---"));
}

std::string Code(const std::string& text) {
  return "`" + text + "`";
}

std::string Arguments(const AJobDescription& job) {
  std::string rows;
  for (const AJobFile& file : job.inputs) rows += Row({Code(file.name), file.help});
  for (const AJobOption& option : job.options) rows += option.isWord ? Row({Code(option.form), option.help}) : "";
  for (const AJobFile& file : job.outputs) rows += file.isWord() ? Row({Code(file.name), file.help}) : "";
  return rows.empty() ? "" : Head({"argument", "what it is"}) + rows + "\n";
}

std::string OptionRow(const AJobDescription& job, const AJobOption& option) {
  std::string help = HelpOf(option);
  if (!option.excludes.empty()) help += "; not with `--" + option.excludes + "`";
  return Row({Code(OptionNames(option.name, option.letter, option.form)), option.unit, DefaultOf(job, option), help});
}

std::string Options(const AJobDescription& job, const CLI::App& command) {
  std::string text = Head({"option", "unit", "default", "what it does"});
  for (const AJobFile& file : job.outputs) {
    if (!file.isWord()) text += Row({Code(OptionNames(file.option, file.letter, file.name)), "", "", file.help});
  }
  for (const AJobOption& option : job.options) text += option.isWord ? "" : OptionRow(job, option);
  for (const char* format : {"--csv", "--json"}) {
    const CLI::Option* option = command.get_option_no_throw(format);
    if (option && !job.Find(option->get_single_name()))
      text += Row({Code(format), "", "text", option->get_description()});
  }
  for (const AJobOption& option : ToolDescription().options) text += OptionRow(ToolDescription(), option);
  return text;
}

std::string Columns(const AJobDescription& job) {
  std::string text = Head({"column", "unit", "what it is"});
  for (const AJobColumn& column : job.columns) text += Row({Code(column.name), column.unit, column.help});
  return text;
}

std::string Page(const AJobDescription& job, const CLI::App& command) {
  std::string text = "# zeltra " + job.name + "\n\n" + job.summary + ".\n\n    " + Synopsis(job) + "\n\n";
  if (!job.details.empty()) text += job.details + "\n\n";
  text += Arguments(job) + "## Options\n\n" + Options(job, command);
  if (!job.columns.empty()) text += "\n## Result\n\n" + Columns(job);
  return text + "\n## Exit codes\n\n" + Head({"code", "meaning"}) + Row({std::to_string(kDone), "done"}) +
         Row({std::to_string(kFailed), "failed; a sentence on standard error says why"}) +
         Row({std::to_string(kWrongUsage), "wrong usage"}) +
         Row({std::to_string(kCancelled), "cancelled by Ctrl-C; 128 and its number after another signal"});
}

AResult WritePages(const std::string& folder, const Session& session, const CLI::App& app) {
  std::string index = "# Manual\n\nMade by `scripts/make-manual` of what the commands know of themselves.\n\n";
  for (const AJobDescription* job : session.descriptions()) {
    const CLI::App& command = *app.get_subcommand(job->name);
    AResult result = WriteWholeFile(folder + "/" + job->name + ".md", Page(*job, command), true);
    if (!result) return result;
    index += "- [" + job->name + "](" + job->name + ".md): " + job->summary + "\n";
  }
  AResult result = WriteWholeFile(folder + "/README.md", index, true);
  return result ? WriteWholeFile(folder + "/zeltra.1", ManPage(session, app), true) : result;
}

}  // namespace

std::string Synopsis(const AJobDescription& job) {
  std::string line = "zeltra " + job.name;
  for (const AJobFile& file : job.inputs) line += " " + file.name + (file.isList ? "..." : "");
  for (const AJobOption& option : job.options) line += option.isWord ? " " + option.form : "";
  for (const AJobFile& file : job.outputs) {
    if (file.isWord()) line += file.isRequired() ? " " + file.name : " [" + file.name + "]";
  }
  for (const AJobOption& option : job.options) {
    if (option.isRequired && !option.isWord) line += " --" + option.name + " " + option.form;
  }
  return line + " [options]";
}

std::string OptionNames(const std::string& name, char letter, const std::string& form) {
  const std::string names = (letter ? std::string("-") + letter + ", --" : "--") + name;
  return form.empty() ? names : names + " " + form;
}

std::string HelpOf(const AJobOption& option) {
  // The help of a range without an end says where it begins.
  return std::isfinite(option.greatest) ? option.help + "; " + option.RangeText() : option.help;
}

std::string DefaultOf(const AJobDescription& job, const AJobOption& option) {
  return option.isRequired ? "has to be given" : job.DefaultOf(option);
}

void AddManualCommand(CLI::App& app, Session& session) {
  auto folder = std::make_shared<std::string>();
  CLI::App& command = *app.add_subcommand("manual", "Write the pages of the manual")->group("");
  command.add_option("FOLDER", *folder, "where they are written")->required();
  session.OnRun(command, [folder, &session, &app] { return WritePages(*folder, session, app); });
}

}  // namespace zeltra::app

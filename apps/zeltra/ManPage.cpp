// The page for man.
// SPDX-License-Identifier: MIT
#include "apps/zeltra/Manual.h"

namespace zeltra::app {
namespace {

// Text escaped for roff.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char c : text) {
    if (c == '-') {
      plain += "\\-";
    } else if (c == '\\') {
      plain += "\\e";
    } else {
      plain += c;
    }
  }
  // A line that begins with these would be a request.
  return plain.starts_with('.') || plain.starts_with('\'') ? "\\&" + plain : plain;
}

std::string Bold(const std::string& text) {
  return ".B " + Plain(text) + "\n";
}

std::string Item(const std::string& names, const std::string& help) {
  return ".TP\n" + Bold(names) + Plain(help) + "\n";
}

std::string OptionItem(const AJobDescription& job, const AJobOption& option) {
  std::string help = HelpOf(option);
  if (!option.unit.empty()) help += " (" + option.unit + ")";
  if (const std::string absent = DefaultOf(job, option); !absent.empty()) help += " [" + absent + "]";
  return Item(OptionNames(option.name, option.letter, option.form), help);
}

std::string Section(const AJobDescription& job, const CLI::App& command) {
  std::string text =
      ".SS " + Plain("zeltra " + job.name) + "\n" + Plain(job.summary) + ".\n.PP\n" + Bold(Synopsis(job));
  if (!job.details.empty()) text += ".PP\n" + Plain(job.details) + "\n";
  const auto item = [](const AJobFile& file) {
    return Item(file.isWord() ? file.name : OptionNames(file.option, file.letter, file.name), file.help);
  };
  for (const AJobFile& file : job.inputs) text += item(file);
  for (const AJobOption& option : job.options) text += option.isWord ? Item(option.form, option.help) : "";
  for (const AJobFile& file : job.outputs) text += item(file);
  for (const AJobOption& option : job.options) text += option.isWord ? "" : OptionItem(job, option);
  for (const char* format : {"--csv", "--json"}) {
    const CLI::Option* option = command.get_option_no_throw(format);
    if (option && !job.Find(option->get_single_name())) text += Item(format, option->get_description());
  }
  return text;
}

}  // namespace

std::string ManPage(const Session& session, const CLI::App& app) {
  std::string text =
      ".TH ZELTRA 1\n.SH NAME\nzeltra \\- visibility data of radio interferometers\n.SH SYNOPSIS\n" +
      Bold("zeltra COMMAND FILE... [options]") + ".SH DESCRIPTION\n" +
      Plain(
          "Imports UV FITS into UVX files, reads, averages, copies, images and plots them. Tables go to standard "
          "output, as CSV or JSON if asked; notes and errors go to standard error. Existing files are replaced only "
          "with --force, and an output appears under its name only when it is complete.") +
      "\n.SH COMMANDS\n";
  for (const AJobDescription* job : session.descriptions()) text += Section(*job, *app.get_subcommand(job->name));
  text += ".SH OPTIONS OF ALL COMMANDS\n";
  for (const AJobOption& option : ToolDescription().options) text += OptionItem(ToolDescription(), option);
  return text + ".SH EXIT STATUS\n" + Item(std::to_string(kDone), "done") +
         Item(std::to_string(kFailed), "failed; a sentence on standard error says why") +
         Item(std::to_string(kWrongUsage), "wrong usage") + Item(std::to_string(kCancelled), "cancelled by Ctrl-C");
}

}  // namespace zeltra::app

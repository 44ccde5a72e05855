// SPDX-License-Identifier: MIT
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "zeltra/desktop/FileDialogs.h"
#include "zeltra/desktop/FileFilterInternal.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/ProgramInternal.h"

namespace zeltra {
namespace {

using Command = std::vector<std::string>;

// The flag of the Windows dialog that asks before replacing a file.
constexpr unsigned long kOverwritePrompt = 2;

// The path that the dialog starts with: a full path, ending in a slash if it is a folder.
std::string StartPath(const std::string& path, const std::string& initialDir) {
  std::error_code error;
  const std::filesystem::path folder = initialDir.size() > 1 ? initialDir + "/" : "./";
  return std::filesystem::absolute(folder / path, error).lexically_normal().string();
}

// The patterns of a kind, separated by blanks; all files are `*` here, since a name need not contain a dot.
std::string Patterns(const desktop::FileKind& kind) {
  if (kind.patterns == "*.*") return "*";
  std::string patterns = kind.patterns;
  std::replace(patterns.begin(), patterns.end(), ';', ' ');
  return patterns;
}

Command ZenityCommand(const std::string& start, const std::string& filter, bool open, unsigned long flags) {
  Command command = {"zenity", "--file-selection", "--filename=" + start};
  if (!open) command.push_back("--save");
  if (!open && (flags & kOverwritePrompt)) command.push_back("--confirm-overwrite");
  for (const desktop::FileKind& kind : desktop::FileKinds(filter)) {
    command.push_back("--file-filter=" + kind.name + " | " + Patterns(kind));
  }
  return command;
}

// kdialog, which always asks before replacing a file, takes the patterns from the last parentheses of a name.
Command KDialogCommand(const std::string& start, const std::string& filter, bool open) {
  std::string kinds;
  for (const desktop::FileKind& kind : desktop::FileKinds(filter)) {
    std::string name = kind.name;
    const std::string shown = " (" + kind.patterns + ")";
    if (name.ends_with(shown)) name.resize(name.size() - shown.size());
    kinds += (kinds.empty() ? "" : "\n") + name + " (" + Patterns(kind) + ")";
  }
  return {"kdialog", open ? "--getopenfilename" : "--getsavefilename", start, kinds};
}

// Run the first program that is installed.
desktop::ProgramResult RunInstalled(const std::vector<Command>& programs) {
  for (const Command& command : programs) {
    desktop::ProgramResult result = desktop::RunProgram(command);
    if (result.started) return result;
  }
  return {};
}

// Show a dialog. @return the path that it prints; empty if nothing was chosen
std::string Ask(const std::vector<Command>& programs) {
  desktop::ProgramResult result = RunInstalled(programs);
  if (!result.success) return {};
  if (result.output.ends_with('\n')) result.output.pop_back();
  return result.output;
}

bool Confirm(const std::string& question) {
  return RunInstalled({{"zenity", "--question", "--no-markup", "--text=" + question}, {"kdialog", "--yesno", question}})
      .success;
}

}  // namespace

bool fnFileDialog1(std::string& path, const std::string& filter, const std::string& initialDir, bool open,
                   const std::string& defExt, unsigned long flags) {
  const std::string start = StartPath(path, initialDir);
  std::string chosen = Ask({ZenityCommand(start, filter, open, flags), KDialogCommand(start, filter, open)});
  if (chosen.empty()) return false;
  if (!open && !defExt.empty() && getfExt(chosen).empty()) {
    chosen += (defExt.starts_with('.') ? "" : ".") + defExt;
    // The dialog asked about the name without the extension.
    const bool ask = (flags & kOverwritePrompt) && IsFileExists(chosen);
    if (ask && !Confirm(chosen + " exists already. Replace it?")) return false;
  }
  path = chosen;
  return true;
}

bool BrowseForFolder(CWnd*, std::string& path, const std::string& initialFolder, const std::string& title) {
  const std::string start = StartPath("", initialFolder);
  const std::string chosen =
      Ask({{"zenity", "--file-selection", "--directory", "--title=" + title, "--filename=" + start},
           {"kdialog", "--getexistingdirectory", start, "--title", title}});
  if (chosen.empty()) return false;
  path = chosen;
  return true;
}

}  // namespace zeltra

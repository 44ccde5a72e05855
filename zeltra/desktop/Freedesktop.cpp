// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "zeltra/core/AFile.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FreedesktopInternal.h"
#include "zeltra/platform/System.h"

// Follows the Base Directory Specification 0.8 and the MIME Applications Associations 1.0 of freedesktop.org.

namespace zeltra::desktop {
namespace {

constexpr int64 kLargestText = 1 << 26;
constexpr std::string_view kDefaults = "[Default Applications]";

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

bool IsAbsolute(const std::string& folder) {
  return !folder.empty() && folder[0] == '/';
}

using Lines = std::vector<std::string>;

std::string Joined(const Lines& lines) {
  std::string text;
  for (size_t i = 0; i < lines.size(); ++i) text += (i == 0 ? "" : "\n") + lines[i];
  return text;
}

// Where the entries for default programs begin and end.
struct Defaults {
  explicit Defaults(Lines& lines) {
    const auto header = std::find(lines.begin(), lines.end(), kDefaults);
    begin = header == lines.end() ? header : header + 1;
    end = std::find_if(begin, lines.end(), [](const std::string& line) { return line.starts_with('['); });
  }
  Lines::iterator begin, end;
};

}  // namespace

std::string DataFolder() {
  // A relative folder is ignored, as the Base Directory Specification demands.
  const std::string folder = Variable("XDG_DATA_HOME");
  if (IsAbsolute(folder)) return folder;
  const std::string home = Variable("HOME");
  return IsAbsolute(home) ? home + "/.local/share" : "";
}

std::vector<std::string> SharedDataFolders() {
  const std::string list = Variable("XDG_DATA_DIRS");
  std::vector<std::string> folders = Split(list.empty() ? "/usr/local/share:/usr/share" : list, ':');
  std::erase_if(folders, [](const std::string& folder) { return !IsAbsolute(folder); });
  return folders;
}

std::optional<std::string> FileText(const std::string& path) {
  if (!PathExists(path)) return "";
  AFile file;
  if (!file.Open(path.c_str(), AFile::Binary)) return {};
  const int64 size = file.GetFileSize();
  if (size < 0 || size > kLargestText) return {};
  std::string text(static_cast<size_t>(size), '\0');
  if (!ReadWhole(file, text.data(), size)) return {};
  return text;
}

bool PutFile(const std::string& path, const std::string& text) {
  std::error_code error;
  std::filesystem::create_directories(getfPath(path), error);
  return static_cast<bool>(WriteWholeFile(path, text, true));
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

std::string LowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

bool AddDefaultProgram(const std::string& list, const std::string& mimeType, const std::string& entry) {
  // A list that cannot be read must not be replaced.
  const std::optional<std::string> text = FileText(list);
  if (!text) return false;
  Lines lines = Split(*text, '\n');
  const std::string key = mimeType + "=";
  Defaults defaults(lines);
  const auto startsWithKey = [&](const std::string& line) { return line.starts_with(key); };
  if (std::any_of(defaults.begin, defaults.end, startsWithKey)) return true;
  if (std::find(lines.begin(), lines.end(), kDefaults) == lines.end()) {
    if (lines.back().empty()) lines.pop_back();
    lines.insert(lines.end(), {std::string(kDefaults), key + entry + ";", ""});
  } else {
    lines.insert(defaults.begin, key + entry + ";");
  }
  return PutFile(list, Joined(lines));
}

bool RemoveDefaultProgram(const std::string& list, const std::string& mimeType, const std::string& entry) {
  const std::optional<std::string> text = FileText(list);
  if (!text) return false;
  Lines lines = Split(*text, '\n');
  const Defaults defaults(lines);
  const auto line = std::find(defaults.begin, defaults.end, mimeType + "=" + entry + ";");
  if (line == defaults.end) return true;
  lines.erase(line);
  const std::string left = Joined(lines);
  return left == std::string(kDefaults) + "\n" ? RemoveFile(list) != 0 : PutFile(list, left);
}

}  // namespace zeltra::desktop

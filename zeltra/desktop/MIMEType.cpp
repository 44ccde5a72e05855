// SPDX-License-Identifier: MIT
#include "zeltra/desktop/MIMETypeInternal.h"

#include <filesystem>
#include <initializer_list>
#include <system_error>
#include <utility>

#include "zeltra/desktop/FileCopy.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FreedesktopInternal.h"
#include "zeltra/desktop/ProgramInternal.h"
#include "zeltra/platform/System.h"

// Follows the Shared MIME-info Database 0.21, Desktop Entry 1.5 and Icon Theme 0.13 of freedesktop.org.

namespace zeltra::desktop {
namespace {

using Escapes = std::initializer_list<std::pair<char, const char*>>;

std::string Escaped(const std::string& text, const Escapes& escapes) {
  std::string escaped;
  for (const char c : text) {
    std::string piece(1, c);
    for (const auto& [character, replacement] : escapes) {
      if (c == character) piece = replacement;
    }
    escaped += piece;
  }
  return escaped;
}

std::string XMLText(const std::string& text) {
  return Escaped(text, {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}});
}

// A value of a desktop entry.
std::string EntryText(const std::string& text) {
  return Escaped(text, {{'\\', "\\\\"}, {'\n', "\\n"}, {'\r', "\\r"}});
}

// A word of the command in a desktop entry: quoted first, then escaped like any value.
std::string CommandWord(const std::string& word) {
  const Escapes quoting = {{'"', "\\\""}, {'`', "\\`"}, {'$', "\\$"}, {'\\', "\\\\"}, {'%', "%%"}};
  std::string quoted = "\"";
  quoted += Escaped(word, quoting);
  return EntryText(quoted + "\"");
}

// An icon is either a file or the name of an icon in the desktop's theme.
std::string IconValue(const std::string& icon) {
  std::error_code error;
  return PathExists(icon) ? std::filesystem::absolute(icon, error).string() : icon;
}

// The value of the attribute `name` of the XML element that begins at `position`; in lower case, as `text` is.
std::string Attribute(const std::string& text, size_t position, const std::string& name) {
  const size_t start = text.find(name + "=", position);
  if (start == std::string::npos) return {};
  const size_t quote = start + name.size() + 1;
  if (quote >= text.size()) return {};
  const size_t end = text.find(text[quote], quote + 1);
  return end == std::string::npos ? "" : text.substr(quote + 1, end - quote - 1);
}

}  // namespace

MIMEType::MIMEType(const std::string& typeId) : typeId_(typeId), data_(DataFolder()), name_("x-") {
  constexpr char kDigits[] = "0123456789abcdef";
  for (const char c : LowerCase(typeId)) {
    // Only a few characters are allowed in the name of a MIME type, none of them special in a path; others are replaced
    // by their code.
    const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
    const auto code = static_cast<unsigned char>(c);
    name_ += plain ? std::string(1, c) : std::string{'+', kDigits[code >> 4], kDigits[code & 15]};
  }
}

std::string MIMEType::IconPath(const std::string& extension) const {
  // The theme's folders are for fixed sizes; a picture of another size is scaled when shown.
  const std::string size = extension == ".svg" ? "scalable" : "256x256";
  return data_ + "/icons/hicolor/" + size + "/mimetypes/" + FileName() + extension;
}

bool MIMEType::IsOthers(const std::string& ext) const {
  const std::string pattern = LowerCase("*" + ext);
  std::error_code error;
  std::filesystem::directory_iterator package(data_ + "/mime/packages", error);
  for (; package != std::filesystem::directory_iterator(); package.increment(error)) {
    if (IsBoundByPackage(package->path().string(), pattern)) return true;
  }
  if (IsBoundIn(data_, pattern)) return true;
  for (const std::string& folder : SharedDataFolders()) {
    if (IsBoundIn(folder, pattern)) return true;
  }
  return false;
}

// A package counts even if the database has not been updated since it was added.
bool MIMEType::IsBoundByPackage(const std::string& path, const std::string& pattern) const {
  const std::string text = LowerCase(FileText(path).value_or(""));
  for (size_t glob = text.find("<glob"); glob != std::string::npos; glob = text.find("<glob", glob + 1)) {
    if (Attribute(text, glob, "pattern") != XMLText(pattern)) continue;
    const size_t type = text.rfind("<mime-type", glob);
    if (type == std::string::npos || Attribute(text, type, "type") != MIMEName()) return true;
  }
  return false;
}

// The database has one pattern per line, as in `50:application/x-uvx:*.uvx`.
bool MIMEType::IsBoundIn(const std::string& folder, const std::string& pattern) const {
  for (const std::string& line : Split(FileText(folder + "/mime/globs2").value_or(""), '\n')) {
    const std::vector<std::string> fields = Split(line, ':');
    if (fields.size() >= 3 && LowerCase(fields[2]) == pattern && fields[1] != MIMEName()) return true;
  }
  return false;
}

bool MIMEType::Write(const AFileType& type, bool withExtension) const {
  if (!PutFile(PackagePath(), Package(type, withExtension)) || !PutFile(EntryPath(), Entry(type))) return false;
  CopyIcon(type.icon);
  return AddDefaultProgram(DefaultsPath(), MIMEName(), FileName() + ".desktop");
}

std::string MIMEType::Package(const AFileType& type, bool withExtension) const {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n"
      "  <mime-type type=\"" +
      MIMEName() + "\">\n    <comment>" + XMLText(typeId_) + "</comment>\n";
  if (withExtension) text += "    <glob pattern=\"*" + XMLText(type.ext) + "\"/>\n";
  if (!type.icon.empty()) {
    text += "    <icon name=\"" + XMLText(PathExists(type.icon) ? FileName() : type.icon) + "\"/>\n";
  }
  return text + "  </mime-type>\n</mime-info>\n";
}

std::string MIMEType::Entry(const AFileType& type) const {
  std::string command;
  for (const std::string& word : type.command) command += CommandWord(word) + " ";
  // The entry only opens files, so it is not shown in menus.
  std::string text =
      "[Desktop Entry]\nType=Application\nNoDisplay=true\nName=" + EntryText(getfName(type.command.front())) +
      "\nExec=" + command + "%f\nMimeType=" + MIMEName() + ";\n";
  if (!type.icon.empty()) text += "Icon=" + EntryText(IconValue(type.icon)) + "\n";
  if (type.terminal) text += "Terminal=true\n";
  return text;
}

// Themes hold only these two kinds of pictures; others appear with the entry, but not on files.
void MIMEType::CopyIcon(const std::string& icon) const {
  const std::string extension = LowerCase(getfExt(icon));
  if (!PathExists(icon) || (extension != ".svg" && extension != ".png")) return;
  const std::string path = IconPath(extension);
  std::error_code error;
  std::filesystem::create_directories(getfPath(path), error);
  fCopy(icon, path, nullptr, nullptr);
}

bool MIMEType::Remove() const {
  bool gone = RemoveDefaultProgram(DefaultsPath(), MIMEName(), FileName() + ".desktop");
  for (const std::string& path : {PackagePath(), EntryPath(), IconPath(".svg"), IconPath(".png")}) {
    gone = (RemoveFile(path) || !PathExists(path)) && gone;
  }
  return gone;
}

void MIMEType::UpdateDatabases() const {
  RunProgram({"update-mime-database", data_ + "/mime"});
  RunProgram({"update-desktop-database", data_ + "/applications"});
}

}  // namespace zeltra::desktop

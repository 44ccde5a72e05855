// SPDX-License-Identifier: MIT
#include <windows.h>
// windows.h comes first: shlobj.h needs its types.
#include <shlobj.h>

#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FileTypes.h"
#include "zeltra/platform/WindowsTextInternal.h"

namespace zeltra {
namespace {

using platform::Wide;

// Set the default value of a key under the classes root.
bool SetClass(const std::string& key, const std::string& value) {
  const std::wstring text = Wide(value);
  const auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  return RegSetValueW(HKEY_CLASSES_ROOT, Wide(key).c_str(), REG_SZ, text.c_str(), bytes) == ERROR_SUCCESS;
}

// The default value of a key under the classes root; empty if it has none, or one that is too long.
std::string ClassValue(const std::string& key) {
  constexpr LONG kCharacters = 520;
  wchar_t value[kCharacters + 1] = {};  // a value may be stored without its closing zero
  LONG bytes = kCharacters * LONG{sizeof(wchar_t)};
  if (RegQueryValueW(HKEY_CLASSES_ROOT, Wide(key).c_str(), value, &bytes) != ERROR_SUCCESS) return {};
  return platform::Narrow(value);
}

// Remove a key that is empty.
void RemoveIfEmpty(const std::string& key) {
  HKEY handle = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, Wide(key).c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) return;
  DWORD keys = 0, values = 0;
  const LSTATUS status = RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                                          nullptr, nullptr, nullptr);
  RegCloseKey(handle);
  if (status == ERROR_SUCCESS && keys == 0 && values == 0) RegDeleteKeyW(HKEY_CLASSES_ROOT, Wide(key).c_str());
}

// Remove the default value of a key, and the key too if it is then empty. @return whether the value is gone
bool RemoveClass(const std::string& key) {
  HKEY handle = nullptr;
  LSTATUS status = RegOpenKeyExW(HKEY_CLASSES_ROOT, Wide(key).c_str(), 0, KEY_SET_VALUE, &handle);
  if (status == ERROR_SUCCESS) {
    status = RegDeleteValueW(handle, nullptr);
    RegCloseKey(handle);
  }
  RemoveIfEmpty(key);
  return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
}

// Make the shell redraw the icons of files.
void TellShell() {
  SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}

bool WriteType(const std::string& typeId, const std::string& icon, const std::string& command) {
  return SetClass(typeId, typeId) && (icon.empty() || SetClass(typeId + "\\DefaultIcon", icon)) &&
         SetClass(typeId + "\\shell\\open\\command", command);
}

ARegistration BindExtension(const std::string& ext, const std::string& typeId) {
  if (ext.empty()) return ARegistration::TypeOnly;
  const std::string bound = ClassValue(ext);
  if (!bound.empty() && bound != typeId) return ARegistration::TypeOnly;
  return SetClass(ext, typeId) ? ARegistration::Complete : ARegistration::Failed;
}

// An empty type name would mean the classes root itself.
ARegistration Register(const std::string& ext, const std::string& typeId, const std::string& icon,
                       const std::string& command) {
  if (typeId.empty() || !WriteType(typeId, icon, command)) return ARegistration::Failed;
  const ARegistration result = BindExtension(ext, typeId);
  TellShell();
  return result;
}

}  // namespace

ARegistration RegisterFileType(const AFileType& type) {
  if (type.command.empty()) return ARegistration::Failed;
  std::string command;
  for (const std::string& word : type.command) {
    const bool bare = !command.empty() && word.find(' ') == std::string::npos;
    command += bare ? word + " " : "\"" + word + "\" ";
  }
  return Register(type.ext, type.typeId, type.icon, command + "\"%1\"");
}

// The program is not quoted even if its path contains blanks, since programs look for exactly this text in the
// registry; the shell finds such a program by trying each part of the path that ends at a blank.
void ARegisterShellFileTypes(int withIcon, const std::string& ext, const std::string& typeId,
                             const std::string& iconFile, int iconIndex) {
  const std::string program = getExePath() + getfName(ProgramPath()) + ".exe";
  std::string icon;
  if (withIcon) icon = (iconFile.empty() ? program : iconFile) + "," + std::to_string(iconIndex);
  Register(ext, typeId, icon, program + " \"%1\"");
}

bool AUnregisterShellFileTypes(const std::string& ext, const std::string& typeId) {
  if (typeId.empty()) return false;
  bool gone = true;
  if (!ext.empty() && ClassValue(ext) == typeId) gone = RemoveClass(ext);
  // A key whose value is not the type's name belongs to somebody else.
  if (ClassValue(typeId) == typeId) {
    gone = RemoveClass(typeId + "\\shell\\open\\command") && gone;
    RemoveIfEmpty(typeId + "\\shell\\open");
    RemoveIfEmpty(typeId + "\\shell");
    gone = RemoveClass(typeId + "\\DefaultIcon") && gone;
    gone = RemoveClass(typeId) && gone;
  }
  TellShell();
  return gone;
}

}  // namespace zeltra

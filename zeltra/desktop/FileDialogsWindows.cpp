// SPDX-License-Identifier: MIT
#include <windows.h>
// windows.h comes first: the others need its types.
#include <commdlg.h>
#include <shlobj.h>

#include <algorithm>

#include "zeltra/desktop/FileDialogs.h"
#include "zeltra/desktop/FileFilterInternal.h"
#include "zeltra/platform/WindowsTextInternal.h"

namespace zeltra {
namespace {

using platform::Wide;

// The longest path that the system allows, with its terminating zero.
constexpr size_t kLongestPath = 32768;
// Flags that need a callback or a template, which this interface does not pass, and the one that makes the result a
// list.
constexpr DWORD kForeignFlags =
    OFN_ENABLEHOOK | OFN_ENABLEINCLUDENOTIFY | OFN_ENABLETEMPLATE | OFN_ENABLETEMPLATEHANDLE | OFN_ALLOWMULTISELECT;

// The dialogs refuse paths with slashes.
std::wstring WidePath(const std::string& path) {
  std::wstring wide = Wide(path);
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  return wide;
}

// Names and patterns, each ended by a zero, and one more zero.
std::wstring FilterText(const std::string& filter) {
  std::wstring text;
  for (const desktop::FileKind& kind : desktop::FileKinds(filter)) {
    for (const std::string& piece : {kind.name, kind.patterns}) (text += Wide(piece)) += L'\0';
  }
  return text;
}

// Select the folder that `data` names once the dialog exists.
int CALLBACK SelectFolder(HWND window, UINT message, LPARAM, LPARAM data) {
  const auto* folder = reinterpret_cast<const std::wstring*>(data);
  if (message == BFFM_INITIALIZED && !folder->empty()) {
    SendMessageW(window, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(folder->c_str()));
  }
  return 0;
}

}  // namespace

bool fnFileDialog1(std::string& path, const std::string& filter, const std::string& initialDir, bool open,
                   const std::string& defExt, unsigned long flags) {
  std::wstring chosen = WidePath(path).substr(0, kLongestPath - 1);
  chosen.resize(kLongestPath);
  const std::wstring kinds = FilterText(filter);
  const std::wstring folder = WidePath(initialDir);
  const std::wstring extension = Wide(defExt.substr(defExt.starts_with('.') ? 1 : 0));

  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.lpstrFilter = kinds.c_str();
  dialog.lpstrFile = chosen.data();
  dialog.nMaxFile = static_cast<DWORD>(chosen.size());
  if (initialDir.size() > 1) dialog.lpstrInitialDir = folder.c_str();
  if (!extension.empty()) dialog.lpstrDefExt = extension.c_str();
  dialog.Flags = (static_cast<DWORD>(flags) & ~kForeignFlags) | OFN_EXPLORER;
  if (!(open ? GetOpenFileNameW(&dialog) : GetSaveFileNameW(&dialog))) return false;
  path = platform::Narrow(chosen.c_str());
  return true;
}

bool BrowseForFolder(CWnd* parent, std::string& path, const std::string& initialFolder, const std::string& title) {
  IMalloc* allocator = nullptr;
  if (FAILED(SHGetMalloc(&allocator))) return false;
  const std::wstring caption = Wide(title);
  const std::wstring folder = WidePath(initialFolder);

  BROWSEINFOW dialog{};
  dialog.hwndOwner = parent ? static_cast<HWND>(parent->handle) : nullptr;
  dialog.lpszTitle = caption.c_str();
  dialog.ulFlags = BIF_RETURNONLYFSDIRS | BIF_RETURNFSANCESTORS;
  dialog.lpfn = SelectFolder;
  dialog.lParam = reinterpret_cast<LPARAM>(&folder);
  bool chosen = false;
  if (PIDLIST_ABSOLUTE item = SHBrowseForFolderW(&dialog)) {
    wchar_t text[MAX_PATH] = {};
    chosen = SHGetPathFromIDListW(item, text) != 0;
    if (chosen) path = platform::Narrow(text);
    allocator->Free(item);
  }
  allocator->Release();
  return chosen;
}

}  // namespace zeltra

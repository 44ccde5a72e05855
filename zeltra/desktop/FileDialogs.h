// Asks the user for a file or a folder.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_FILEDIALOGS_H_
#define ZELTRA_DESKTOP_FILEDIALOGS_H_

#include <string>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

// Windows shows its own dialogs. Elsewhere `zenity` or `kdialog` shows them, whichever is installed; without either, or
// without a desktop, nothing is shown and the result is false. Both functions return when the dialog closes.

/// Let the user choose a file.
///
/// @param path        in: the name proposed first; out: the full path that was chosen, unchanged if none was
/// @param filter      kinds of files, each a name and patterns, as in `UVX files|*.uvx|Maps|*.map;*.cmap`. A last kind
///                    for all files is added
/// @param initialDir  folder shown first, if longer than one character
/// @param open        true to open a file, false to save one
/// @param defExt      extension given to a name that is typed without one; empty for none
/// @param flags       OFN_ flags of the Windows file dialog, except those for hooks, templates and several files. On
///                    Windows the current folder follows the dialog unless OFN_NOCHANGEDIR (8) is given. Elsewhere
///                    only OFN_OVERWRITEPROMPT (2) has an effect
/// @return true if a file was chosen
ZELTRA_API bool fnFileDialog1(std::string& path, const std::string& filter, const std::string& initialDir, bool open,
                              const std::string& defExt, unsigned long flags);

/// Let the user choose a folder of the file system.
///
/// @param parent         window that the dialog belongs to, null for none; used only on Windows
/// @param path           out: the folder, unchanged if none was chosen
/// @param initialFolder  folder that is selected first; empty for none
/// @param title          what the dialog says the folder is for
/// @return true if a folder was chosen
ZELTRA_API bool BrowseForFolder(CWnd* parent, std::string& path, const std::string& initialFolder,
                                const std::string& title);

}  // namespace zeltra

#endif  // ZELTRA_DESKTOP_FILEDIALOGS_H_

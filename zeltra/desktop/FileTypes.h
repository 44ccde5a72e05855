// Associates file types with the programs that open them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_FILETYPES_H_
#define ZELTRA_DESKTOP_FILETYPES_H_

#include <string>
#include <vector>

#include "zeltra/platform/Export.h"

namespace zeltra {

// On Windows a file type is a key under HKEY_CLASSES_ROOT, which only an administrator can write. On freedesktop
// systems it is a MIME type and a desktop entry in the user's data folder (XDG_DATA_HOME, else ~/.local/share). On
// both, an extension that already belongs to another type is left alone, but the type itself is still written.

/// A file type and the program that opens it.
struct AFileType {
  std::string ext;                   ///< extension, dot included; empty if the type is to have none
  std::string typeId;                ///< names the type, as in `ZELTRA.uvx`; not empty
  std::string icon;                  ///< icon file; on Windows a comma and an index may follow. Empty for none
  std::vector<std::string> command;  ///< program and arguments; the name of the file is appended
  bool terminal = false;             ///< whether the program needs a terminal, where the system asks
};

/// How far a registration got.
enum class ARegistration {
  Failed,    ///< the type is not written, or only in part
  TypeOnly,  ///< the type is written; the extension is empty or belongs to another type
  Complete,  ///< the type is written and has the extension
};

/// Write a file type and bind its extension.
ZELTRA_API ARegistration RegisterFileType(const AFileType& type);

/// Register the running program to open files of type `typeId`. Nothing is reported: a failure ends the registration
/// and leaves what has been written so far.
///
/// @param withIcon   non-zero to give the type an icon
/// @param ext        extension, dot included; empty for none
/// @param iconFile   file that holds the icon; empty for the program itself, which has icons only on Windows
/// @param iconIndex  which icon of the file; used only on Windows
ZELTRA_API void ARegisterShellFileTypes(int withIcon, const std::string& ext, const std::string& typeId,
                                        const std::string& iconFile, int iconIndex);

/// Undo ARegisterShellFileTypes or RegisterFileType: remove the extension, if it still belongs to the type, and the
/// type. What others added to either stays.
/// @return true once nothing of the registration is left, even if there was none
ZELTRA_API bool AUnregisterShellFileTypes(const std::string& ext, const std::string& typeId);

}  // namespace zeltra

#endif  // ZELTRA_DESKTOP_FILETYPES_H_

// Splitting and building file names.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_FILENAMES_H_
#define ZELTRA_DESKTOP_FILENAMES_H_

#include <string>

#include "zeltra/platform/Export.h"

namespace zeltra {

// A path is an optional drive (one character and a colon), folders that end in / or \, a name, and an extension that
// starts at the last dot of the last component. Both separators count on every system, so that a path stored on one
// system can be split on another; joining the parts gives the path again.

/// Whether a file or folder of that name exists.
ZELTRA_API bool IsFileExists(const std::string& path);

/// The extension, dot included: `.uvx` of `C:\d\a.uvx`. Empty if there is none.
ZELTRA_API std::string getfExt(const std::string& path);
/// The name without its extension: `a` of `C:\d\a.uvx`.
ZELTRA_API std::string getfName(const std::string& path);
/// Drive and folders, trailing separator included: `C:\d\` of `C:\d\a.uvx`.
ZELTRA_API std::string getfPath(const std::string& path);

/// Folder of the running program, trailing separator included. On Windows it is taken from the command line of the
/// process, so it is empty for a program that was started by its bare name.
ZELTRA_API std::string getExePath();

/// Folder of the program that `commandLine` starts. If the line begins with a double quote, that program is the text up
/// to the next one; else the text before the first blank. A line without a blank, or beginning with one, is taken
/// whole.
ZELTRA_API std::string ExePathOf(const std::string& commandLine);

/// Full path of the running program, whatever its command line says.
ZELTRA_API std::string ProgramPath();

/// The local time as `ddmmyyyy_hhmmss`.
ZELTRA_API std::string GetNameAsDT();

/// A name for a temporary file, without a folder: `THREAD_TICKS_COUNTER.$$$`.
///
/// THREAD is the number of the program's main thread, TICKS the milliseconds since the system started, COUNTER the
/// number of earlier calls within the same millisecond. No two calls of one process give the same name.
ZELTRA_API std::string GetTempFileNameA();

}  // namespace zeltra

#endif  // ZELTRA_DESKTOP_FILENAMES_H_

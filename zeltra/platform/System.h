// What a command-line program needs from the operating system.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_SYSTEM_H_
#define ZELTRA_PLATFORM_SYSTEM_H_

#include <atomic>
#include <string>
#include <vector>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

// File names are 8-bit text: on POSIX systems the bytes as they are, on Windows UTF-8 (text that is not valid UTF-8 is
// read in the system's code page there).

/// The arguments of this process without the program's name, encoded like file names.
ZELTRA_API std::vector<std::string> CommandLineArguments(int argc, char** argv);

/// The system's words for a value of errno, as the end of a sentence: "permission denied".
ZELTRA_API std::string ReasonOf(int error);

/// Write standard output byte for byte, so that a table is the same on every system.
ZELTRA_API void UseBinaryStandardOutput();

/// The number of the signal for a pipe that nobody reads any more, on systems that have one.
inline constexpr int kPipeSignal = 13;

/// Make each signal that asks the process to end (Ctrl-C, a closed terminal, a system shutdown, a pipe that nobody
/// reads any more) set `number` to its own number instead. A second one ends the process at once, unless it is that of
/// the pipe. Signals that the process was started to ignore stay ignored. A file that outgrows its limit becomes a
/// failed write.
ZELTRA_API void CatchSignals(std::atomic<int>& number);

/// Whether standard error is a terminal.
ZELTRA_API bool IsErrorTerminal();

/// Number of processors, at least 1.
ZELTRA_API int ProcessorCount();

/// Bytes of memory that can be allocated before the system moves other memory to disk; 0 if it does not say.
ZELTRA_API int64 FreeMemory();

/// Remove a file. @return non-zero if it is gone
ZELTRA_API int RemoveFile(const std::string& path);

/// Make a folder; its parent must exist. @return non-zero if the folder exists now
ZELTRA_API int MakeFolder(const std::string& path);
/// Remove an empty folder. @return non-zero if it is gone
ZELTRA_API int RemoveFolder(const std::string& path);

/// Whether a file or folder of that name exists.
ZELTRA_API bool PathExists(const std::string& path);

/// Whether two names refer to one existing file, through links or different spellings of the path.
ZELTRA_API bool IsSameFile(const std::string& a, const std::string& b);

/// Give the complete file `from` the name `to` in one step, so that nobody sees part of it under that name.
/// @param replace  whether to replace a file that already has the name, even a read-only one
/// @return non-zero for success; on failure both names are as they were
ZELTRA_API int MoveIntoPlace(const std::string& from, const std::string& to, bool replace);

/// A name in the folder of `path` that no other process uses, for a file that is moved into place once it is complete.
ZELTRA_API std::string TemporaryNameFor(const std::string& path);

/// Folder for files of this session, without a trailing separator.
ZELTRA_API std::string TemporaryFolder();

}  // namespace zeltra

#endif  // ZELTRA_PLATFORM_SYSTEM_H_

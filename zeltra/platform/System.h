// What a command-line program asks of the operating system.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_SYSTEM_H_
#define ZELTRA_PLATFORM_SYSTEM_H_

#include <atomic>
#include <string>
#include <vector>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

// File names are 8-bit text: bytes as they are on POSIX systems, UTF-8 on Windows (text that is not valid UTF-8 is
// taken in the system's code page there).

/// The arguments of this process without the program's name, as file names are written.
ZELTRA_API std::vector<std::string> CommandLineArguments(int argc, char** argv);

/// The system's words for a value of errno, as the end of a sentence: "permission denied".
ZELTRA_API std::string ReasonOf(int error);

/// Write standard output byte for byte, so that a table is the same on every system.
ZELTRA_API void UseBinaryStandardOutput();

/// The number of the signal of a pipe that nobody reads any more, on systems that have it.
inline constexpr int kPipeSignal = 13;

/// Let each signal that asks a process to end (Ctrl-C, the end of its terminal or of the system, a pipe that nobody
/// reads any more) set `number` to its own instead; a second one ends the process at once. What whoever started the
/// process has it ignore stays ignored. A file that grows beyond what is allowed becomes a write that fails.
ZELTRA_API void CatchSignals(std::atomic<int>& number);

/// Whether standard error is a terminal that a person looks at.
ZELTRA_API bool IsErrorTerminal();

/// Number of processors, at least 1.
ZELTRA_API int ProcessorCount();

/// Bytes of memory that programs may still take without others being moved to the disk; 0 where the system does not
/// tell.
ZELTRA_API int64 FreeMemory();

/// Remove a file. @return non-zero if it is gone
ZELTRA_API int RemoveFile(const std::string& path);

/// Make a folder; the one that it is in has to be there. @return non-zero if there is such a folder now
ZELTRA_API int MakeFolder(const std::string& path);
/// Remove a folder that is empty. @return non-zero if it is gone
ZELTRA_API int RemoveFolder(const std::string& path);

/// Whether a file or folder of that name exists.
ZELTRA_API bool PathExists(const std::string& path);

/// Whether two names lead to one existing file, by links or by different spellings of the path.
ZELTRA_API bool IsSameFile(const std::string& a, const std::string& b);

/// Give the complete file `from` the name `to`, in one step: nobody sees a part of it under that name.
/// @param replace  whether a file that has the name already gives way, also one that may only be read
/// @return non-zero for success; on failure both names are as they were
ZELTRA_API int MoveIntoPlace(const std::string& from, const std::string& to, bool replace);

/// A name beside `path` that no other process uses, for a file that is moved into place once it is complete.
ZELTRA_API std::string TemporaryNameFor(const std::string& path);

/// Folder for files of this session, without a trailing separator.
ZELTRA_API std::string TemporaryFolder();

}  // namespace zeltra

#endif  // ZELTRA_PLATFORM_SYSTEM_H_

// The operating system as the library's own sources see it. One source per system implements it.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_SYSTEMINTERNAL_H_
#define ZELTRA_PLATFORM_SYSTEMINTERNAL_H_

#include <cstdio>
#include <functional>
#include <string>

#include "zeltra/platform/Types.h"

namespace zeltra::platform {

/// Open flags, with the same values as those of AFile; other bits of a mode are ignored.
enum OpenMode : int { kWriteOnly = 0x1, kReadWrite = 0x2, kCreate = 0x100, kTruncate = 0x200, kBinary = 0x8000 };

// A function that fails sets errno, on every system; an errno of 0 means that no call failed but the file ended.

/// Read and write for the owner alone.
inline constexpr int kOwnerOnly = 0600;
/// The same for everybody, less what the process's mask takes away: the permissions with which most programs create
/// files.
inline constexpr int kEverybody = 0666;

/// Open with the flags of AFile::Open; others may open the file too.
/// @param permissions  POSIX permission bits of a file that is created, before the process's mask
/// @return the descriptor, or -1
int OpenDescriptor(const char* path, int mode, int permissions);
bool CloseDescriptor(int descriptor);
/// Ask the system once, and again only if it cut short a request that was too large for it.
/// @return bytes moved, perhaps fewer than `count`; -1 if none could be moved
int64 ReadDescriptor(int descriptor, void* buffer, int64 count);
/// Read starting at a position, on any number of threads at once; the descriptor's own position is undefined
/// afterwards.
/// @return bytes moved, fewer than `count` only at the end of the file; -1 if none could be moved
int64 ReadDescriptorAt(int descriptor, int64 position, void* buffer, int64 count);
/// @return bytes moved, fewer than `count` only where the system refuses more; -1 if none could be moved
int64 WriteDescriptor(int descriptor, const void* buffer, int64 count);
/// @return the new position, or -1
int64 SeekDescriptor(int descriptor, int64 position);
int64 TellDescriptor(int descriptor);
int64 DescriptorSize(int descriptor);
/// Shows whether a file has been changed.
struct FileStamp {
  int64 size = -1;
  int64 modified = 0;  ///< in the system's own unit and epoch
  bool operator==(const FileStamp&) const = default;
};
/// @return false if the system does not say
bool StampOf(int descriptor, FileStamp& stamp);
/// @return 0 for success, else the system's error number
int TruncateDescriptor(int descriptor, int64 size);

/// Wait until the disk holds what was written to a file. @return false if some of it did not get there
bool SyncDescriptor(int descriptor);
/// The same, but on systems that can, return false with errno ECANCELED soon after `stop` returns true; the system then
/// completes the writing by itself.
bool SyncDescriptorUnless(int descriptor, const std::function<bool()>& stop);
/// The same for the names in the folder of `path`. A folder that the system cannot synchronise, or may not read, counts
/// as done.
bool SyncFolderOf(const std::string& path);

/// Who may read, write and run an existing file: its POSIX permission bits; -1 where the system has none.
int PermissionsOf(const std::string& path);
/// @return false if the file ends up with other permissions
bool SetPermissions(int descriptor, int permissions);

/// Unknown: the system does not say.
enum class FileKind { Missing, Regular, Other, Unknown };
/// What a name refers to; a symbolic link is Other.
FileKind KindOf(const std::string& path);
/// The name at the end of a chain of symbolic links that starts at `path`, whether or not that file exists; `path`
/// itself if it is not a link.
std::string LinkTarget(const std::string& path);
/// Whether two names in one folder refer to the same file.
bool IsSameName(const std::string& a, const std::string& b);

std::FILE* OpenStream(const char* path, const char* mode);
bool SeekStream(std::FILE* stream, int64 position);
int64 TellStream(std::FILE* stream);
int DescriptorOf(std::FILE* stream);

void ShowMessage(const char* text);

}  // namespace zeltra::platform

#endif  // ZELTRA_PLATFORM_SYSTEMINTERNAL_H_

// The file interface that every byte passes through.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ABFILE_H_
#define ZELTRA_CORE_ABFILE_H_

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// A file of bytes with a current position.
///
/// Positions and sizes are 64-bit byte counts from the start of the file. Results are non-zero for success; nothing
/// throws and nothing is reported. An object is used by one thread at a time and stays usable after a failed call.
class ZELTRA_API ABFile {
 public:
  /// Close the file. @return non-zero for success; a file without a system object has nothing to close and returns 1
  virtual int Close();
  /// Move to `pos` bytes after the start of the file.
  virtual int Seek(const int64& pos) = 0;
  /// Current position, -1 on failure.
  virtual int64 Tell() = 0;
  /// Read up to `n` bytes. @return non-zero if more than 0 bytes were read: a short read counts as success
  virtual int Read(void* buf, int n) = 0;
  /// Read `n` bytes in chunks of at most 2147483647; a chunk that read anything at all counts as complete.
  /// @return 1, also immediately for n < 1; 0 as soon as a chunk fails
  virtual int ReadL(void* buf, int64 n);
  /// Write `n` bytes. @return non-zero if more than 0 bytes were written
  virtual int Write(void* buf, int n) = 0;
  /// Write `n` bytes in chunks, as ReadL does for reading.
  virtual int WriteL(void* buf, int64 n);
  /// The same from const data, which no file modifies. A class that overrides the two functions above makes these
  /// visible with `using ABFile::Write;` and `using ABFile::WriteL;`.
  template <typename T>
  int Write(const T* buf, int n) {
    return Write(static_cast<void*>(const_cast<T*>(buf)), n);
  }
  template <typename T>
  int WriteL(const T* buf, int64 n) {
    return WriteL(static_cast<void*>(const_cast<T*>(buf)), n);
  }
  /// Read text up to a delimiter; see the implementations, which differ.
  virtual int GetLine(char* buf, int n, char delim) = 0;
  /// Size of the file in bytes, -1 on failure.
  virtual int64 GetFileSize() = 0;
  /// Truncate the file at the current position. What the result means differs between the implementations.
  virtual int Trunc() = 0;
  virtual ~ABFile();

  /// There is nothing to copy: this class has no data.
  ABFile(const ABFile&) = default;
  ABFile& operator=(const ABFile&) = default;

 protected:
  ABFile() = default;
};

/// Whether at least `n` more bytes lie between the current position of `file` and its end. Sizes that a file claims are
/// checked with this before memory is allocated for them.
ZELTRA_API bool HasBytes(ABFile& file, int64 n);

/// Read `n` bytes, or fail: unlike ABFile::Read it continues after a short read, until the end of the file.
/// @return non-zero once all bytes are in `buf`; always 0 for a pipe, which has no positions
ZELTRA_API int ReadWhole(ABFile& file, void* buf, int64 n);
/// Write `n` bytes, or fail. @return non-zero once all bytes are written
ZELTRA_API int WriteWhole(ABFile& file, const void* buf, int64 n);

}  // namespace zeltra

#endif  // ZELTRA_CORE_ABFILE_H_

// An unbuffered file: one system call per request.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_AFILE_H_
#define ZELTRA_CORE_AFILE_H_

#include "zeltra/core/ABFile.h"

namespace zeltra {

/// A file on a system descriptor, without a buffer, so callers should move whole records.
///
/// A copy shares the descriptor: whichever closes first, or is destroyed first, closes it for both, and the number that
/// the other one keeps may soon stand for another file. To pass a file on, or to keep files in a container, move them.
class ZELTRA_API AFile : public ABFile {
 public:
  /// Flags of Open, the same values on every system.
  static constexpr int WriteOnly = 0x1;
  static constexpr int ReadWrite = 0x2;
  static constexpr int Create = 0x100;
  static constexpr int Truncate = 0x200;
  static constexpr int Binary = 0x8000;

  AFile() = default;
  AFile(const AFile&) = default;
  /// A file already open here stays open, since copies of this object may share it.
  AFile& operator=(const AFile&) = default;
  /// Take over the descriptor of `other`, which is then closed.
  AFile(AFile&& other) noexcept;
  /// The same, after closing what was open here, unless the two share it.
  AFile& operator=(AFile&& other) noexcept;
  ~AFile() override;

  /// Open a file, which others may open too. A newly created file is accessible to its owner only, if the system has
  /// permissions. A file already open here stays open and can no longer be closed: call Close first.
  /// @param mode  a set of the flags above. WriteOnly opens for reading too, so that what was written can be read back;
  ///              Create empties an existing file. Binary is never implied: pass it if wanted.
  int Open(const char* path, int mode);

  /// @return 1 if the file was open and closed without an error
  int Close() override;
  int Seek(const int64& pos) override;
  int64 Tell() override;
  /// Ask the system once for up to `n` bytes, and return what it gives: from a pipe, whatever is there. If the system
  /// limits large requests (Linux to 0x7ffff000 bytes), the rest is requested too. ReadWhole reads all `n` bytes.
  int Read(void* buf, int n) override;
  /// Write until all `n` bytes are written or the system refuses more.
  int Write(void* buf, int n) override;
  using ABFile::Write;
  /// Read bytes starting at `position`, whatever the current position, which is undefined afterwards. Several threads
  /// may read from one open file in this way.
  /// @return the number of bytes read into `buf`, fewer than `n` only at the end of the file; -1 if reading fails
  virtual int64 ReadAt(int64 position, void* buf, int64 n) const;
  /// Read bytes up to `delim` or a zero byte, which is consumed and replaced by the terminating zero. One system call
  /// per byte.
  /// @return 1 for a line, or for `n` bytes without a delimiter, which stay unterminated; 0 at the end of the file
  int GetLine(char* buf, int n, char delim) override;
  int64 GetFileSize() override;
  /// @return 1 if the current position is at the end of the file
  int Trunc() override;

 protected:
  /// The system's descriptor of the file, -1 if it is closed.
  int descriptor() const { return descriptor_; }
  /// Open, giving the permissions of a newly created file: POSIX bits, before the process's mask.
  int OpenWith(const char* path, int mode, int permissions);

 private:
  int descriptor_ = -1;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_AFILE_H_

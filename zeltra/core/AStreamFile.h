// A buffered file; the caller chooses the size of the buffer.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ASTREAMFILE_H_
#define ZELTRA_CORE_ASTREAMFILE_H_

#include <cstdio>
#include <memory>

#include "zeltra/core/ABFile.h"

namespace zeltra {

/// A file on a stream of the C runtime, for sequential readers and writers.
///
/// The buffer lives until the object is destroyed, so one object can be opened successfully only once. A copy shares
/// the stream and the buffer: whichever closes first, or is destroyed first, closes the stream for both. To pass a
/// stream on, or to keep streams in a container, move them: the source of a move is then closed and as good as new.
class ZELTRA_API AStreamFile : public ABFile {
 public:
  AStreamFile() = default;
  AStreamFile(const AStreamFile&) = default;
  AStreamFile& operator=(const AStreamFile&) = default;
  AStreamFile(AStreamFile&&) noexcept = default;
  AStreamFile& operator=(AStreamFile&&) noexcept = default;
  ~AStreamFile() override;

  /// Open as fopen does, fully buffered with `bufSize` bytes. A stream that is still open is closed first.
  /// @return 0 with nothing changed, not even the file, if `bufSize` is below 1 or there is no memory for the buffer; 0
  ///         with the object closed if the file cannot be opened; 0 with the new stream open if the object was opened
  ///         before or the runtime refuses the buffer
  int Open(const char* path, const char* mode, int bufSize);

  int Close() override;
  int Seek(const int64& pos) override;
  int64 Tell() override;
  int Read(void* buf, int n) override;
  int ReadL(void* buf, int64 n) override;
  int Write(void* buf, int n) override;
  int WriteL(void* buf, int64 n) override;
  using ABFile::Write;
  using ABFile::WriteL;
  /// Read a line of at most n - 1 bytes; it ends at a newline, which is kept. `delim` is ignored.
  int GetLine(char* buf, int n, char delim) override;
  /// Size on disk, not counting bytes still in the buffer.
  int64 GetFileSize() override;
  /// Truncate the file at the current position.
  /// @return the system's error number: 0 for success, unlike every other operation
  int Trunc() override;

 private:
  // Shared by copies, so that all of them see the stream closed. The stream never outlives its buffer.
  struct Shared {
    ~Shared();
    int Close();
    std::unique_ptr<char[]> buffer;
    std::FILE* stream = nullptr;
  };

  std::FILE* Stream() const { return shared_ ? shared_->stream : nullptr; }

  std::shared_ptr<Shared> shared_;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_ASTREAMFILE_H_

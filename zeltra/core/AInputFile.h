// A file that a job reads, which remembers whether reading failed.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_AINPUTFILE_H_
#define ZELTRA_CORE_AINPUTFILE_H_

#include <mutex>
#include <string>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AResult.h"

namespace zeltra {

/// A file that is open for reading and remembers the size that it had when it was opened.
///
/// A class that reads a list from a file takes a failed read for an empty list, so a job calls Check before it declares
/// its output complete. After the first failed read all others fail too, since a broken disk may take long to fail each
/// one. Any number of threads may call ReadAt and Check at once.
class ZELTRA_API AInputFile : public AFile {
 public:
  AInputFile() = default;
  AInputFile(const AInputFile&) = delete;
  AInputFile& operator=(const AInputFile&) = delete;

  /// @param name  what messages call the file; `path` if empty
  /// @return a failure with the system's reason
  AResult Open(const std::string& path, const std::string& name = {});
  /// Take over an open file, positioned at its start.
  AResult Adopt(AFile& file, const std::string& name);
  const std::string& name() const { return name_; }

  /// @return a failure if a byte that the file had when it was opened could not be read, or if its size or time stamp
  ///         has changed since
  AResult Check() const;
  /// The result of a job that reads the file: the failure of Check() if there is one, since it may be why the job
  /// failed.
  AResult Settle(const AResult& result) const;

  int Seek(const int64& pos) override;
  int64 Tell() override { return descriptor() >= 0 ? position_ : -1; }
  int Read(void* buf, int n) override;
  int64 ReadAt(int64 position, void* buf, int64 n) const override;
  int64 GetFileSize() override { return descriptor() >= 0 ? size_ : -1; }

 private:
  AResult Begin(const std::string& name);
  bool hasFailed() const;
  AResult ReadFailure() const;

  std::string name_;
  int64 size_ = 0;
  int64 modified_ = 0;  // as in platform::FileStamp
  int64 position_ = 0;
  mutable std::mutex mutex_;     // guards the two below
  mutable int64 failedAt_ = -1;  // the first byte that could not be read
  mutable int error_ = 0;        // why; 0 if the file ended early
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_AINPUTFILE_H_

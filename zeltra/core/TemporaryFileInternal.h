// A file that nobody else sees and that vanishes with the job.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_TEMPORARYFILEINTERNAL_H_
#define ZELTRA_CORE_TEMPORARYFILEINTERNAL_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/OutputFileInternal.h"

namespace zeltra {

/// A file for what does not fit in memory. It loses its name as soon as it is open, so that nothing is left of it
/// whatever happens; on a system where an open file keeps its name, it is removed with the object.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  /// Create the file in the folder of `path`, which is the name that messages give.
  AResult Create(const std::string& path);
  CheckedFile& file() { return file_; }
  /// Read `n` bytes, which must have been written.
  AResult ReadAt(int64 position, void* bytes, int64 n) const;
  /// The failure of a write.
  AResult WriteError() const;

 private:
  CheckedFile file_;
  std::string path_;
  std::string name_;  // empty once it has been removed
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_TEMPORARYFILEINTERNAL_H_

// Files that are removed with the test that made them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_TEMPFILE_H_
#define ZELTRA_TESTS_SUPPORT_TEMPFILE_H_

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "zeltra/core/AFile.h"
#include "zeltra/platform/System.h"

namespace zeltra::test {

/// A file name that no other test uses; the file is removed with the object.
class TempFile {
 public:
  explicit TempFile(const std::string& ending = "test")
      : path_(TemporaryNameFor(TemporaryFolder() + "/zeltra." + ending)) {}
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile() { RemoveFile(path_); }

  const std::string& path() const { return path_; }
  const char* c_str() const { return path_.c_str(); }
  bool exists() const { return PathExists(path_); }

  void Put(const std::string& bytes) const {
    AFile file;
    file.Open(path_.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary);
    if (!bytes.empty()) file.Write(const_cast<char*>(bytes.data()), static_cast<int>(bytes.size()));
  }

  std::string Bytes() const {
    AFile file;
    if (!file.Open(path_.c_str(), AFile::Binary)) return {};
    std::string bytes(static_cast<size_t>(file.GetFileSize()), '\0');
    if (!bytes.empty()) file.Read(bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
  }

 private:
  std::string path_;
};

/// Such a file, open for reading and writing from its start, on a disk with room for `largest` bytes.
class OpenTempFile : public TempFile, public AFile {
 public:
  explicit OpenTempFile(const std::string& bytes = "") {
    TempFile::Put(bytes);
    Open(c_str(), AFile::ReadWrite | AFile::Binary);
  }

  using AFile::Write;
  int Write(void* buf, int n) override {
    return AFile::Write(buf, static_cast<int>(std::clamp<int64>(largest - std::max<int64>(Tell(), 0), 0, n)));
  }

  int64 largest = std::numeric_limits<int64>::max();
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_TEMPFILE_H_

// A file in memory, on a disk of limited size.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_MEMORYFILE_H_
#define ZELTRA_TESTS_SUPPORT_MEMORYFILE_H_

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "zeltra/core/ABFile.h"

namespace zeltra::test {

/// Behaves like a real file: a read at the end is short, and so is a write that reaches `largest` bytes.
class MemoryFile : public ABFile {
 public:
  MemoryFile() = default;
  explicit MemoryFile(std::string content) : bytes(std::move(content)) {}

  int Close() override { return std::exchange(open, false); }
  int Seek(const int64& pos) override {
    if (!open || pos < 0) return 0;
    position_ = pos;
    return 1;
  }
  int64 Tell() override { return open ? position_ : -1; }
  int Read(void* buf, int n) override {
    const int64 moved = open ? std::min<int64>(n, Size() - position_) : 0;
    if (moved < 1) return 0;
    bytes.copy(static_cast<char*>(buf), static_cast<size_t>(moved), static_cast<size_t>(position_));
    position_ += moved;
    return 1;
  }
  int Write(void* buf, int n) override {
    const int64 moved = open ? std::min<int64>(n, largest - position_) : 0;
    if (moved < 1) return 0;
    bytes.resize(static_cast<size_t>(std::max(Size(), position_ + moved)));
    bytes.replace(static_cast<size_t>(position_), static_cast<size_t>(moved), static_cast<char*>(buf),
                  static_cast<size_t>(moved));
    position_ += moved;
    return 1;
  }
  int GetLine(char*, int, char) override { return 0; }
  int64 GetFileSize() override { return open ? Size() : -1; }
  int Trunc() override {
    bytes.resize(static_cast<size_t>(position_));
    return 1;
  }

  std::string bytes;
  bool open = true;
  int64 largest = std::numeric_limits<int64>::max();

 private:
  int64 Size() const { return static_cast<int64>(bytes.size()); }

  int64 position_ = 0;
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_MEMORYFILE_H_

// Input in large pieces.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_BLOCKREADERINTERNAL_H_
#define ZELTRA_CORE_BLOCKREADERINTERNAL_H_

#include <memory>

#include "zeltra/core/AFile.h"
#include "zeltra/core/BlockBytesInternal.h"

namespace zeltra {

/// Reads a file in large pieces and hands out runs of bytes.
class BlockReader {
 public:
  explicit BlockReader(AFile& file) : file_(file), block_(new char[kBlockBytes]) {}

  /// Go to a position; what the block already holds is not read again.
  void Seek(int64 position) {
    if (position >= start_ && position <= start_ + filled_) {
      used_ = static_cast<int>(position - start_);
    } else {
      start_ = position;
      filled_ = used_ = 0;
      ahead_ = kFirstRead;
    }
  }
  /// The next `n` bytes, at most kBlockBytes, valid until the next call; null if the file ends first.
  char* Next(int n) {
    if (filled_ - used_ < n && !Fill(n)) return nullptr;
    char* p = block_.get() + used_;
    used_ += n;
    return p;
  }

 private:
  // After a jump only a little is read, since another jump may follow; each further read is twice as long.
  static constexpr int kFirstRead = 4096;

  bool Fill(int n);

  AFile& file_;
  std::unique_ptr<char[]> block_;
  int64 start_ = 0;  // position in the file of the block's first byte
  int filled_ = 0;
  int used_ = 0;
  int ahead_ = kFirstRead;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_BLOCKREADERINTERNAL_H_

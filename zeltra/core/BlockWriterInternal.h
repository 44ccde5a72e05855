// Output in large pieces.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_BLOCKWRITERINTERNAL_H_
#define ZELTRA_CORE_BLOCKWRITERINTERNAL_H_

#include <memory>

#include "zeltra/core/BlockBytesInternal.h"
#include "zeltra/core/OutputFileInternal.h"

namespace zeltra {

/// Collects output in a block and writes it in large pieces, noticing every byte that does not arrive.
class BlockWriter {
 public:
  explicit BlockWriter(CheckedFile& file) : file_(file), block_(new char[kBlockBytes]) {}

  /// Room for `n` bytes, at most kBlockBytes, that count as written; null once a write has failed.
  char* Reserve(int n) {
    if (kBlockBytes - used_ < n && !Flush()) return nullptr;
    char* p = block_.get() + used_;
    used_ += n;
    return p;
  }
  /// Write what the block holds. @return false once any byte has not arrived
  bool Flush();
  /// Forget what the block holds.
  void Clear() { used_ = 0; }

 private:
  CheckedFile& file_;
  std::unique_ptr<char[]> block_;
  int used_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_BLOCKWRITERINTERNAL_H_

// Output in large pieces.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_BLOCKWRITERINTERNAL_H_
#define ZELTRA_CORE_BLOCKWRITERINTERNAL_H_

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "zeltra/core/BlockBytesInternal.h"
#include "zeltra/core/OutputFileInternal.h"

namespace zeltra {

/// Collects output in a block and writes it in large pieces, noticing every byte that is lost.
///
/// If a second thread may be used, it writes one block while the next one is filled. The caller may use the file before
/// the first block is full, and after Flush or Clear.
class BlockWriter {
 public:
  /// @param threads  how many the job may use, as in JobOptions
  explicit BlockWriter(CheckedFile& file, int threads = 1);
  BlockWriter(const BlockWriter&) = delete;
  BlockWriter& operator=(const BlockWriter&) = delete;
  /// Whatever has not been flushed is lost.
  ~BlockWriter();

  /// Room for `n` bytes, at most kBlockBytes, which count as written and must be filled in before the next call; null
  /// once a write has failed.
  char* Reserve(int n) {
    if (kBlockBytes - used_ < n && !WriteBlock()) return nullptr;
    char* p = block_.get() + used_;
    used_ += n;
    return p;
  }
  /// Write what the block holds. @return false once any byte has been lost
  bool Flush();
  /// Discard what the block holds.
  void Clear();

 private:
  static constexpr int kStop = -1;

  bool WriteBlock();
  bool HasThread();
  void HandOver(int bytes);
  void Wait();
  void WriteInBackground();

  CheckedFile& file_;
  std::unique_ptr<char[]> block_;
  int used_ = 0;
  bool mayStartThread_;
  std::thread thread_;
  std::unique_ptr<char[]> handedOver_;  // the block that the thread writes
  std::mutex mutex_;                    // guards bytes_
  std::condition_variable changed_;
  int bytes_ = 0;  // in the block; 0 once they are written
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_BLOCKWRITERINTERNAL_H_

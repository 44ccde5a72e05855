// Records of a UVX file in large sequential reads.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_RECORDREADERINTERNAL_H_
#define ZELTRA_OPS_RECORDREADERINTERNAL_H_

#include <memory>

#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

/// Reads runs of records. Each thread has a reader of its own; they share the open file.
class RecordReader {
 public:
  /// Large enough for the cost of requests not to matter, small enough that the records are still in the processor's
  /// cache when they are looked at.
  static constexpr int kBlockBytes = 1 << 19;

  explicit RecordReader(AUVXInput& input, int blockBytes = kBlockBytes);

  int recordBytes() const { return recordBytes_; }
  /// Read records from `first` on, as many as the block holds, stopping before `end`.
  /// @return how many there are at records(), fewer if the file ends early; 0 if not even the first can be read
  int Read(int first, int end);
  /// The records read last, one after another as in the file: 26 bytes of AUVXGroup, then the values.
  const char* records() const { return block_.get(); }

 private:
  const AInputFile& file_;
  const int64 dataOffset_;
  const int recordBytes_;
  const int capacity_;  // records in a block
  const std::unique_ptr<char[]> block_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECORDREADERINTERNAL_H_

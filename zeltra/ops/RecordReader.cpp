// SPDX-License-Identifier: MIT
#include <algorithm>

#include "zeltra/ops/RecordReaderInternal.h"

namespace zeltra {

RecordReader::RecordReader(AUVXInput& input, int blockBytes)
    : file_(input.file()),
      dataOffset_(input.uvx().DataOffset()),
      recordBytes_(input.uvx().recSize()),
      capacity_(std::max(blockBytes / recordBytes_, 1)),
      block_(new char[static_cast<size_t>(capacity_) * static_cast<size_t>(recordBytes_)]) {}

int RecordReader::Read(int first, int end) {
  const int count = std::min(end - first, capacity_);
  const int64 position = dataOffset_ + int64{first} * recordBytes_;
  const int64 read = file_.ReadAt(position, block_.get(), int64{count} * recordBytes_);
  return read > 0 ? static_cast<int>(read / recordBytes_) : 0;
}

}  // namespace zeltra

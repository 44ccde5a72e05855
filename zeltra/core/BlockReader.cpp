// SPDX-License-Identifier: MIT
#include "zeltra/core/BlockReaderInternal.h"

#include <algorithm>
#include <cstring>

namespace zeltra {

bool BlockReader::Fill(int n) {
  // Unused bytes move to the front, so that a run of bytes never straddles two blocks.
  std::memmove(block_.get(), block_.get() + used_, static_cast<size_t>(filled_ - used_));
  start_ += used_;
  filled_ -= used_;
  used_ = 0;
  const int64 position = start_ + filled_;
  const int count = std::min(std::max(n - filled_, ahead_), kBlockBytes - filled_);
  if (!file_.Seek(position)) return false;
  while (filled_ < n) {
    const auto read = static_cast<int>(start_ + filled_ - position);
    if (!file_.Read(block_.get() + filled_, count - read)) return false;
    filled_ = static_cast<int>(file_.Tell() - start_);
  }
  ahead_ = std::min(2 * ahead_, kBlockBytes);
  return true;
}

}  // namespace zeltra

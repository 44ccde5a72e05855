// SPDX-License-Identifier: MIT
#include <algorithm>

#include "zeltra/fits/FITSCardReaderInternal.h"

namespace zeltra {

bool FITSCardReader::Next(std::string& card) {
  if (used_ == held_ && !Fill()) return false;
  card.assign(block_ + used_, kFITSCard);
  used_ += kFITSCard;
  position_ += kFITSCard;
  return true;
}

bool FITSCardReader::Fill() {
  if (position_ < 0 || fileSize_ - position_ < kFITSCard) return false;
  const auto wholeCards =
      static_cast<int>(std::min<int64>((fileSize_ - position_) / kFITSCard, kFITSBlock / kFITSCard));
  used_ = held_ = 0;
  // After a short read the block would still hold cards of the previous one.
  if (!ReadWhole(file_, block_, wholeCards * kFITSCard)) return false;
  held_ = wholeCards * kFITSCard;
  return true;
}

}  // namespace zeltra

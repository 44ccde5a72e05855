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
  held_ = wholeCards * kFITSCard;
  used_ = 0;
  return file_.Read(block_, held_) != 0;
}

}  // namespace zeltra

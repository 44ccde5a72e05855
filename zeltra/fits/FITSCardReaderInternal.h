// Header cards read one by one through a block buffer.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSCARDREADERINTERNAL_H_
#define ZELTRA_FITS_FITSCARDREADERINTERNAL_H_

#include <string>

#include "zeltra/core/ABFile.h"
#include "zeltra/fits/FITSCards.h"

namespace zeltra {

/// Reads the cards of a header starting at the file's current position. Headers with thousands of HISTORY cards occur,
/// for which one request per card would be slow. The file's position is undefined while the reader is in use.
class FITSCardReader {
 public:
  explicit FITSCardReader(ABFile& file) : file_(file), position_(file.Tell()), fileSize_(file.GetFileSize()) {}

  /// Put the next card into `card`. @return false if fewer than 80 bytes remain in the file, or it cannot be read
  bool Next(std::string& card);

  /// File position of the card that Next would read.
  int64 Position() const { return position_; }

 private:
  bool Fill();

  ABFile& file_;
  int64 position_;
  int64 fileSize_;
  int held_ = 0;  // bytes of block_ in use
  int used_ = 0;  // number of these bytes already handed out
  char block_[kFITSBlock] = {};
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSCARDREADERINTERNAL_H_

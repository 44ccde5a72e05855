// Header cards read one by one through a block buffer.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSCARDREADERINTERNAL_H_
#define ZELTRA_FITS_FITSCARDREADERINTERNAL_H_

#include <string>

#include "zeltra/core/ABFile.h"
#include "zeltra/fits/FITSCards.h"

namespace zeltra {

/// Reads the cards of a header from the file's current position on. Headers with thousands of HISTORY cards occur, and
/// a request a card would be slow. The file's position is undefined while the reader is in use.
class FITSCardReader {
 public:
  explicit FITSCardReader(ABFile& file) : file_(file), position_(file.Tell()), fileSize_(file.GetFileSize()) {}

  /// Put the next card into `card`. @return false if the file holds no further 80 bytes or cannot be read
  bool Next(std::string& card);

  /// File position of the card that Next would read.
  int64 Position() const { return position_; }

 private:
  bool Fill();

  ABFile& file_;
  int64 position_;
  int64 fileSize_;
  int held_ = 0;  // bytes of block_ in use
  int used_ = 0;  // of these, bytes handed out
  char block_[kFITSBlock] = {};
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSCARDREADERINTERNAL_H_

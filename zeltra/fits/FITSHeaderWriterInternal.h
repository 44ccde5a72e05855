// Collects the cards of a header and writes them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSHEADERWRITERINTERNAL_H_
#define ZELTRA_FITS_FITSHEADERWRITERINTERNAL_H_

#include <string>
#include <string_view>

#include "zeltra/core/ABFile.h"

namespace zeltra {

/// A header under construction: cards are added in their order, then Write() puts them into a file. Keywords are taken
/// as they are; in texts '?' stands for what is not printable.
class FITSHeaderWriter {
 public:
  /// A card whose value is written as it stands.
  void AddValue(const std::string& key, const std::string& value) { Add(key, value, 1); }
  void AddLogical(const std::string& key);  ///< T
  void AddInteger(const std::string& key, int64 value) { Add(key, std::to_string(value), 1); }
  /// A number in the form of "%.9E" where that says all, else with as many digits as read back to the same number. FITS
  /// has no text for what is not a finite number, which becomes 0.
  void AddNumber(const std::string& key, double value);
  /// A number in the form of "%.12E".
  void AddRoundedNumber(const std::string& key, double value);
  void AddText(const std::string& key, const std::string& value);
  /// The same unless there is no text.
  void AddKnownText(const std::string& key, const std::string& value);
  /// The day as YYYY-MM-DD, unless there is none: a Julian date that is not positive.
  void AddDay(const std::string& key, double julianDate);
  /// A card as it stands, of up to 80 characters.
  void AddCard(const std::string& card);
  /// As many HISTORY cards as the text needs, one at least.
  void AddHistory(const std::string& text);

  /// Write the cards and END, and blanks up to a whole block. @return 0 if not all is written
  int Write(ABFile& file);

 private:
  char* NewCard();
  void Add(const std::string& key, const std::string& value, int numeric);

  std::string cards_;
};

/// Whether the columns and the layout of an extension determine the value of this keyword (with its index, as in
/// "TTYPE1"), or it has none. Such keywords are not those of a table: they are neither kept nor written with it.
bool IsStructuralKeyword(std::string_view key);

/// Write zeros up to a whole block after `bytes` bytes of data. @return 0 if not all is written
int PadFITSData(ABFile& file, int64 bytes);

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSHEADERWRITERINTERNAL_H_

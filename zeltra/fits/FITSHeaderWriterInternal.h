// Collects the cards of a header and writes them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSHEADERWRITERINTERNAL_H_
#define ZELTRA_FITS_FITSHEADERWRITERINTERNAL_H_

#include <string>
#include <string_view>

#include "zeltra/core/ABFile.h"

namespace zeltra {

/// A header under construction: add cards in order, then call Write() to put them into a file. Keywords are used
/// unchanged; in texts '?' replaces unprintable characters.
class FITSHeaderWriter {
 public:
  /// A card whose value is written unchanged.
  void AddValue(const std::string& key, const std::string& value) { Add(key, value, 1); }
  void AddLogical(const std::string& key);  ///< T
  void AddInteger(const std::string& key, int64 value) { Add(key, std::to_string(value), 1); }
  /// A number in the form "%.9E" if that is exact, otherwise with as many digits as it takes to read back the same
  /// number. FITS has no text for a number that is not finite, which becomes 0.
  void AddNumber(const std::string& key, double value);
  /// A number in the form "%.12E".
  void AddRoundedNumber(const std::string& key, double value);
  void AddText(const std::string& key, const std::string& value);
  /// The same, but no card if the text is empty.
  void AddKnownText(const std::string& key, const std::string& value);
  /// The day as YYYY-MM-DD, but no card if the Julian date is not positive, which means that there is none.
  void AddDay(const std::string& key, double julianDate);
  /// A card of up to 80 characters, written unchanged.
  void AddCard(const std::string& card);
  /// As many HISTORY cards as the text needs, at least one.
  void AddHistory(const std::string& text);

  /// Write the cards and END, padded with blanks to a whole block. @return 0 if not all is written
  int Write(ABFile& file);

 private:
  char* NewCard();
  void Add(const std::string& key, const std::string& value, int numeric);

  std::string cards_;
};

/// Whether this keyword (with its index, as in "TTYPE1") is determined by the columns and the layout of an extension,
/// or has no value. Such keywords do not belong to a table: they are neither kept nor written with it.
bool IsStructuralKeyword(std::string_view key);

/// Write zeros to complete the last block after `bytes` bytes of data. @return 0 if not all is written
int PadFITSData(ABFile& file, int64 bytes);

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSHEADERWRITERINTERNAL_H_

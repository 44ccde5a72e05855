// The layout in which header cards are written.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSCARDS_H_
#define ZELTRA_FITS_FITSCARDS_H_

#include <ctime>
#include <string>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

inline constexpr int kFITSCard = 80;       ///< bytes of a header card
inline constexpr int kFITSKeyword = 8;     ///< bytes of its keyword
inline constexpr int kFITSBlock = 2880;    ///< bytes of a block: headers and data are padded to whole blocks
inline constexpr int kFITSMaxIndex = 999;  ///< largest index of a keyword (FITS standard 4.0, sections 4.4.1 and 7.3.1)

/// Maximum size of a header whose cards are kept: a thousand times what is found in practice.
inline constexpr int64 kFITSMostHeaderBytes = int64{64} << 20;

/// `bytes` rounded up to whole blocks.
constexpr int64 WholeBlocks(int64 bytes) {
  return (bytes / kFITSBlock + (bytes % kFITSBlock != 0)) * kFITSBlock;
}

/// Values that an export writes without quotes: those of BSCALE and BZERO in the form "%.11E", ...
inline constexpr char kFITSScaleOne[] = "1.00000000000E+00";
inline constexpr char kFITSScaleZero[] = "0.00000000000E+00";
/// ... those of the keywords of an axis in the form "%.9E", and logical values.
inline constexpr char kFITSAxisOne[] = "1.000000000E+00";
inline constexpr char kFITSAxisZero[] = "0.000000000E+00";
inline constexpr char kFITSTrue[] = "T";

/// Write a card `keyword = value /` of 80 characters into `buffer`.
///
/// "=" stands in column 9 (counted from 1) and "/" in column 32. A numeric value ends in column 30. A text has its
/// opening quote in column 11 and is padded to 8 characters within the quotes; beyond 19 characters it runs over the
/// "/". Quotes within a text are doubled, as FITS demands, and count twice.
/// @param buffer   room for 80 characters; no terminating zero is written
/// @param keyword  cut at 8 characters
/// @param value    cut only at the end of the card: the closing quote of a long text is in column 80
/// @param numeric  0 for a text, non-zero for a number or a logical value
ZELTRA_API void FormatCard(char* buffer, const std::string& keyword, const std::string& value, int numeric);

/// Write a HISTORY card of 80 characters into `buffer`: `text` from column 11, cut at the end of the card.
ZELTRA_API void FormatHistoryCard(char* buffer, const std::string& text);

/// Shorten the exponent of a number formatted with "E" to its sign and last two digits, since some runtimes print
/// three: 1.0E+000 becomes 1.0E+00. Meant for exponents below 100; larger ones lose their first digit. A text without
/// "E" is returned unchanged.
ZELTRA_API std::string FixExponent(const std::string& text);

/// The UTC date of a moment in the form of DATE-MAP, "%d/%m/%y".
ZELTRA_API std::string FormatCardDate(std::time_t moment);

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSCARDS_H_

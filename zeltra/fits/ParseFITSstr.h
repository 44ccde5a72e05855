// A parsed FITS header card.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_PARSEFITSSTR_H_
#define ZELTRA_FITS_PARSEFITSSTR_H_

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Keyword, index and value of a header card, as in `CRVAL4  =  1.4E9 / Hz`: "CRVAL", 4 and "1.4E9".
class ZELTRA_API ParseFITSstr {
 public:
  /// Parse one card of 80 characters; a shorter text has fewer of the fields. Any byte is allowed.
  ///
  /// The value ends at the first blank followed by a slash, even within quotes, and slashes in it become hyphens, so
  /// that a date 01/02/99 reads as 01-02-99. Programs rely on both: quotes are not scanned for.
  void Parse(const std::string& card);

  /// The keyword without trailing blanks and without trailing digits.
  const std::string& strKey() const { return key_; }
  /// The value, with quotes replaced by blanks, trimmed on both sides.
  const std::string& strPar() const { return value_; }
  /// The value as a number with a decimal point, whatever the locale; 0 if the text is not a number. D marks an
  /// exponent as well as E.
  double dPar() const;
  /// The value as an integer, as `atoi` reads it, clamped to the range of an int; 0 if the text is not a number.
  int iPar() const;
  /// Hash of strKey(), see Hash.
  int GetHash() const { return hash_; }
  /// The number formed by the keyword's trailing digits; -1 if it has none.
  int GetNumber() const { return number_; }
  /// 1 if the value held a single quote, else 0.
  int IsParString() const { return isString_; }

  /// Hash of a keyword: the sum over its first six characters k_i of (k_i - 65) x 2^(5i), modulo 2^32.
  ///
  /// Keywords that agree in six characters share a hash; DATE-OBS and DATE-MAP differ in the sixth.
  static constexpr int Hash(std::string_view keyword) {
    std::uint32_t hash = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(keyword.size(), 6); ++i) {
      hash += static_cast<std::uint32_t>(static_cast<signed char>(keyword[i]) - 65) << (5 * i);
    }
    return static_cast<int>(hash);
  }

 private:
  std::string key_;
  std::string value_;
  int number_ = -1;
  int hash_ = 0;
  int isString_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_PARSEFITSSTR_H_

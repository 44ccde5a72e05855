// Numbers and fixed-width text.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_TEXT_H_
#define ZELTRA_CORE_TEXT_H_

#include <string>
#include <string_view>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// The shortest decimal text that reads back to the same number.
ZELTRA_API std::string valToStr(double value);
/// The same for a 32-bit float: the text reads back to the same float.
ZELTRA_API std::string valToStr(float value);

/// The number rounded to `digits` digits, without trailing zeros: as printf writes it with "%.*g", but with a point in
/// every locale.
ZELTRA_API std::string RoundedNumber(double value, int digits);

/// A number of at least 0 rounded to four digits, with k, M or G for 1e3, 1e6 or 1e9, as in `10.25M`.
ZELTRA_API std::string SuffixedNumber(double value);

/// A number for display: at most 15 digits, so that 0.1 + 0.2 is shown as 0.3.
ZELTRA_API std::string ReadableNumber(double value);

/// The number that `text` begins with, or 0 if it does not begin with one. The same on every system and in every
/// locale; D marks an exponent too, as in Fortran. Numbers too large for a double are infinite.
ZELTRA_API double ParseNumber(std::string_view text);

/// `text` without blanks and tabs at either end.
ZELTRA_API std::string Trimmed(std::string_view text);

/// Whether two texts are equal if the case of ASCII letters is ignored.
ZELTRA_API bool IsSameWord(std::string_view a, std::string_view b);

/// Text from a field of `width` bytes: up to its first zero byte, blanks trimmed from both ends.
ZELTRA_API std::string FieldText(const char* field, int width);

/// Copy `text` into a field of `width` bytes, cut to leave at least one zero byte; the rest is zeros.
ZELTRA_API void SetFieldText(char* field, int width, std::string_view text);

/// `text` with control characters replaced by question marks, since text from a file must not command a terminal. That
/// includes 8-bit ones, as single bytes and in UTF-8; all other characters are kept, even bytes that are not UTF-8.
ZELTRA_API std::string Printable(std::string_view text);

/// `text` in ASCII, with question marks for everything else: text from a file may contain any bytes.
ZELTRA_API std::string PlainText(std::string_view text);

}  // namespace zeltra

#endif  // ZELTRA_CORE_TEXT_H_

// Restricting texts to what FITS allows.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSTEXTINTERNAL_H_
#define ZELTRA_FITS_FITSTEXTINTERNAL_H_

#include <algorithm>
#include <string>

namespace zeltra {

/// Replace every byte that is not a printable ASCII character by '?'.
inline void ReplaceUnprintable(char* begin, char* end) {
  std::replace_if(
      begin, end, [](char c) { return c < ' ' || c > '~'; }, '?');
}

/// The same in a copy.
inline std::string PrintableText(std::string text) {
  ReplaceUnprintable(text.data(), text.data() + text.size());
  return text;
}

/// Fill a text with zero bytes after its first zero byte, since some writers leave garbage there.
/// @param end  set to where the text ends
/// @return whether anything was cleared
inline bool ClearAfterZero(char* text, int width, char*& end) {
  char* const fieldEnd = text + width;
  end = std::find(text, fieldEnd, '\0');
  const bool isClear = std::all_of(end, fieldEnd, [](char c) { return c == '\0'; });
  std::fill(end, fieldEnd, '\0');
  return !isClear;
}

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSTEXTINTERNAL_H_

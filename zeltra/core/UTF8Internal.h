// Characters of UTF-8.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_UTF8INTERNAL_H_
#define ZELTRA_CORE_UTF8INTERNAL_H_

#include <cstddef>
#include <string_view>

namespace zeltra {

inline constexpr unsigned kReplacement = 0xFFFD;

/// Remove the character that `text` begins with and return it. Bytes that cannot become a character, up to the one that
/// shows this, give kReplacement.
inline unsigned TakeCharacter(std::string_view& text) {
  const auto byte = [&text](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  const size_t bytes = first < 0x80                    ? 1
                       : first >= 0xC2 && first < 0xE0 ? 2
                       : first >= 0xE0 && first < 0xF0 ? 3
                       : first >= 0xF0 && first < 0xF5 ? 4
                                                       : 0;
  // After some first bytes the range of the second is narrower, which excludes overlong forms, surrogates and codes
  // above 0x10FFFF.
  const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  unsigned code = bytes < 2 ? first : first & (0x7Fu >> bytes);
  size_t taken = 1;
  while (taken < bytes && taken < text.size()) {
    const unsigned next = byte(taken);
    if (next < (taken == 1 ? low : 0x80) || next > (taken == 1 ? high : 0xBF)) break;
    code = code << 6 | (next & 0x3F);
    ++taken;
  }
  text.remove_prefix(taken);
  return taken == bytes ? code : kReplacement;
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_UTF8INTERNAL_H_

// SPDX-License-Identifier: MIT
#include "zeltra/core/Text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <limits>

#include "zeltra/platform/Types.h"

namespace zeltra {
namespace {

template <typename Number>
std::string Shortest(Number value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return std::string(text, end);
}

// What atof returns for a number too large or too small for a double.
double OutOfRange(const std::string& number) {
  const size_t mantissaEnd = std::min(number.find_first_of("eE"), number.size());
  const size_t point = std::min(number.find('.'), mantissaEnd);
  const size_t first = number.find_first_of("123456789");
  // The power of ten of the first significant digit.
  const std::string exponent = number.substr(std::min(mantissaEnd + 1, number.size()));
  const bool isNegative = !exponent.empty() && exponent[0] == '-';
  int64 power = 0;
  for (const char c : exponent) {
    if (c >= '0' && c <= '9') power = std::min<int64>(power * 10 + (c - '0'), int64{1} << 40);
  }
  power = (isNegative ? -power : power) + static_cast<int64>(point) - static_cast<int64>(first);
  const double size = power > 0 ? std::numeric_limits<double>::infinity() : 0;
  return number[0] == '-' ? -size : size;
}

}  // namespace

std::string valToStr(double value) {
  return Shortest(value);
}
std::string valToStr(float value) {
  return Shortest(value);
}

std::string RoundedNumber(double value, int digits) {
  char text[32];
  const auto end =
      std::to_chars(text, std::end(text), value, std::chars_format::general, std::clamp(digits, 1, 17)).ptr;
  return std::string(text, end);
}

std::string SuffixedNumber(double value) {
  const auto [unit, suffix] = value >= 1e9   ? std::pair(1e9, "G")
                              : value >= 1e6 ? std::pair(1e6, "M")
                              : value >= 1e3 ? std::pair(1e3, "k")
                                             : std::pair(1.0, "");
  return RoundedNumber(value / unit, 4) + suffix;
}

std::string ReadableNumber(double value) {
  const std::string exact = valToStr(value);
  const std::string rounded = RoundedNumber(value, 15);
  return exact.size() <= rounded.size() ? exact : rounded;
}

double ParseNumber(std::string_view text) {
  std::string number(text.substr(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size())));
  // from_chars does not accept a plus sign.
  if (number.size() > 1 && number[0] == '+' && number[1] != '-') number.erase(0, 1);
  const size_t mantissaEnd = number.find_first_not_of("0123456789.-");
  if (mantissaEnd != std::string::npos && (number[mantissaEnd] == 'D' || number[mantissaEnd] == 'd')) {
    number[mantissaEnd] = 'E';
  }
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  return error == std::errc::result_out_of_range
             ? OutOfRange(number.substr(0, static_cast<size_t>(end - number.data())))
             : value;
}

std::string Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

bool IsSameWord(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

std::string FieldText(const char* field, int width) {
  return Trimmed(std::string_view(field, strnlen(field, static_cast<size_t>(width))));
}

void SetFieldText(char* field, int width, std::string_view text) {
  const size_t room = static_cast<size_t>(width);
  const size_t length = std::min({text.size(), text.find('\0'), room - 1});
  std::memset(field, 0, room);
  std::memcpy(field, text.data(), length);
}

namespace {

// Bytes of the UTF-8 character that `text` begins with; 1 if it begins with none.
size_t CharacterBytes(std::string_view text) {
  const auto byte = static_cast<unsigned char>(text[0]);
  const size_t bytes = byte >= 0xF0 && byte < 0xF8   ? 4
                       : byte >= 0xE0 && byte < 0xF0 ? 3
                       : byte >= 0xC2 && byte < 0xE0 ? 2
                                                     : 1;
  for (size_t i = 1; i < bytes; ++i) {
    if (i >= text.size() || (text[i] & 0xC0) != 0x80) return 1;
  }
  return bytes;
}

bool IsControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return first < 0x20 || (first >= 0x7F && first < 0xA0);
  return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, CharacterBytes(text));
    if (IsControl(character)) {
      printable += '?';
    } else {
      printable += character;
    }
    text.remove_prefix(character.size());
  }
  return printable;
}

std::string PlainText(std::string_view text) {
  std::string plain(text);
  for (char& c : plain) c = c >= ' ' && c <= '~' ? c : '?';
  return plain;
}

}  // namespace zeltra

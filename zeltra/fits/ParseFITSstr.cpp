// SPDX-License-Identifier: MIT
#include "zeltra/fits/ParseFITSstr.h"

#include <charconv>
#include <limits>

#include "zeltra/core/Text.h"
#include "zeltra/fits/FITSCards.h"

namespace zeltra {
namespace {

constexpr size_t kValueStart = 9;  // the blank after "="

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// What atoi and atof skip: white space and a plus sign, which from_chars does not take.
std::string_view NumberIn(const std::string& text) {
  std::string_view number = text;
  number.remove_prefix(std::min(number.find_first_not_of(" \t\n\v\f\r"), number.size()));
  const bool isSigned = number.size() > 1 && number[0] == '+' && number[1] != '-';
  return isSigned ? number.substr(1) : number;
}

// A number beyond the range of int becomes the nearest int, so that all systems read the same.
int ToInt(const std::string& text) {
  const std::string_view number = NumberIn(text);
  int value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  return number[0] == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

}  // namespace

void ParseFITSstr::Parse(const std::string& card) {
  const std::string_view text = card;
  isString_ = 0;
  number_ = -1;

  const std::string_view keyword = text.substr(0, kFITSKeyword);
  const size_t keyEnd = keyword.find_last_not_of(' ') + 1;
  size_t digits = keyEnd;
  while (digits > 0 && IsDigit(keyword[digits - 1])) --digits;
  if (digits < keyEnd) std::from_chars(keyword.data() + digits, keyword.data() + keyEnd, number_);
  key_.assign(keyword.substr(0, digits));
  hash_ = Hash(key_);

  // The first " /". Cards are full of blanks, so the slash is looked for.
  size_t slash = text.find('/', 1);
  while (slash < text.size() && text[slash - 1] != ' ') slash = text.find('/', slash + 1);
  const size_t valueEnd = slash < text.size() ? slash - 1 : text.size();
  value_.assign(valueEnd > kValueStart ? text.substr(kValueStart, valueEnd - kValueStart) : std::string_view());
  for (char& c : value_) {
    if (c == '\'') {
      c = ' ';
      isString_ = 1;
    } else if (c == '/') {
      c = '-';
    }
  }
  value_.erase(value_.find_last_not_of(' ') + 1);
  value_.erase(0, value_.find_first_not_of(' '));
}

double ParseFITSstr::dPar() const {
  return ParseNumber(value_);
}

int ParseFITSstr::iPar() const {
  return ToInt(value_);
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/core/JSON.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zeltra/core/UTF8Internal.h"

namespace zeltra {
namespace {

void AppendEscape(unsigned code, std::string& to) {
  char escape[16];
  if (code >= 0x10000) {
    std::snprintf(escape, sizeof escape, "\\u%04x\\u%04x", 0xD7C0 + (code >> 10), 0xDC00 + (code & 0x3FF));
  } else {
    std::snprintf(escape, sizeof escape, "\\u%04x", code);
  }
  to += escape;
}

}  // namespace

std::string JSONString(std::string_view text) {
  constexpr char kLetters[] = "\"\\\b\f\n\r\t", kEscapes[] = "\"\\bfnrt";
  std::string quoted = "\"";
  while (!text.empty()) {
    const unsigned code = TakeCharacter(text);
    const auto character = static_cast<char>(code < 0x7F ? code : 0);
    if (const char* letter = character == 0 ? nullptr : std::strchr(kLetters, character)) {
      (quoted += '\\') += kEscapes[letter - kLetters];
    } else if (character >= ' ') {
      quoted += character;
    } else {
      AppendEscape(code, quoted);
    }
  }
  return quoted + '"';
}

void AJSONWriter::Key(std::string_view name) {
  NewElement();
  text_.append(JSONString(name)).append(": ");
  hasKey_ = true;
}

void AJSONWriter::Value(double value) {
  if (!std::isfinite(value)) return Value(nullptr);
  if (value == 0) return Put(std::signbit(value) ? "-0.0" : "0.0");
  char scientific[32];
  *std::to_chars(scientific, scientific + sizeof scientific, std::fabs(value), std::chars_format::scientific).ptr = 0;
  const std::string_view number = scientific;
  const size_t e = number.find('e');
  std::string digits(number.substr(0, e));
  if (digits.size() > 1) digits.erase(1, 1);
  const int point = std::atoi(scientific + e + 1) + 1;  // digits before the point
  const size_t count = digits.size(), before = static_cast<size_t>(std::max(point, 0));
  std::string text;
  if (value < 0) text += '-';
  if (point > 15 || point <= -4) {
    char exponent[16];
    std::snprintf(exponent, sizeof exponent, "e%+03d", point - 1);
    text.append(number.substr(0, e)).append(exponent);
  } else if (point <= 0) {
    text.append("0.").append(static_cast<size_t>(-point), '0').append(digits);
  } else if (before < count) {
    text.append(digits, 0, before).append(".").append(digits, before);
  } else {
    text.append(digits).append(before - count, '0').append(".0");
  }
  Put(text);
}

void AJSONWriter::Begin(char bracket) {
  NewElement();
  text_ += bracket;
  ++level_;
  isEmpty_ = true;
}

void AJSONWriter::End(char bracket) {
  --level_;
  if (!isEmpty_) NewLine();
  text_ += bracket;
  isEmpty_ = false;
}

void AJSONWriter::Put(std::string_view value) {
  NewElement();
  text_ += value;
}

// Write what precedes an element. After its key that is nothing.
void AJSONWriter::NewElement() {
  const bool isNamed = hasKey_;
  hasKey_ = false;
  if (isNamed || level_ == 0) return;
  if (!isEmpty_) text_ += ',';
  NewLine();
  isEmpty_ = false;
}

void AJSONWriter::NewLine() {
  text_.append("\n").append(static_cast<size_t>(2 * level_), ' ');
}

}  // namespace zeltra

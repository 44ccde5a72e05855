// SPDX-License-Identifier: MIT
#include "zeltra/fits/FITSCards.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace zeltra {
namespace {

// Offsets in the card, one less than the columns that FITS counts.
constexpr size_t kEquals = 8;
constexpr size_t kValue = 10;
constexpr size_t kNumberEnd = 30;
constexpr size_t kComment = 31;
constexpr size_t kShortestText = 8;

// `text` with quotes doubled, as far as it fits between two quotes of a card.
std::string QuotableText(const std::string& text) {
  constexpr size_t kRoom = kFITSCard - kValue - 2;
  std::string quoted;
  for (const char c : text) {
    const size_t width = c == '\'' ? 2 : 1;
    if (quoted.size() + width > kRoom) break;
    quoted.append(width, c);
  }
  return quoted;
}

}  // namespace

void FormatCard(char* buffer, const std::string& keyword, const std::string& value, int numeric) {
  std::memset(buffer, ' ', kFITSCard);
  buffer[kEquals] = '=';
  buffer[kComment] = '/';
  keyword.copy(buffer, kFITSKeyword);
  if (numeric) {
    const size_t start = value.size() > kNumberEnd - kValue ? kValue : kNumberEnd - value.size();
    value.copy(buffer + start, kFITSCard - start);
    return;
  }
  const std::string text = QuotableText(value);
  buffer[kValue] = '\'';
  text.copy(buffer + kValue + 1, text.size());
  buffer[kValue + 1 + std::max(text.size(), kShortestText)] = '\'';
}

void FormatHistoryCard(char* buffer, const std::string& text) {
  std::memset(buffer, ' ', kFITSCard);
  std::memcpy(buffer, "HISTORY", 7);
  text.copy(buffer + kValue, kFITSCard - kValue);
}

std::string FixExponent(const std::string& text) {
  const size_t mark = text.find('E');
  if (mark == std::string::npos || text.size() < mark + 4) return text;
  return text.substr(0, mark + 2) + text.substr(text.size() - 2);
}

std::string FormatCardDate(std::time_t moment) {
  using namespace std::chrono;
  const year_month_day date{floor<days>(system_clock::from_time_t(moment))};
  char text[32];
  std::snprintf(text, sizeof text, "%02u/%02u/%02d", unsigned{date.day()}, unsigned{date.month()},
                int{date.year()} % 100);
  return text;
}

}  // namespace zeltra

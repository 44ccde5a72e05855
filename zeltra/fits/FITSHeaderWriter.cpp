// SPDX-License-Identifier: MIT
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "zeltra/core/Dates.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/fits/FITSHeaderWriterInternal.h"
#include "zeltra/fits/FITSTextInternal.h"

namespace zeltra {
namespace {

constexpr std::string_view kStructural[] = {"XTENSION", "BITPIX",  "PCOUNT", "GCOUNT",   "TFIELDS", "EXTNAME",
                                            "EXTVER",   "THEAP",   "NAXIS",  "CHECKSUM", "DATASUM", "COMMENT",
                                            "END",      "HISTORY", "",       "CONTINUE"};
/// Structural keywords that the number of an axis or a column follows.
constexpr std::string_view kStructuralSeries[] = {"NAXIS", "TTYPE", "TFORM", "TUNIT", "TDISP"};

bool IsDigits(std::string_view text) {
  return text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string InCapitals(const char* begin, const char* end) {
  std::string text(begin, end);
  std::replace(text.begin(), text.end(), 'e', 'E');
  return text;
}

}  // namespace

void FITSHeaderWriter::AddLogical(const std::string& key) {
  AddValue(key, kFITSTrue);
}

void FITSHeaderWriter::AddNumber(const std::string& key, double value) {
  if (!std::isfinite(value)) value = 0;
  char text[40];
  const char* end = std::to_chars(text, std::end(text), value, std::chars_format::scientific, 9).ptr;
  double back = 0;
  std::from_chars(text, end, back);
  if (back != value) end = std::to_chars(text, std::end(text), value, std::chars_format::scientific).ptr;
  AddValue(key, InCapitals(text, end));
}

void FITSHeaderWriter::AddRoundedNumber(const std::string& key, double value) {
  if (!std::isfinite(value)) value = 0;
  char text[40];
  AddValue(key, InCapitals(text, std::to_chars(text, std::end(text), value, std::chars_format::scientific, 12).ptr));
}

void FITSHeaderWriter::AddText(const std::string& key, const std::string& value) {
  Add(key, PrintableText(value), 0);
}

void FITSHeaderWriter::AddKnownText(const std::string& key, const std::string& value) {
  if (!value.empty()) AddText(key, value);
}

void FITSHeaderWriter::AddDay(const std::string& key, double julianDate) {
  if (!(julianDate > 0)) return;
  const ACalendarDate date = CalendarDate(julianDate);
  if (date.month < 1) return;
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
  AddText(key, text);
}

void FITSHeaderWriter::AddCard(const std::string& card) {
  PrintableText(card).copy(NewCard(), kFITSCard);
}

void FITSHeaderWriter::AddHistory(const std::string& text) {
  constexpr size_t kRoom = 70;
  const std::string printable = PrintableText(text);
  size_t begin = 0;
  do {
    FormatHistoryCard(NewCard(), printable.substr(begin, kRoom));
    begin += kRoom;
  } while (begin < printable.size());
}

int FITSHeaderWriter::Write(ABFile& file) {
  cards_ += "END";
  cards_.resize(static_cast<size_t>(WholeBlocks(static_cast<int64>(cards_.size()))), ' ');
  return WriteWhole(file, cards_.data(), static_cast<int64>(cards_.size()));
}

char* FITSHeaderWriter::NewCard() {
  cards_.append(kFITSCard, ' ');
  return &cards_[cards_.size() - kFITSCard];
}

void FITSHeaderWriter::Add(const std::string& key, const std::string& value, int numeric) {
  FormatCard(NewCard(), key, value, numeric);
}

bool IsStructuralKeyword(std::string_view key) {
  if (std::find(std::begin(kStructural), std::end(kStructural), key) != std::end(kStructural)) return true;
  return std::any_of(std::begin(kStructuralSeries), std::end(kStructuralSeries), [key](std::string_view series) {
    return key.substr(0, series.size()) == series && IsDigits(key.substr(series.size()));
  });
}

int PadFITSData(ABFile& file, int64 bytes) {
  const char zeros[kFITSBlock] = {};
  return WriteWhole(file, zeros, WholeBlocks(bytes) - bytes);
}

}  // namespace zeltra

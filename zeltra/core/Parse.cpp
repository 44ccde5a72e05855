// SPDX-License-Identifier: MIT
#include "zeltra/core/Parse.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <utility>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr char kBlanks[] = " \t\r\n";

AResult IsNo(std::string_view text, const std::string& what) {
  std::string sentence = "\"";
  return AResult::Fail(sentence.append(text).append("\" is not ").append(what));
}

std::string_view WithoutBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

size_t CountDigits(std::string_view text) {
  return std::min(text.find_first_not_of("0123456789"), text.size());
}

// Length of the decimal number, without sign and exponent, that `text` begins with; 0 if there is none.
size_t DecimalLength(std::string_view text) {
  const size_t whole = CountDigits(text);
  if (whole == text.size() || text[whole] != '.') return whole;
  const size_t fraction = CountDigits(text.substr(whole + 1));
  return whole + fraction == 0 ? 0 : whole + 1 + fraction;
}

std::string_view WithoutSign(std::string_view text) {
  return text.substr(!text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0);
}

bool IsNumber(std::string_view text) {
  std::string_view rest = WithoutSign(text);
  const size_t length = DecimalLength(rest);
  rest.remove_prefix(length);
  if (length == 0 || rest.empty()) return length > 0;
  const bool isExponent = std::string_view("eEdD").find(rest[0]) != rest.npos;
  const std::string_view exponent = WithoutSign(rest.substr(1));
  return isExponent && !exponent.empty() && CountDigits(exponent) == exponent.size();
}

template <typename Whole>
AResult ReadWhole(std::string_view text, Whole& value) {
  std::string_view digits = WithoutBlanks(text);
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  const char* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, value);
  if (digits.empty() || parsed.ptr != end) return IsNo(text, "a whole number");
  if (parsed.ec == std::errc()) return AResult::Ok();
  return parsed.ec == std::errc::result_out_of_range ? IsNo(text, "within the range of whole numbers allowed here")
                                                     : IsNo(text, "a whole number");
}

// Up to three fields, each followed by a mark: for each field, the characters that serve as its mark. Colons come only
// between fields.
struct SexagesimalForm {
  const char* marks[3];
  bool marksEnd;  // whether a mark follows the last field too
};
constexpr SexagesimalForm kColons = {{":", ":", ""}, false};
constexpr SexagesimalForm kHours = {{"h", "m", "s"}, true};
constexpr SexagesimalForm kDegrees = {{"d", "m'", "s\""}, true};

// Read fields of digits, the last of which may have decimals, in units of the first field.
// @param secondsEnd  limit that seconds must stay below
bool ReadSexagesimal(std::string_view text, const SexagesimalForm& form, double secondsEnd, double& value) {
  double unit = 1;
  value = 0;
  for (int i = 0; i < 3; ++i, unit *= 60) {
    const size_t length = DecimalLength(text);
    const std::string_view field = text.substr(0, length);
    const double number = ParseNumber(field);
    if (length == 0 || !std::isfinite(number) || (i > 0 && number >= (i == 1 ? 60 : secondsEnd))) return false;
    value += number / unit;
    text.remove_prefix(length);
    if (text.empty()) return i > 0 && !form.marksEnd;
    if (std::string_view(form.marks[i]).find(text[0]) == text.npos) return false;
    text.remove_prefix(1);
    if (text.empty()) return form.marksEnd;
    if (field.find('.') != field.npos) return false;
  }
  return false;
}

// A time of day, in days.
bool ReadTimeOfDay(std::string_view text, double& days) {
  const SexagesimalForm& form = text.find(':') != text.npos ? kColons : kHours;
  double hours = 0;
  if (!ReadSexagesimal(text, form, 61, hours) || ParseNumber(text) >= 24) return false;
  days = hours / 24;
  return true;
}

// A date, which a time of day may follow. @return false if `text` does not begin with a date or anything else follows
bool ReadDateAndTime(std::string_view text, double& julianDate) {
  const std::string date(text.substr(0, 10));
  const bool isDate = date.size() == 10 && date[4] == '-' && date[7] == '-';
  julianDate = isDate ? JulianDateOf(date) : 0;
  if (julianDate == 0) return false;
  text.remove_prefix(10);
  if (text.empty()) return true;
  if (text.back() == 'Z') text.remove_suffix(1);
  double days = 0;
  if (text.empty() || (text[0] != 'T' && text[0] != ' ') || !ReadTimeOfDay(text.substr(1), days)) return false;
  julianDate += days;
  return true;
}

// A time of day, prefixed by `+1/` if it is on the next day.
bool ReadRelativeTime(std::string_view text, double& days) {
  int day = 0;
  if (const size_t slash = text.find('/'); slash != text.npos) {
    const std::string_view number = text.substr(0, slash);
    if (number.empty() || number[0] != '+' || CountDigits(number.substr(1)) + 1 != number.size()) return false;
    if (!strToVal(number, day) || day > 3652059) return false;
    text.remove_prefix(slash + 1);
  }
  if (!ReadTimeOfDay(text, days)) return false;
  days += day;
  return true;
}

}  // namespace

AResult strToVal(std::string_view text, double& value) {
  return strToVal(text, {}, value);
}
AResult strToVal(std::string_view text, std::span<const ASuffix> suffixes, double& value) {
  std::string_view number = WithoutBlanks(text);
  double factor = 1;
  for (const ASuffix& suffix : suffixes) {
    if (!number.ends_with(suffix.text)) continue;
    number.remove_suffix(suffix.text.size());
    factor = suffix.factor;
    break;
  }
  if (!IsNumber(WithoutBlanks(number))) return IsNo(text, "a number");
  value = ParseNumber(WithoutBlanks(number)) * factor;
  return std::isfinite(value) ? AResult::Ok() : IsNo(text, "within the range of numbers");
}
AResult strToVal(std::string_view text, int& value) {
  return ReadWhole(text, value);
}
AResult strToVal(std::string_view text, std::uint64_t& value) {
  return ReadWhole(text, value);
}

bool IsSimpleFloatParse(std::string_view text) {
  const std::string_view digits = WithoutSign(WithoutBlanks(text));
  return !digits.empty() && DecimalLength(digits) == digits.size();
}

AResult strToList(std::string_view text, int first, std::vector<int>& numbers) {
  constexpr int kLargest = 1 << 24;
  const AResult refusal = IsNo(text, "a list of numbers from " + std::to_string(first) + " on, as in 2,4-7");
  numbers.clear();
  std::string_view rest = text;
  for (bool isLast = false; !isLast;) {
    const size_t comma = rest.find(',');
    isLast = comma == rest.npos;
    const std::string_view range = rest.substr(0, comma);
    const size_t hyphen = range.find('-');
    int low = 0, high = 0;
    if (!strToVal(range.substr(0, hyphen), low)) return refusal;
    if (hyphen == range.npos) high = low;
    if (hyphen != range.npos && !strToVal(range.substr(hyphen + 1), high)) return refusal;
    if (low < first || high < low || high > kLargest) return refusal;
    if (numbers.size() + static_cast<size_t>(high - low) >= kLargest) return refusal;
    for (int number = low; number <= high; ++number) numbers.push_back(number);
    if (!isLast) rest.remove_prefix(comma + 1);
  }
  return AResult::Ok();
}

AResult strToRange(std::string_view text, ARange& range) {
  range = ARange();
  const AResult refusal = IsNo(text, "a range like 250k,10M");
  const size_t comma = text.find(',');
  if (comma == text.npos) return refusal;
  const std::pair<std::string_view, double*> bounds[] = {{text.substr(0, comma), &range.least},
                                                         {text.substr(comma + 1), &range.greatest}};
  for (const auto& [word, bound] : bounds) {
    std::string_view number = WithoutBlanks(word);
    if (number.empty()) continue;
    constexpr std::string_view kSuffixes = "kMG";
    const size_t suffix = kSuffixes.find(number.back());
    if (suffix != kSuffixes.npos) number.remove_suffix(1);
    if (!strToVal(number, *bound)) return refusal;
    if (suffix != kSuffixes.npos) *bound *= std::pow(1e3, static_cast<double>(suffix + 1));
  }
  return range.least >= 0 && range.greatest >= range.least ? AResult::Ok() : refusal;
}

AResult strToTime(std::string_view text, ATime& time) {
  const std::string_view whole = WithoutBlanks(text);
  time = ATime();
  if (IsNumber(whole)) {
    time.value = ParseNumber(whole);
    if (time.value < 1e6) time.value += kModifiedZero;
  } else if (!ReadDateAndTime(whole, time.value)) {
    time.isRelative = ReadRelativeTime(whole, time.value);
    if (!time.isRelative) {
      return IsNo(text,
                  "a time like 2020-03-20T07:30:00, a Julian date or modified Julian date, or a time of day like 07:30 "
                  "on the first day or +1/07:30 on the next");
    }
  }
  if (time.isRelative || CalendarDate(time.value).year > 0) return AResult::Ok();
  return IsNo(text, "a date in the years 1 to 9999");
}

std::string timeToStr(const ATime& time) {
  if (!time.isRelative) return valToStr(time.value);
  const std::int64_t milliseconds = std::llround(time.value * kSecondsPerDay * 1000), seconds = milliseconds / 1000;
  char text[80];
  std::snprintf(text, sizeof text, "+%d/%02d:%02d:%02d.%03d", static_cast<int>(seconds / 86400),
                static_cast<int>(seconds / 3600 % 24), static_cast<int>(seconds / 60 % 60),
                static_cast<int>(seconds % 60), static_cast<int>(milliseconds % 1000));
  return text;
}

AResult strToTime(std::string_view text, double dateObs, double& julianDate) {
  ATime time;
  if (AResult result = strToTime(text, time); !result) return result;
  julianDate = time.JulianDate(dateObs);
  if (!time.isRelative || CalendarDate(dateObs).year > 0) return AResult::Ok();
  return IsNo(text, "a complete date, and there is no observation date to count from");
}

AResult strToAngle(std::string_view text, double& radians) {
  const std::string_view whole = WithoutBlanks(text);
  const std::string_view size = WithoutSign(whole);
  const bool isInHours = size.find('h') != size.npos;
  const SexagesimalForm& form = size.find(':') != size.npos ? kColons : isInHours ? kHours : kDegrees;
  double degrees = 0;
  // A d means degrees here, not an exponent.
  if (IsNumber(whole) && size.find_first_of("dD") == size.npos) {
    if (AResult result = strToVal(size, degrees); !result) return result;
  } else if (!ReadSexagesimal(size, form, 60, degrees)) {
    return IsNo(text, "an angle like 12:30:05.5, 12d30'05\", 12h30m or 12.5 (degrees)");
  }
  radians = (isInHours ? 15 : 1) * (whole[0] == '-' ? -degrees : degrees) * (std::numbers::pi / 180);
  return AResult::Ok();
}

AResult ALineParse(std::string_view line, std::vector<std::string>& words) {
  constexpr char kEnds[] = " \t\r\n,!#";
  words.clear();
  bool isOpen = false;  // whether a word must follow a comma
  for (;;) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty() || line[0] == '!' || line[0] == '#') break;
    size_t begin = 0, end = line.find_first_of(kEnds), after = end;
    if (line[0] == '"' || line[0] == '\'') {
      begin = 1;
      end = line.find(line[0], 1);
      if (end == line.npos) return AResult::Fail("a quote is not closed at " + std::string(line));
      after = end + 1;
      if (line.find_first_of(kEnds, after) != std::min(after, line.size()) && after < line.size()) {
        return AResult::Fail("text follows a closing quote at " + std::string(line));
      }
    }
    words.emplace_back(line.substr(begin, std::min(end, line.size()) - begin));
    line.remove_prefix(std::min(after, line.size()));
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    isOpen = !line.empty() && line[0] == ',';
    if (isOpen) line.remove_prefix(1);
  }
  if (isOpen) words.emplace_back();
  return AResult::Ok();
}

}  // namespace zeltra

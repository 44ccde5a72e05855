// SPDX-License-Identifier: MIT
#include "apps/zeltra/Dates.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "apps/zeltra/TablePrinter.h"
#include "zeltra/core/Dates.h"
#include "zeltra/platform/Types.h"

namespace zeltra::app {
namespace {

constexpr int64 kTenthsPerDay = 864000;

// `hh:mm:ss` and a fraction. The value is rounded first, as a whole number of the last digit's units, so that no field
// ever shows 60.
std::string Sexagesimal(double value, int digits) {
  const int64 unit = std::llround(std::pow(10, digits));
  const int64 units = std::llround(value * 3600 * static_cast<double>(unit));
  const int64 seconds = units / unit;
  char text[64];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld.%0*lld", static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60), digits,
                static_cast<long long>(units % unit));
  return text;
}

// `hh:mm`, `hh:mm:ss` or `hh:mm:ss.s` as a part of a day.
std::optional<double> ParseTimeOfDay(std::string_view text) {
  double fields[3] = {};
  const char* p = text.data();
  const char* end = p + text.size();
  for (int i = 0; i < 3; ++i) {
    const bool hasTwoDigits = end - p >= 2 && p[0] >= '0' && p[0] <= '9' && p[1] >= '0' && p[1] <= '9';
    if (!hasTwoDigits || (i < 2 && end - p > 2 && p[2] != ':')) return std::nullopt;
    const auto parsed = std::from_chars(p, i < 2 ? p + 2 : end, fields[i], std::chars_format::fixed);
    p = parsed.ptr;
    if (p == end)
      return i == 0 || fields[0] > 23 || fields[1] > 59 || fields[2] >= 61
                 ? std::nullopt
                 : std::optional((fields[0] * 3600 + fields[1] * 60 + fields[2]) / 86400);
    if (i < 2) ++p;
  }
  return std::nullopt;
}

}  // namespace

std::string DateText(double jd) {
  const ACalendarDate date = CalendarDate(jd);
  if (date.year == 0) return {};
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
  return text;
}

std::string DateAndTime(double jd) {
  if (DateText(jd).empty()) return ReadableNumber(jd);
  const double midnight = std::floor(jd - 0.5) + 0.5;
  const int64 tenths = std::llround((jd - midnight) * static_cast<double>(kTenthsPerDay));
  const double day = midnight + static_cast<double>(tenths / kTenthsPerDay);
  return DateText(day) + " " + Sexagesimal(static_cast<double>(tenths % kTenthsPerDay) / 36000, 1);
}

std::optional<double> ParseTime(const std::string& text) {
  const char* end = text.data() + text.size();
  double number = 0;
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec == std::errc() && parsed.ptr == end) {
    return CalendarDate(number).year > 0 ? std::optional(number) : std::nullopt;
  }
  std::string_view rest = text;
  const std::string date(rest.substr(0, 10));
  const double midnight = date.size() == 10 && date[4] == '-' && date[7] == '-' ? JulianDateOf(date) : 0;
  if (midnight == 0) return std::nullopt;
  rest.remove_prefix(10);
  if (rest.empty()) return midnight;
  if (rest.back() == 'Z') rest.remove_suffix(1);
  if (rest.empty() || (rest.front() != 'T' && rest.front() != ' ')) return std::nullopt;
  const std::optional<double> part = ParseTimeOfDay(rest.substr(1));
  return part ? std::optional(midnight + *part) : std::nullopt;
}

std::string DurationText(double seconds) {
  if (!(std::fabs(seconds) < 1e12)) return ReadableNumber(seconds) + " s";
  const int64 tenths = std::llround(std::fabs(seconds) * 10);
  const int64 minutes = tenths / 600;
  std::string text = seconds < 0 ? "-" : "";
  if (minutes >= 60) text += std::to_string(minutes / 60) + " h ";
  if (minutes > 0) text += std::to_string(minutes % 60) + " min ";
  return text + ReadableNumber(static_cast<double>(tenths % 600) / 10) + " s";
}

std::string RightAscensionText(double degrees) {
  if (!std::isfinite(degrees)) return ReadableNumber(degrees);
  const std::string text = Sexagesimal((degrees - 360 * std::floor(degrees / 360)) / 15, 5);
  return text.starts_with("24:") ? Sexagesimal(0, 5) : text;
}

std::string DeclinationText(double degrees) {
  if (!(std::fabs(degrees) <= 360)) return ReadableNumber(degrees);
  return std::string(degrees < 0 ? "-" : "+").append(Sexagesimal(std::fabs(degrees), 4));
}

}  // namespace zeltra::app

// SPDX-License-Identifier: MIT
#include "zeltra/core/Dates.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "zeltra/core/Text.h"
#include "zeltra/platform/Types.h"

namespace zeltra {
namespace {

/// Julian date of 1970 January 1, 0 h (Explanatory Supplement to the Astronomical Almanac, 3rd ed., 2013,
/// section 15.1.10).
constexpr double kJulianDateOf1970 = 2440587.5;

struct Field {
  int value = 0;
  size_t digits = 0;  ///< 0 if the text is not a number
};

Field NumberOf(std::string_view text) {
  const std::string trimmed = Trimmed(text);
  Field field;
  const char* end = trimmed.data() + trimmed.size();
  const auto parsed = std::from_chars(trimmed.data(), end, field.value);
  if (parsed.ec == std::errc() && parsed.ptr == end && field.value >= 0) field.digits = trimmed.size();
  return field;
}

constexpr int64 kTenthsPerDay = 864000;

// `hh:mm:ss` and a fraction. The value is first rounded to a whole number of units of the last digit, so that no field
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

}  // namespace

double JulianDateOf(const std::string& text) {
  const std::string_view date = std::string_view(text).substr(0, text.find('T'));
  const size_t first = date.find_first_of("-/");
  if (first == std::string_view::npos) return 0;
  const size_t second = date.find_first_of("-/", first + 1);
  if (second == std::string_view::npos) return 0;

  std::array<Field, 3> fields = {NumberOf(date.substr(0, first)), NumberOf(date.substr(first + 1, second - first - 1)),
                                 NumberOf(date.substr(second + 1))};
  if (fields[0].digits < 3 && fields[2].digits == 2) {
    std::swap(fields[0], fields[2]);
    fields[0].value += 1900;
    fields[0].digits = 4;
  }
  for (size_t i = 0; i < 3; ++i) {
    if (fields[i].digits < 1 || fields[i].digits > (i == 0 ? 4u : 2u)) return 0;
  }
  if (fields[0].digits != 4) return 0;

  const std::chrono::year_month_day day(std::chrono::year(fields[0].value),
                                        std::chrono::month(static_cast<unsigned>(fields[1].value)),
                                        std::chrono::day(static_cast<unsigned>(fields[2].value)));
  if (!day.ok()) return 0;
  return kJulianDateOf1970 + static_cast<double>(std::chrono::sys_days(day).time_since_epoch().count());
}

double MidnightBefore(double jd) {
  return std::floor(jd - 0.5) + 0.5;
}

ACalendarDate CalendarDate(double jd) {
  constexpr double kFirst = 1721425.5, kEnd = 5373484.5;  // 0001-01-01 and 10000-01-01
  if (!(jd >= kFirst && jd < kEnd)) return {};
  const std::chrono::days days(static_cast<int>(std::floor(jd - kJulianDateOf1970)));
  const std::chrono::year_month_day day{std::chrono::sys_days(days)};
  return {static_cast<int>(day.year()), static_cast<int>(static_cast<unsigned>(day.month())),
          static_cast<int>(static_cast<unsigned>(day.day()))};
}

std::string DateText(double jd) {
  const ACalendarDate date = CalendarDate(jd);
  if (date.year == 0) return {};
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
  return text;
}

std::string DateAndTime(double jd) {
  if (DateText(jd).empty()) return ReadableNumber(jd);
  const double midnight = MidnightBefore(jd);
  const int64 tenths = std::llround((jd - midnight) * static_cast<double>(kTenthsPerDay));
  const double day = midnight + static_cast<double>(tenths / kTenthsPerDay);
  return DateText(day) + " " + Sexagesimal(static_cast<double>(tenths % kTenthsPerDay) / 36000, 1);
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
  const double rest = std::fmod(degrees, 360);
  const std::string text = Sexagesimal((rest < 0 ? rest + 360 : rest) / 15, 5);
  return text.starts_with("24:") ? Sexagesimal(0, 5) : text;
}

std::string DeclinationText(double degrees) {
  if (!(std::fabs(degrees) <= 360)) return ReadableNumber(degrees);
  return std::string(degrees < 0 ? "-" : "+").append(Sexagesimal(std::fabs(degrees), 4));
}

}  // namespace zeltra

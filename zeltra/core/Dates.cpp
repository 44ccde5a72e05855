// SPDX-License-Identifier: MIT
#include "zeltra/core/Dates.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <string_view>

#include "zeltra/core/Text.h"

namespace zeltra {
namespace {

/// Julian date of 1970 January 1, 0 h (Explanatory Supplement to the Astronomical Almanac, 3rd ed., 2013,
/// section 15.1.10).
constexpr double kJulianDateOf1970 = 2440587.5;

struct Field {
  int value = 0;
  size_t digits = 0;  ///< 0 if the text is no number
};

Field NumberOf(std::string_view text) {
  const std::string trimmed = Trimmed(text);
  Field field;
  const char* end = trimmed.data() + trimmed.size();
  const auto parsed = std::from_chars(trimmed.data(), end, field.value);
  if (parsed.ec == std::errc() && parsed.ptr == end && field.value >= 0) field.digits = trimmed.size();
  return field;
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

}  // namespace zeltra

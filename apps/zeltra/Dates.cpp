// SPDX-License-Identifier: MIT
#include "apps/zeltra/Dates.h"

#include <cmath>
#include <cstdio>

#include "apps/zeltra/TablePrinter.h"
#include "zeltra/core/JulianDate.h"
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

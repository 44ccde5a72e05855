// Converts text that users write into values.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_PARSE_H_
#define ZELTRA_CORE_PARSE_H_

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

// Each function reads the whole text, ignoring blanks around it, and fails with one sentence if part of it is left
// over; the value is then undefined. None depends on the locale.

/// Read a finite decimal number; E or D marks an exponent. Numbers too small for a double are 0.
ZELTRA_API AResult strToVal(std::string_view text, double& value);
/// Read a whole number.
ZELTRA_API AResult strToVal(std::string_view text, int& value);
ZELTRA_API AResult strToVal(std::string_view text, std::uint64_t& value);

/// A suffix of a number, and the factor it stands for.
struct ASuffix {
  std::string_view text;
  double factor;
};
inline constexpr ASuffix kThousands[] = {{"k", 1e3}, {"M", 1e6}, {"G", 1e9}};

/// Read a finite decimal number, which one of `suffixes` may follow.
ZELTRA_API AResult strToVal(std::string_view text, std::span<const ASuffix> suffixes, double& value);

/// Whether `text` is a decimal number without an exponent: digits with at most one point, and perhaps a sign before
/// them.
ZELTRA_API bool IsSimpleFloatParse(std::string_view text);

/// Read a list of whole numbers, each at least `first`, and ranges of them, as in `0,4-7`, in the order given; at most
/// 2^24 numbers.
ZELTRA_API AResult strToList(std::string_view text, int first, std::vector<int>& numbers);

/// A range of distances, both bounds included.
struct ARange {
  double least = 0;
  double greatest = std::numeric_limits<double>::infinity();

  bool Holds(double value) const { return value >= least && value <= greatest; }
  bool IsLimited() const { return least > 0 || greatest < std::numeric_limits<double>::infinity(); }
};

/// Read a range of numbers of at least 0, as in `250k,10M`: k, M and G stand for 1e3, 1e6 and 1e9. An omitted bound, as
/// in `10M,`, sets no limit.
ZELTRA_API AResult strToRange(std::string_view text, ARange& range);

/// A time as the user gives it: a Julian date, or one relative to the date of an observation, which is known once the
/// file is open.
struct ATime {
  double value = 0;         ///< days: a Julian date, or relative to 0 h of the observation date
  bool isRelative = false;  ///< whether it is the latter

  ATime() = default;
  ATime(double julianDate) : value(julianDate) {}

  /// @param dateObs  Julian date of 0 h of the observation date
  double JulianDate(double dateObs) const { return isRelative ? dateObs + value : value; }
};

/// Read a time in the years 1 to 9999, in any time scale:
///   - `2020-03-20`, `2020-03-20T07:30`, `2020-03-20T07:30:00.5`; the T may be a blank, and a Z may end it;
///   - a number: a Julian date, or below 1e6 a modified Julian date (MJD);
///   - a time of day alone, on the observation's first day; `+1/07:30` is on the day after it.
/// Times of day are `07:30`, `07:30:00` or `7h30m0s`; the last field may have decimals, and seconds are below 61.
ZELTRA_API AResult strToTime(std::string_view text, ATime& time);
/// A text that strToTime reads back to the same time.
ZELTRA_API std::string timeToStr(const ATime& time);

/// Read a time and give its Julian date.
/// @param dateObs  Julian date of 0 h of the observation date, 0 if unknown: times of day alone then fail
ZELTRA_API AResult strToTime(std::string_view text, double dateObs, double& julianDate);

/// Read an angle, radians: `-00:30:05.5` is in degrees, arcminutes and arcseconds, as is `12d30'05"` or `12d30m5s`;
/// `12h30m5s` is in hours of 15 degrees; a number is in degrees, E marks its exponent. The last field may have
/// decimals; minutes and seconds are below 60.
ZELTRA_API AResult strToAngle(std::string_view text, double& radians);

/// Split a line at blanks and commas, up to a comment, which `!` or `#` begins. A word that begins with a single or
/// double quote extends to the next such quote. Every comma ends a word, even an empty one.
ZELTRA_API AResult ALineParse(std::string_view line, std::vector<std::string>& words);

}  // namespace zeltra

#endif  // ZELTRA_CORE_PARSE_H_

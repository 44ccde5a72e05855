// Texts that people write become values.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_PARSE_H_
#define ZELTRA_CORE_PARSE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

// Each function takes the whole text, without the blanks around it, and fails with one sentence where anything of it is
// left over; the value is undefined then. All are the same in every locale.

/// Read a finite decimal number; an exponent is marked by E or D. Numbers too small for a double are 0.
ZELTRA_API AResult strToVal(std::string_view text, double& value);
/// Read a whole number.
ZELTRA_API AResult strToVal(std::string_view text, int& value);
ZELTRA_API AResult strToVal(std::string_view text, std::uint64_t& value);

/// A text that may follow a number, and what it multiplies it by.
struct ASuffix {
  std::string_view text;
  double factor;
};
inline constexpr ASuffix kThousands[] = {{"k", 1e3}, {"M", 1e6}, {"G", 1e9}};

/// Read a finite decimal number that one of `suffixes` may follow.
ZELTRA_API AResult strToVal(std::string_view text, std::span<const ASuffix> suffixes, double& value);

/// Whether `text` is a decimal number without an exponent: digits with at most one point, a sign before them allowed.
ZELTRA_API bool IsSimpleFloatParse(std::string_view text);

/// Read whole numbers from `first` on and ranges of them, as in `0,4-7`, in the order of the text, at most 2^24.
ZELTRA_API AResult strToList(std::string_view text, int first, std::vector<int>& numbers);

/// A time as a person gives it: a Julian date, or one that counts from the date of an observation, which is known when
/// the file is open.
struct ATime {
  double value = 0;         ///< days: a Julian date, or relative to 0 h of the observation date
  bool isRelative = false;  ///< which of them

  ATime() = default;
  ATime(double julianDate) : value(julianDate) {}

  /// @param dateObs  Julian date of 0 h of the observation date
  double JulianDate(double dateObs) const { return isRelative ? dateObs + value : value; }
};

/// Read a time, in whatever time scale, in the years 1 to 9999:
///   - `2020-03-20`, `2020-03-20T07:30`, `2020-03-20T07:30:00.5`, a blank for the T and a Z at the end allowed;
///   - a number: a Julian date, or below 1e6 a modified one (MJD);
///   - a time of day alone, of the observation's first day; `+1/07:30` is one of the day after it.
/// Times of day are `07:30`, `07:30:00` or `7h30m0s`, with decimals at the last place, and seconds below 61.
ZELTRA_API AResult strToTime(std::string_view text, ATime& time);

/// Read a time and give its Julian date.
/// @param dateObs  Julian date of 0 h of the observation date, 0 if unknown: times of day alone are a failure then
ZELTRA_API AResult strToTime(std::string_view text, double dateObs, double& julianDate);

/// Read an angle, radians: `-00:30:05.5` in degrees, arcminutes and arcseconds, `12d30'05"` or `12d30m5s` the same,
/// `12h30m5s` in hours of 15 degrees, or a number of degrees, its exponent marked by E. Decimals stand at the last
/// place; minutes and seconds are below 60.
ZELTRA_API AResult strToAngle(std::string_view text, double& radians);

/// Split a line at blanks and commas, up to a comment that `!` or `#` begins. A word that begins with a quote, single
/// or double, ends at the next such quote and is kept together. A comma ends a word even where it is empty.
ZELTRA_API AResult ALineParse(std::string_view line, std::vector<std::string>& words);

}  // namespace zeltra

#endif  // ZELTRA_CORE_PARSE_H_

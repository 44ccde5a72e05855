// Julian dates and calendar dates; text for dates, times and sky positions.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_DATES_H_
#define ZELTRA_CORE_DATES_H_

#include <string>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Julian date of the modified Julian date 0.
inline constexpr double kModifiedZero = 2400000.5;

/// A date of the (proleptic) Gregorian calendar; all zero if there is none.
struct ACalendarDate {
  int year = 0;
  int month = 0;  ///< 1..12
  int day = 0;    ///< 1..31
};

/// Julian date, days, of 0 h of a date in a FITS file: `YYYY-MM-DD`, optionally followed by `T` and a time of day,
/// which is ignored, or `DD/MM/YY` in the years 1900 to 1999. `/` and `-` are interchangeable.
/// @return 0 if `text` is neither, or there is no such day
ZELTRA_API double JulianDateOf(const std::string& text);

/// The Julian date of 0 h of the day that a Julian date falls on.
ZELTRA_API double MidnightBefore(double jd);

/// The day that `jd` falls on, in the years 1 to 9999.
ZELTRA_API ACalendarDate CalendarDate(double jd);

/// `YYYY-MM-DD` of the day that `jd` falls on; empty outside the years 1 to 9999.
ZELTRA_API std::string DateText(double jd);

/// `YYYY-MM-DD hh:mm:ss.s` of a Julian date, in its own time system; the number itself outside the years 1 to 9999.
ZELTRA_API std::string DateAndTime(double jd);

/// A time span, as in `7 h 59 min 40 s`, to a tenth of a second.
ZELTRA_API std::string DurationText(double seconds);

/// Right ascension as `hh:mm:ss.sssss`. @param degrees  any angle, reduced to one turn
ZELTRA_API std::string RightAscensionText(double degrees);

/// Declination as `+dd:mm:ss.ssss`.
ZELTRA_API std::string DeclinationText(double degrees);

}  // namespace zeltra

#endif  // ZELTRA_CORE_DATES_H_

// Julian dates and calendar dates.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_DATES_H_
#define ZELTRA_CORE_DATES_H_

#include <string>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// A date of the (proleptic) Gregorian calendar; all zero if there is none.
struct ACalendarDate {
  int year = 0;
  int month = 0;  ///< 1..12
  int day = 0;    ///< 1..31
};

/// Julian date, days, of 0 h of a date as FITS files write it: `YYYY-MM-DD`, also with a time of day behind a `T`,
/// which does not count, or `DD/MM/YY` of the years 1900 to 1999. `/` and `-` are the same.
/// @return 0 if `text` is none of these, or no such day exists
ZELTRA_API double JulianDateOf(const std::string& text);

/// 0 h of the day that a Julian date falls on, as a Julian date.
ZELTRA_API double MidnightBefore(double jd);

/// The day that `jd` falls on, for years 1 to 9999.
ZELTRA_API ACalendarDate CalendarDate(double jd);

}  // namespace zeltra

#endif  // ZELTRA_CORE_DATES_H_

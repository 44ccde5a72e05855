// Dates, times and angles as people read them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_DATES_H_
#define ZELTRA_APPS_DATES_H_

#include <optional>
#include <string>

namespace zeltra::app {

/// `YYYY-MM-DD` of the day that `jd` falls on; empty outside the years 1 to 9999.
std::string DateText(double jd);

/// `YYYY-MM-DD hh:mm:ss.s` of a Julian date, in its own time system; the number itself outside the years 1 to 9999.
std::string DateAndTime(double jd);

/// Read a time, UTC: a Julian date, or ISO 8601 text as `YYYY-MM-DD`, `YYYY-MM-DDThh:mm`, `YYYY-MM-DDThh:mm:ss.s`, a
/// blank for the T and a Z at the end allowed.
/// @return the Julian date; none for other text, and outside the years 1 to 9999
std::optional<double> ParseTime(const std::string& text);

/// A time span, as in `7 h 59 min 40 s`, to a tenth of a second.
std::string DurationText(double seconds);

/// Right ascension as `hh:mm:ss.sssss`. @param degrees  any turn
std::string RightAscensionText(double degrees);

/// Declination as `+dd:mm:ss.ssss`.
std::string DeclinationText(double degrees);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_DATES_H_

// Angles in convenient units.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ANGLEUNIT_H_
#define ZELTRA_CORE_ANGLEUNIT_H_

#include <string>

#include "zeltra/core/Parse.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

struct AngleUnit {
  const char* name;
  double radians;
};

/// The unit to use for an angle, or for several of which this is the largest: microarcsec, mas, arcsec, arcmin or
/// degrees.
ZELTRA_API AngleUnit AngleUnitFor(double radians);

/// An angle with its unit, as in "1.435 mas", with at most `digits` digits.
ZELTRA_API std::string AngleText(double radians, int digits = 4);

/// Suffixes of an angle; without one it is in milliarcseconds.
inline constexpr ASuffix kAngleSuffixes[] = {
    {"uas", 1e-3}, {"mas", 1}, {"arcsec", 1e3}, {"arcmin", 60e3}, {"deg", 3600e3}};

}  // namespace zeltra

#endif  // ZELTRA_CORE_ANGLEUNIT_H_

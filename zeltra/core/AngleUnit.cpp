// SPDX-License-Identifier: MIT
#include "zeltra/core/AngleUnit.h"

#include <cmath>

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra {

AngleUnit AngleUnitFor(double radians) {
  const double arcseconds = std::fabs(radians) / kRadiansPerArcsecond;
  // A unit is used down to a tenth of it, so milliarcseconds extend up to a tenth of an arcsecond.
  if (arcseconds < 0.1e-3) return {"microarcsec", 1e-6 * kRadiansPerArcsecond};
  if (arcseconds < 0.1) return {"mas", kRadiansPerMas};
  if (arcseconds < 60) return {"arcsec", kRadiansPerArcsecond};
  if (arcseconds < 3600) return {"arcmin", 60 * kRadiansPerArcsecond};
  return {"degrees", kRadiansPerDegree};
}

std::string AngleText(double radians, int digits) {
  const AngleUnit unit = AngleUnitFor(radians);
  const std::string number = RoundedNumber(radians / unit.radians, digits);
  return number + " " + (number == "1" && unit.radians == kRadiansPerDegree ? "degree" : unit.name);
}

}  // namespace zeltra

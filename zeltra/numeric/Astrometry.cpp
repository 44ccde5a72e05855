// SPDX-License-Identifier: MIT
#include "zeltra/numeric/Astrometry.h"

#include <algorithm>
#include <cmath>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr double kJ2000 = 2451545.0;         // Julian dates
constexpr double kB1950 = 2433282.42345905;  // the Besselian epoch
constexpr double kDaysPerCentury = 36525.0;

}  // namespace

double SiderealTime(double julianDate) {
  const double midnight = MidnightBefore(julianDate);
  const double t = (midnight - kJ2000) / kDaysPerCentury;
  const double atMidnight = 24110.54841 + t * (8640184.812866 + t * (0.093104 - t * 6.2e-6));
  const double seconds = atMidnight + (julianDate - midnight) * kSecondsPerDay * kSiderealDaysPerDay;
  const double ofDay = std::fmod(seconds, kSecondsPerDay);
  return (ofDay < 0 ? ofDay + kSecondsPerDay : ofDay) * (kTwoPi / kSecondsPerDay);
}

UVWProjection::UVWProjection(double hourAngle, double dec)
    : sinH_(std::sin(hourAngle)), cosH_(std::cos(hourAngle)), sinD_(std::sin(dec)), cosD_(std::cos(dec)) {}

AVector UVWProjection::operator()(const AVector& p) const {
  const double toMeridian = cosH_ * p.x - sinH_ * p.y;
  return {sinH_ * p.x + cosH_ * p.y, cosD_ * p.z - sinD_ * toMeridian, sinD_ * p.z + cosD_ * toMeridian};
}

double JulianDateOfEquinox(double years) {
  return years == 1950 ? kB1950 : kJ2000 + (years - 2000) * kDaysPerCentury / 100;
}

ASkyPosition Precessed(const ASkyPosition& position, double from, double to) {
  const double T = (from - kJ2000) / kDaysPerCentury;
  const double t = (to - from) / kDaysPerCentury;
  const double linear = (2306.2181 + (1.39656 - 0.000139 * T) * T) * t;
  const double zeta = (linear + (0.30188 - 0.000344 * T) * t * t + 0.017998 * t * t * t) * kRadiansPerArcsecond;
  const double z = (linear + (1.09468 + 0.000066 * T) * t * t + 0.018203 * t * t * t) * kRadiansPerArcsecond;
  const double theta =
      ((2004.3109 - (0.85330 + 0.000217 * T) * T) * t - (0.42665 + 0.000217 * T) * t * t - 0.041833 * t * t * t) *
      kRadiansPerArcsecond;
  const double ra = position.ra + zeta;
  const double dec = position.dec;
  const double x = std::cos(theta) * std::cos(dec) * std::cos(ra) - std::sin(theta) * std::sin(dec);
  const double y = std::cos(dec) * std::sin(ra);
  const double sine = std::sin(theta) * std::cos(dec) * std::cos(ra) + std::cos(theta) * std::sin(dec);
  return {std::atan2(y, x) + z, std::asin(std::clamp(sine, -1.0, 1.0))};
}

}  // namespace zeltra

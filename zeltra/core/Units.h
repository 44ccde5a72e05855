// Units of time and angle, and the speed of light.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_UNITS_H_
#define ZELTRA_CORE_UNITS_H_

#include <numbers>

namespace zeltra {

inline constexpr double kSecondsPerDay = 86400;
inline constexpr double kSpeedOfLight = 299792458;  ///< m/s, by definition
inline constexpr double kPi = std::numbers::pi;
inline constexpr double kTwoPi = 2 * kPi;
inline constexpr double kRadiansPerDegree = kPi / 180;
inline constexpr double kDegreesPerRadian = 180 / kPi;
inline constexpr double kRadiansPerArcsecond = kRadiansPerDegree / 3600;
inline constexpr double kRadiansPerMas = kPi / (180 * 3600e3);

}  // namespace zeltra

#endif  // ZELTRA_CORE_UNITS_H_

// SPDX-License-Identifier: MIT
#include "zeltra/readers/CalculateUVW.h"

#include <cmath>

#include "zeltra/core/Units.h"
#include "zeltra/numeric/Astrometry.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXSources.h"

namespace zeltra {
namespace {

constexpr double kJ2000 = 2451545.0;                        // Julian date
constexpr double kCenturiesPerDay = 2.7378507871321012e-5;  // reciprocal of 36525
constexpr double kTurnPerDay = 6.300387731018544;           // of the Earth, radians per day of universal time
constexpr double kSecondsPerMetre = 3.3356404846685622e-9;  // reciprocal of the rounded speed of light

// Mean sidereal time at Greenwich of a Julian date, radians: that of 0 h, plus the rotation since. The constants are
// part of the definition: those of 0 h are rounded, and a day has 1 + 1/365.25 turns, 4e-7 radians less than in
// SiderealTime. With exact constants the results would differ from those that hosts have stored.
double DefinedSiderealTime(double date) {
  const double day = std::trunc(date);
  const double midnight = date - day >= 0.5 ? day + 0.5 : day - 0.5;
  const double T = (midnight - kJ2000) * kCenturiesPerDay;
  double atMidnight = std::fmod((6.763150851478026e-6 * T + 628.3319704804195) * T + 1.7533686748613282, kTwoPi);
  if (atMidnight < 0) atMidnight += kTwoPi;
  return atMidnight + (date - midnight) * kTurnPerDay;
}

AVector Position(const AUVXAntenns& antennas, int index, int rotate) {
  const AUVXTlscItem& antenna = antennas(index);
  const AVector p = {antennas.ArrayX() + antenna.x, antennas.ArrayY() + antenna.y, antennas.ArrayZ() + antenna.z};
  if (!rotate) return p;
  const double longitude = std::atan2(antennas.ArrayY(), antennas.ArrayX());
  const double c = std::cos(longitude);
  const double s = std::sin(longitude);
  // The sign of the second component is part of the definition.
  return {c * p.x - s * p.y, -s * p.x - c * p.y, p.z};
}

}  // namespace

void CalculateUVW(AUVXGroup& group, const AUVXAntenns& antennas, int index1, int index2, const AUVXSourceItem& source,
                  int rotate) {
  const auto held = [&](int index) { return index >= 0 && index < antennas.count(); };
  if (!held(index1) || !held(index2)) return;

  const double S = DefinedSiderealTime(group.uvTime());
  const AVector first = Position(antennas, index1, rotate);
  const AVector second = Position(antennas, index2, rotate);
  const double dx = first.x - second.x;
  const double dy = first.y - second.y;
  // The order of the steps is part of the definition too: UVWProjection differs in the last bits. Positions are
  // left-handed here: y points to 90 degrees west.
  const double Bx = dx * std::cos(S) + dy * std::sin(S);
  const double By = dx * std::sin(S) - dy * std::cos(S);
  const double Bz = first.z - second.z;

  const double ra = source.raApp * kPi / 180.0;
  const double dec = source.decApp * kPi / 180.0;
  const double along = std::sin(ra) * By + std::cos(ra) * Bx;
  group.uu = static_cast<float>(kSecondsPerMetre * (std::cos(ra) * By - std::sin(ra) * Bx));
  group.vv = static_cast<float>(kSecondsPerMetre * (std::cos(dec) * Bz - std::sin(dec) * along));
  group.ww = static_cast<float>(kSecondsPerMetre * (std::cos(dec) * along + std::sin(dec) * Bz));
}

}  // namespace zeltra

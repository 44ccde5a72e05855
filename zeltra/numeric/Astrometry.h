// The orientation of the sky over an array: sidereal time, projected positions, precession.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_ASTROMETRY_H_
#define ZELTRA_NUMERIC_ASTROMETRY_H_

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Rotations of the Earth relative to the stars in a day of universal time (Aoki et al. 1982, A&A 105, 359).
inline constexpr double kSiderealDaysPerDay = 1.002737909350795;

struct AVector {
  double x, y, z;
};

/// A direction in equatorial coordinates, radians.
struct ASkyPosition {
  double ra, dec;
};

/// Greenwich mean sidereal time, 0 to 2 pi radians (Aoki et al. 1982, A&A 105, 359), at a Julian date in UT1, in
/// whose place UTC is used.
ZELTRA_API double SiderealTime(double julianDate);

/// Converts positions on the Earth to u, v, w for a source: eq. 4.1 of Thompson, Moran & Swenson, "Interferometry and
/// Synthesis in Radio Astronomy", with the hour angle at Greenwich.
class ZELTRA_API UVWProjection {
 public:
  /// @param hourAngle  of the source at Greenwich, radians
  /// @param dec        apparent declination, radians
  UVWProjection(double hourAngle, double dec);

  /// @param p  geocentric and right-handed: x towards Greenwich, z towards the north pole
  /// @return u, v, w in the unit of `p`
  AVector operator()(const AVector& p) const;

 private:
  double sinH_, cosH_, sinD_, cosD_;
};

/// Julian date of an equinox in years; 1950 means the Besselian epoch of the FK4, all others are Julian.
ZELTRA_API double JulianDateOfEquinox(double years);

/// Precess a direction from the mean equator and equinox of one Julian date to those of another (Lieske et al. 1977,
/// A&A 58, 1, table 5).
ZELTRA_API ASkyPosition Precessed(const ASkyPosition& position, double from, double to);

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_ASTROMETRY_H_

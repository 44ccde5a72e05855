// SPDX-License-Identifier: MIT
#include "zeltra/numeric/Astrometry.h"

#include "tests/support/Test.h"
#include "zeltra/core/Units.h"

namespace zeltra::test {
namespace {

// Meeus, Astronomical Algorithms, examples 12.a and 12.b, whose constants have fewer digits.
TEST(Astrometry, GivesTheSiderealTimeOfTheLiterature) {
  EXPECT_NEAR(SiderealTime(2446895.5) * kDegreesPerRadian, 197.693195, 5e-7);
  EXPECT_NEAR(SiderealTime(2446896.30625) * kDegreesPerRadian, 128.7378734, 5e-7);
}

// Example 21.b of the same book: theta Persei, its proper motion added, from J2000 to 2028 November 13.19.
TEST(Astrometry, PrecessesAsTheLiteratureDoes) {
  const ASkyPosition date =
      Precessed({41.054063 * kRadiansPerDegree, 49.227750 * kRadiansPerDegree}, JulianDateOfEquinox(2000), 2462088.69);
  EXPECT_NEAR(date.ra * kDegreesPerRadian, 41.547214, 1.5e-6);
  EXPECT_NEAR(date.dec * kDegreesPerRadian, 49.348483, 1.5e-6);
}

// Three hours west of Greenwich at 30 degrees north.
TEST(Astrometry, ProjectsPositionsOnTheSource) {
  const AVector uvw = UVWProjection(kPi / 4, kPi / 6)({1, 3, 2});
  const double half = 0.7071067811865476;
  EXPECT_NEAR(uvw.x, half * 4, 1e-15);
  EXPECT_NEAR(uvw.y, 0.8660254037844386 * 2 + 0.5 * half * 2, 1e-15);
  EXPECT_NEAR(uvw.z, 0.5 * 2 - 0.8660254037844386 * half * 2, 1e-15);
}

}  // namespace
}  // namespace zeltra::test

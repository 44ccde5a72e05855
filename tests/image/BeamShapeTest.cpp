// SPDX-License-Identifier: MIT
#include "zeltra/image/BeamShape.h"

#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

TEST(BeamSums, GiveTheCurvatureOfTheBeamAndItsNoise) {
  // Two baselines, 3e8 wavelengths along the minor axis and 1e8 along the major one, with weights 2 and 1.
  for (const double degrees : {-60.0, 0.0, 35.0, 90.0}) {
    const double angle = degrees * std::numbers::pi / 180;
    BeamSums sums;
    sums.Add(3e8 * std::cos(angle), -3e8 * std::sin(angle), 2, 8);
    sums.Add(-1e8 * std::sin(angle), -1e8 * std::cos(angle), 1, 4);
    const ABeamShape shape = sums.Shape();
    // Near 0 cos(2 pi x) is 1 - 2 pi^2 x^2, and a Gaussian of width b is 1 - 4 ln 2 (x / b)^2.
    const double width = std::sqrt(2 * std::numbers::ln2) / std::numbers::pi;
    EXPECT_NEAR(shape.major, width / 1e8 / std::sqrt(1.0 / 3), 1e-15);
    EXPECT_NEAR(shape.minor, width / 3e8 / std::sqrt(2.0 / 3), 1e-15);
    EXPECT_NEAR(std::remainder(shape.angle - degrees, 180), 0, 1e-9);
    EXPECT_NEAR(sums.Noise(), std::sqrt(4.0 / 8 + 1.0 / 4) / 3, 1e-15);
  }
}

TEST(BeamSums, GiveNoBeamOfOneLineAndACircleOfACross) {
  BeamSums line;
  EXPECT_EQ(line.Shape().major, 0);
  for (int i = 0; i < 100; ++i) line.Add(0.3F * static_cast<float>(i), 0.1F * static_cast<float>(i), 1 + i % 3, 1);
  EXPECT_EQ(line.Shape().major, 0);
  BeamSums cross;
  cross.Add(5, 0, 1, 1);
  cross.Add(0, 5, 1, 1);
  EXPECT_EQ(cross.Shape().major, cross.Shape().minor);
  EXPECT_EQ(cross.Shape().angle, 0);
}

}  // namespace
}  // namespace zeltra::test

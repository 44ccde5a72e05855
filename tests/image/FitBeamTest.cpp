// SPDX-License-Identifier: MIT
#include "zeltra/image/FitBeam.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace zeltra {
namespace {

constexpr int kSize = 64;
constexpr double kCell = 0.25;

// A Gaussian of these full widths at half maximum, in cells, whose major axis points `degrees` from north to east.
AMatrix<float> Gaussian(double major, double minor, double degrees, float peak = 1) {
  AMatrix<float> beam(kSize, kSize);
  const double angle = degrees * std::numbers::pi / 180, k = 4 * std::numbers::ln2;
  for (int i = 0; i < kSize; ++i) {
    for (int j = 0; j < kSize; ++j) {
      const double north = i - kSize / 2, east = kSize / 2 - j;
      const double along = east * std::sin(angle) + north * std::cos(angle);
      const double across = east * std::cos(angle) - north * std::sin(angle);
      beam(i, j) =
          peak * static_cast<float>(std::exp(-k * (along * along / major / major + across * across / minor / minor)));
    }
  }
  return beam;
}

TEST(FitBeam, FindsAxesAndPositionAngle) {
  for (const double degrees : {-60.0, -10.0, 0.0, 35.0, 80.0}) {
    const ABeamShape shape = FitBeam(Gaussian(12, 5, degrees), kCell);
    EXPECT_NEAR(shape.major, 12 * kCell, 1e-5);
    EXPECT_NEAR(shape.minor, 5 * kCell, 1e-5);
    EXPECT_NEAR(shape.angle, degrees, 1e-4);
  }
  const ABeamShape round = FitBeam(Gaussian(6, 6, 0, 0.5F), kCell);
  EXPECT_NEAR(round.major, 6 * kCell, 1e-5);
  EXPECT_NEAR(round.minor, 6 * kCell, 1e-5);
}

TEST(FitBeam, LooksAtTheMainLobeOnly) {
  AMatrix<float> beam = Gaussian(8, 4, 20);
  for (int j = 0; j < kSize; ++j) beam(2, j) = 0.9F;  // a side lobe
  EXPECT_NEAR(FitBeam(beam, 1).major, 8, 1e-4);
}

TEST(FitBeam, FitsNothingWhereThereIsNoLobe) {
  EXPECT_EQ(FitBeam(AMatrix<float>(), 1).major, 0);
  EXPECT_EQ(FitBeam(AMatrix<float>(kSize, kSize), 1).major, 0);
  EXPECT_EQ(FitBeam(Gaussian(1, 1, 0), 1).major, 0) << "a single pixel above half of the peak";
  AMatrix<float> flat(kSize, kSize), stripe(kSize, kSize);
  for (int i = 0; i < kSize * kSize; ++i) flat.Line(0)[i] = 1;
  EXPECT_EQ(FitBeam(flat, 1).major, 0);
  for (int j = 0; j < kSize; ++j) stripe(kSize / 2, j) = 1;
  EXPECT_EQ(FitBeam(stripe, 1).major, 0);
}

}  // namespace
}  // namespace zeltra

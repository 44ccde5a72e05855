// SPDX-License-Identifier: MIT
#include "zeltra/image/BeamShape.h"

#include <cmath>

#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

// The square of the smallest ratio of axes. The rounding of single-precision coordinates scatters points on a line by
// less.
constexpr double kLeastSquaredRatio = 1e-12;

}  // namespace

void BeamSums::Add(double u, double v, double weight, double inverseVariance) {
  sum_ += weight;
  uu_ += weight * u * u;
  vv_ += weight * v * v;
  uv_ += weight * u * v;
  variance_ += weight * weight / inverseVariance;
}

void BeamSums::Add(const BeamSums& other) {
  sum_ += other.sum_;
  uu_ += other.uu_;
  vv_ += other.vv_;
  uv_ += other.uv_;
  variance_ += other.variance_;
}

ABeamShape BeamSums::Shape() const {
  const double total = (uu_ + vv_) / sum_, difference = (uu_ - vv_) / sum_, mixed = 2 * uv_ / sum_;
  const double f = std::hypot(difference, mixed);
  if (!(total - f > kLeastSquaredRatio * (total + f))) return {};
  const double scale = 2 * std::sqrt(2 * std::log(2.0)) / kPi;
  // Adding 0 turns -0 into 0.
  const double angle = f > 0 ? -std::atan2(mixed, difference) / 2 * kDegreesPerRadian + 0.0 : 0.0;
  return {scale / std::sqrt(2 * (total - f)), scale / std::sqrt(2 * (total + f)), angle};
}

double BeamSums::Noise() const {
  return std::sqrt(variance_) / sum_;
}

}  // namespace zeltra

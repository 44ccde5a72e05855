// SPDX-License-Identifier: MIT
#include "zeltra/image/AEllipse.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zeltra {
namespace {

constexpr double kDegree = 0.017453292519943295;
constexpr double kFullTurn = 6.283185307179586;

// Truncates towards zero; a value outside the range of pixel numbers becomes the nearest one.
int ToPixel(double value) {
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

}  // namespace

void AEllipse::Draw(const CPoint& center, int a, int b, int angle, int n) {
  const double rotation = angle * 0.1 * kDegree;
  const double cr = std::cos(rotation);
  const double sr = std::sin(rotation);
  // n vertices make n - 1 sides, so that the last vertex falls on the first. A single vertex takes no step.
  const double step = kFullTurn / std::max(int64{n} - 1, int64{1});
  const double cs = std::cos(step);
  const double ss = std::sin(step);
  double c = 1;
  double s = 0;
  for (int i = 0; i < n; ++i) {
    const double u = a * c;
    const double v = b * s;
    Point(i, ToPixel(u * cr + center.x - v * sr), ToPixel(u * sr + center.y + v * cr));
    const double turned = c * cs - s * ss;
    s = c * ss + s * cs;
    c = turned;
  }
}

void AEllipse::Point(int, int, int) {}

}  // namespace zeltra

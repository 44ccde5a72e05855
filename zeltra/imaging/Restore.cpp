// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "zeltra/core/Units.h"
#include "zeltra/imaging/RestoreInternal.h"

namespace zeltra {
namespace {

// A Gaussian is followed down to exp(-kDepth) = 1e-9 of its peak.
constexpr double kDepth = 20.7;

// Covariance of a Gaussian, in squares of whatever unit its widths have.
struct Covariance {
  double xx = 0, yy = 0, xy = 0;  // x to the east, y to the north

  // @param angle  of the major axis from north through east, radians
  void Add(double major, double minor, double angle) {
    const double perWidth = 1 / (8 * std::log(2.0));  // of the square of a full width at half maximum
    const double a = major * major * perWidth, b = minor * minor * perWidth;
    const double sine = std::sin(angle), cosine = std::cos(angle);
    xx += a * sine * sine + b * cosine * cosine;
    yy += a * cosine * cosine + b * sine * sine;
    xy += (a - b) * sine * cosine;
  }
  double Determinant() const { return xx * yy - xy * xy; }
};

// Adds peak exp(-d^T C^-1 d / 2) to a map; C and the place are in pixels.
void AddGaussian(AMatrix<double>& map, double peak, double line, double element, const Covariance& c) {
  const double det = c.Determinant();
  const int size = map.Lines();
  const double height = std::sqrt(2 * kDepth * c.yy), width = std::sqrt(2 * kDepth * c.xx);
  const auto pixel = [size](double place) { return static_cast<int>(std::clamp<double>(place, -1, size)); };
  const int firstLine = std::max(pixel(std::ceil(line - height)), 0);
  const int lastLine = std::min(pixel(std::floor(line + height)), size - 1);
  const int first = std::max(pixel(std::ceil(element - width)), 0);
  const int last = std::min(pixel(std::floor(element + width)), size - 1);
  for (int i = firstLine; i <= lastLine; ++i) {
    const double north = i - line;
    double* pixels = map.Line(i);
    for (int j = first; j <= last; ++j) {
      const double east = element - j;
      const double depth = (c.yy * east * east - 2 * c.xy * east * north + c.xx * north * north) / (2 * det);
      if (depth < kDepth) pixels[j] += peak * std::exp(-depth);
    }
  }
}

}  // namespace

int Restore(const ComponentModel& model, const ABeamShape& beam, double cell, AMatrix<float>& map) {
  const int size = map.Lines(), center = size / 2;
  AMatrix<double> sum;
  if (!sum.reSize(size, size)) return 0;
  Covariance point;
  point.Add(beam.major / cell, beam.minor / cell, beam.angle * kRadiansPerDegree);
  for (const ModelComponent& component : model.components()) {
    Covariance shape = point;
    if (component.isGaussian) {
      shape.Add(component.major / cell, component.major * component.ratio / cell, component.angle);
    }
    const double peak = component.flux * std::sqrt(point.Determinant() / shape.Determinant());
    AddGaussian(sum, peak, center + component.y / cell, center - component.x / cell, shape);
  }
  for (int i = 0; i < size; ++i) {
    for (int j = 0; j < size; ++j) map(i, j) = static_cast<float>(map(i, j) + sum(i, j));
  }
  return 1;
}

}  // namespace zeltra

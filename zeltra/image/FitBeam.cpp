// SPDX-License-Identifier: MIT
#include "zeltra/image/FitBeam.h"

#include <cmath>
#include <utility>
#include <vector>

#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr size_t kFewestPixels = 5;

struct Offset {
  int east, north;  // cells from the centre
};

// The pixels above half of the peak that hang together with the centre, sideways or up and down.
std::vector<Offset> MainLobe(const AMatrix<float>& beam) {
  const int line0 = beam.Lines() / 2, element0 = beam.LineLength() / 2;
  const float half = beam(line0, element0) / 2;
  AMatrix<char> seen(beam.Lines(), beam.LineLength());
  std::vector<Offset> lobe;
  if (!(half > 0) || !seen.lpArray()) return lobe;
  const auto visit = [&](int east, int north) {
    const int i = line0 + north, j = element0 - east;
    if (i < 0 || i >= beam.Lines() || j < 0 || j >= beam.LineLength()) return;
    if (seen(i, j) || !(beam(i, j) > half)) return;
    seen(i, j) = 1;
    lobe.push_back({east, north});
  };
  visit(0, 0);
  for (size_t next = 0; next < lobe.size(); ++next) {
    const Offset at = lobe[next];
    visit(at.east + 1, at.north);
    visit(at.east - 1, at.north);
    visit(at.east, at.north + 1);
    visit(at.east, at.north - 1);
  }
  return lobe;
}

// Solve the three normal equations by elimination; they are positive definite unless all pixels lie on one line.
bool Solve(double (&a)[3][4], double (&x)[3]) {
  for (int k = 0; k < 3; ++k) {
    if (!(a[k][k] > 1e-12 * a[0][0])) return false;
    for (int i = k + 1; i < 3; ++i) {
      const double factor = a[i][k] / a[k][k];
      for (int j = k; j < 4; ++j) a[i][j] -= factor * a[k][j];
    }
  }
  for (int k = 2; k >= 0; --k) {
    x[k] = a[k][3];
    for (int j = k + 1; j < 3; ++j) x[k] -= a[k][j] * x[j];
    x[k] /= a[k][k];
  }
  return true;
}

}  // namespace

ABeamShape FitBeam(const AMatrix<float>& beam, double cell) {
  if (!beam.lpArray()) return {};
  const std::vector<Offset> lobe = MainLobe(beam);
  if (lobe.size() < kFewestPixels) return {};
  const int line0 = beam.Lines() / 2, element0 = beam.LineLength() / 2;
  const double peak = beam(line0, element0);
  // -ln(beam / peak) = p east^2 + q east north + r north^2
  double equations[3][4] = {};
  for (const Offset& at : lobe) {
    const double terms[3] = {double(at.east) * at.east, double(at.east) * at.north, double(at.north) * at.north};
    const double depth = -std::log(beam(line0 + at.north, element0 - at.east) / peak);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) equations[i][j] += terms[i] * terms[j];
      equations[i][3] += terms[i] * depth;
    }
  }
  double form[3];
  if (!Solve(equations, form)) return {};
  const auto [p, q, r] = form;
  const double mean = (p + r) / 2, swing = std::hypot((p - r) / 2, q / 2);
  if (!(mean - swing > 0)) return {};
  // exp(-k x^2) falls to a half at x = sqrt(ln 2 / k); the major axis is where the form is smallest.
  const double width = 2 * std::sqrt(std::log(2.0)) * cell;
  const double angle = std::atan2(-q, p - r) / 2 * 180 / kPi;
  return {width / std::sqrt(mean - swing), width / std::sqrt(mean + swing), angle};
}

}  // namespace zeltra

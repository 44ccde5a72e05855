// SPDX-License-Identifier: MIT
#include "zeltra/numeric/ACubicSlineFree.h"

#include <algorithm>
#include <cmath>

namespace zeltra {
namespace {

/// Equations of the slopes: below[i] s[i-1] + middle[i] s[i] + above[i] s[i+1] = right[i].
struct Tridiagonal {
  explicit Tridiagonal(size_t n) : below(n), middle(n), above(n), right(n) {}

  // Without row exchanges, which the equations of splines do not need (de Boor, ch. IV).
  std::vector<double> Solve() const {
    std::vector<double> pivots = middle, s = right;
    for (size_t i = 1; i < s.size(); ++i) {
      const double share = below[i] / pivots[i - 1];
      pivots[i] -= share * above[i - 1];
      s[i] -= share * s[i - 1];
    }
    s.back() /= pivots.back();
    for (size_t i = s.size() - 1; i-- > 0;) s[i] = (s[i] - above[i] * s[i + 1]) / pivots[i];
    return s;
  }

  std::vector<double> below, middle, above, right;
};

// Require that the second derivative has no step between pieces of these lengths and mean slopes.
void SetSmooth(Tridiagonal& equations, size_t row, double left, double leftSlope, double right, double rightSlope) {
  equations.below[row] = right;
  equations.middle[row] = 2 * (left + right);
  equations.above[row] = left;
  equations.right[row] = 3 * (right * leftSlope + left * rightSlope);
}

}  // namespace

ACubicSline::~ACubicSline() = default;

int ACubicSline::SetPoints(const double* x, const double* y, int n) {
  x_.clear();
  y_.clear();
  slopes_.clear();
  if (n < 2) return 0;
  for (int i = 0; i < n; ++i) {
    if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || (i > 0 && !(x[i] > x[i - 1]))) return 0;
  }
  x_.assign(x, x + n);
  y_.assign(y, y + n);
  slopes_.resize(n);
  return 1;
}

// The cubic of a piece: value + slope t + square t^2 + cube t^3, t from the piece's first point.
struct ACubicSline::Piece {
  double t, value, slope, square, cube;
};

ACubicSline::Piece ACubicSline::Find(double x) const {
  if (x_.empty()) return {};
  const auto last = x_.end() - 1;
  const int i = static_cast<int>(std::upper_bound(x_.begin() + 1, last, x) - x_.begin()) - 1;
  const double length = Length(i), mean = MeanSlope(i);
  const double excess = slopes_[i] + slopes_[i + 1] - 2 * mean;
  return {x - x_[i], y_[i], slopes_[i], (mean - slopes_[i] - excess) / length, excess / (length * length)};
}

double ACubicSline::Value(double x) const {
  const Piece p = Find(x);
  return p.value + p.t * (p.slope + p.t * (p.square + p.t * p.cube));
}

double ACubicSline::Derivative(double x) const {
  const Piece p = Find(x);
  return p.slope + p.t * (2 * p.square + 3 * p.t * p.cube);
}

double ACubicSline::SecondDerivative(double x) const {
  const Piece p = Find(x);
  return 2 * p.square + 6 * p.t * p.cube;
}

int ACubicSlineFree::Init(const double* x, const double* y, int n) {
  if (!SetPoints(x, y, n)) return 0;
  Tridiagonal equations(n);
  for (int i = 1; i + 1 < n; ++i) SetSmooth(equations, i, Length(i - 1), MeanSlope(i - 1), Length(i), MeanSlope(i));
  equations.middle[0] = equations.middle[n - 1] = 2;
  equations.above[0] = equations.below[n - 1] = 1;
  equations.right[0] = 3 * MeanSlope(0);
  equations.right[n - 1] = 3 * MeanSlope(n - 2);
  slopes_ = equations.Solve();
  return 1;
}

int ACubicSlineNotAKnot::Init(const double* x, const double* y, int n) {
  if (!SetPoints(x, y, n)) return 0;
  if (n == 2) {
    slopes_.assign(2, MeanSlope(0));
    return 1;
  }
  if (n == 3) {
    const double bend = (MeanSlope(1) - MeanSlope(0)) / (x_[2] - x_[0]);
    slopes_ = {MeanSlope(0) - bend * Length(0), MeanSlope(0) + bend * Length(0), MeanSlope(1) + bend * Length(1)};
    return 1;
  }
  Tridiagonal equations(n);
  for (int i = 1; i + 1 < n; ++i) SetSmooth(equations, i, Length(i - 1), MeanSlope(i - 1), Length(i), MeanSlope(i));
  // The end slope in terms of its neighbour if one cubic continues through the second point (de Boor, eq. IV(8)).
  const auto end = [this, &equations](int row, int outer, int inner, double& neighbour) {
    const double a = Length(outer), b = Length(inner);
    equations.middle[row] = b;
    neighbour = a + b;
    equations.right[row] = ((a + 2 * (a + b)) * b * MeanSlope(outer) + a * a * MeanSlope(inner)) / (a + b);
  };
  end(0, 0, 1, equations.above[0]);
  end(n - 1, n - 2, n - 3, equations.below[n - 1]);
  slopes_ = equations.Solve();
  return 1;
}

int ACubicSlineClamped::Init(const double* x, const double* y, int n, double firstSlope, double lastSlope) {
  if (!std::isfinite(firstSlope) || !std::isfinite(lastSlope)) n = 0;
  if (!SetPoints(x, y, n)) return 0;
  Tridiagonal equations(n);
  for (int i = 1; i + 1 < n; ++i) SetSmooth(equations, i, Length(i - 1), MeanSlope(i - 1), Length(i), MeanSlope(i));
  equations.middle[0] = equations.middle[n - 1] = 1;
  equations.right[0] = firstSlope;
  equations.right[n - 1] = lastSlope;
  slopes_ = equations.Solve();
  return 1;
}

// The slope at the first point, which equals that at the last, enters two of the equations for the other slopes. These
// are solved twice: without it, and for the share that it contributes per unit.
int ACubicSlinePeriodic::Init(const double* x, const double* y, int n) {
  if (n < 3 || y[0] != y[n - 1]) n = 0;
  if (!SetPoints(x, y, n)) return 0;
  const int last = n - 2;  // the last piece, and the last point but one
  Tridiagonal without(last), share(last);
  for (int i = 1; i <= last; ++i) {
    SetSmooth(without, i - 1, Length(i - 1), MeanSlope(i - 1), Length(i), MeanSlope(i));
  }
  share = without;
  std::fill(share.right.begin(), share.right.end(), 0.0);
  share.right[0] -= without.below[0];
  share.right[last - 1] -= without.above[last - 1];
  const std::vector<double> a = without.Solve(), b = share.Solve();
  const double before = Length(last), after = Length(0);
  const double right = 3 * (after * MeanSlope(last) + before * MeanSlope(0));
  const double first =
      (right - before * a[0] - after * a[last - 1]) / (2 * (before + after) + before * b[0] + after * b[last - 1]);
  slopes_[0] = slopes_[n - 1] = first;
  for (int i = 1; i <= last; ++i) slopes_[i] = a[i - 1] + first * b[i - 1];
  return 1;
}

double ACubicSlinePeriodic::Reduced(double x) const {
  if (x_.empty()) return x;
  const double period = x_.back() - x_.front();
  return x - std::floor((x - x_.front()) / period) * period;
}

int ACubicSlineMonotone::Init(const double* x, const double* y, int n) {
  if (!SetPoints(x, y, n)) return 0;
  slopes_[0] = MeanSlope(0);
  slopes_[n - 1] = MeanSlope(n - 2);
  for (int i = 1; i + 1 < n; ++i) {
    const double left = MeanSlope(i - 1), right = MeanSlope(i);
    slopes_[i] = left * right > 0 ? (left + right) / 2 : 0;
  }
  for (int i = 0; i + 1 < n; ++i) {
    const double mean = MeanSlope(i);
    if (mean == 0) {
      slopes_[i] = slopes_[i + 1] = 0;
      continue;
    }
    // A cubic is monotone if its end slopes, over its mean slope, lie within a circle of radius 3 around 0.
    const double length = std::hypot(slopes_[i] / mean, slopes_[i + 1] / mean);
    if (length <= 3) continue;
    slopes_[i] *= 3 / length;
    slopes_[i + 1] *= 3 / length;
  }
  return 1;
}

}  // namespace zeltra

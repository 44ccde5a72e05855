// SPDX-License-Identifier: MIT
#include "zeltra/numeric/AGaussFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr double kFourLn2 = 2.772588722239781;

struct Point {
  double x, y, value, factor;  // 1 / sigma
};

// Data of one or two dimensions; y is 0 in one.
class Points {
 public:
  Points(const double* x, const double* y, const double* values, const double* weights, int n);

  bool areFinite() const { return areFinite_; }
  const std::vector<Point>& all() const { return points_; }
  double Median() const;
  // The point whose value is farthest from `base`, above or below it.
  const Point& Peak(double base) const;

 private:
  std::vector<Point> points_;
  bool areFinite_ = true;
};

Points::Points(const double* x, const double* y, const double* values, const double* weights, int n) {
  for (int i = 0; i < n; ++i) {
    const double weight = weights ? weights[i] : 1;
    const Point point = {x[i], y ? y[i] : 0, values[i], std::sqrt(weight)};
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.value) ||
        !std::isfinite(point.factor)) {
      areFinite_ = false;
    }
    if (weight > 0) points_.push_back(point);
  }
}

double Points::Median() const {
  std::vector<double> values;
  for (const Point& point : points_) values.push_back(point.value);
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

const Point& Points::Peak(double base) const {
  return *std::max_element(points_.begin(), points_.end(), [base](const Point& a, const Point& b) {
    return std::fabs(a.value - base) < std::fabs(b.value - base);
  });
}

// Second moments of the positions at which the data exceed half of the peak, and the square of the spacing of
// positions.
struct HalfPower {
  double xx = 0, xy = 0, yy = 0;
  double step = 0;

  HalfPower(const Points& points, double base, const Point& peak, bool isPlane) {
    double count = 0, x = 0, y = 0;
    double left = peak.x, right = peak.x, low = peak.y, high = peak.y;
    for (const Point& p : points.all()) {
      left = std::min(left, p.x), right = std::max(right, p.x);
      low = std::min(low, p.y), high = std::max(high, p.y);
      if ((p.value - base) / (peak.value - base) < 0.5) continue;
      ++count, x += p.x, y += p.y;
      xx += p.x * p.x, xy += p.x * p.y, yy += p.y * p.y;
    }
    x /= count, y /= count;
    xx = xx / count - x * x, xy = xy / count - x * y, yy = yy / count - y * y;
    const double n = static_cast<double>(points.all().size());
    step = isPlane ? (right - left) * (high - low) / n : (right - left) * (right - left) / (n * n);
  }
};

// Shared by both dimensions: rows of a model that gives a value and its derivatives at a point.
template <int kParameters>
class GaussProblem : public AFitProblem {
 public:
  GaussProblem(const std::vector<Point>& points, bool hasBase) : points_(points), hasBase_(hasBase) {}

  int parameters() const override { return kParameters + (hasBase_ ? 1 : 0); }
  bool Evaluate(const double* p, bool withDerivatives, const Sink& take) override {
    if (!Exists(p)) return false;
    constexpr int kBlock = 512;
    std::vector<double> derivatives(static_cast<size_t>(kBlock) * parameters()), residuals(kBlock);
    for (size_t first = 0; first < points_.size(); first += kBlock) {
      const int rows = static_cast<int>(std::min<size_t>(kBlock, points_.size() - first));
      for (int row = 0; row < rows; ++row) {
        const Point& point = points_[first + row];
        double slopes[kParameters];
        const double value = Value(p, point, slopes) + (hasBase_ ? p[kParameters] : 0);
        residuals[row] = point.factor * (point.value - value);
        for (int k = 0; k < kParameters; ++k) derivatives[k * rows + row] = point.factor * slopes[k];
        if (hasBase_) derivatives[kParameters * rows + row] = point.factor;
      }
      take(withDerivatives ? derivatives.data() : nullptr, residuals.data(), rows);
    }
    return true;
  }

 protected:
  virtual bool Exists(const double* p) const = 0;
  virtual double Value(const double* p, const Point& point, double* slopes) const = 0;

 private:
  const std::vector<Point>& points_;
  const bool hasBase_;
};

class ProfileProblem : public GaussProblem<3> {
 public:
  using GaussProblem::GaussProblem;

 private:
  bool Exists(const double* p) const override { return p[2] > 0; }
  double Value(const double* p, const Point& point, double* slopes) const override {
    const double t = (point.x - p[1]) / p[2], shape = std::exp(-kFourLn2 * t * t);
    slopes[0] = shape;
    slopes[1] = p[0] * shape * 2 * kFourLn2 * t / p[2];
    slopes[2] = slopes[1] * t;
    return p[0] * shape;
  }
};

class EllipseProblem : public GaussProblem<6> {
 public:
  using GaussProblem::GaussProblem;

 private:
  bool Exists(const double* p) const override { return p[3] > 0 && p[3] * p[5] > p[4] * p[4]; }
  double Value(const double* p, const Point& point, double* slopes) const override {
    const double x = point.x - p[1], y = point.y - p[2];
    const double shape = std::exp(-kFourLn2 * (p[3] * x * x + 2 * p[4] * x * y + p[5] * y * y));
    const double scaled = kFourLn2 * p[0] * shape;
    slopes[0] = shape;
    slopes[1] = 2 * scaled * (p[3] * x + p[4] * y);
    slopes[2] = 2 * scaled * (p[4] * x + p[5] * y);
    slopes[3] = -scaled * x * x;
    slopes[4] = -2 * scaled * x * y;
    slopes[5] = -scaled * y * y;
    return p[0] * shape;
  }
};

}  // namespace

void AGaussFit::Clear() {
  result_ = {};
  std::fill(std::begin(values_), std::end(values_), 0.0);
  std::fill(std::begin(errors_), std::end(errors_), 0.0);
}

double AGaussFit::Scaled(double variance) const {
  const double freedom = static_cast<double>(result_.rows) - static_cast<double>(result_.parameters.size());
  const double factor = hasWeights_ ? 1 : result_.chi2 / freedom;
  return result_.covariance.empty() || (!hasWeights_ && freedom <= 0) ? std::numeric_limits<double>::infinity()
                                                                      : std::sqrt(variance * factor);
}

void AGaussFit::Take(int place, Parameter parameter) {
  values_[parameter] = result_.parameters[place];
  const double error = result_.Error(place);
  errors_[parameter] = Scaled(error * error);
}

int AGaussFit::Fit(const double* x, const double* y, const double* weights, int n, bool hasBase) {
  Clear();
  hasWeights_ = weights != nullptr;
  const Points points(x, nullptr, y, weights, n);
  if (!points.areFinite()) return 0;
  if (points.all().size() < 4) {
    result_.code = AFitCode::TooFewPoints;
    return 0;
  }
  const double base = hasBase ? points.Median() : 0;
  const Point& peak = points.Peak(base);
  const HalfPower half(points, base, peak, false);
  // Positions spread evenly over a width have a variance of a twelfth of its square.
  std::vector<double> start = {peak.value - base, peak.x, std::sqrt(12 * std::max(0.0, half.xx) + half.step)};
  if (hasBase) start.push_back(base);
  ProfileProblem problem(points.all(), hasBase);
  result_ = zeltra::Fit(problem, start);
  const Parameter order[] = {Peak, X, Major, Base};
  for (size_t i = 0; i < start.size(); ++i) Take(static_cast<int>(i), order[i]);
  return result_.HasConverged();
}

int AGaussFit::Fit(const double* x, const double* y, const double* z, const double* weights, int n, bool hasBase) {
  Clear();
  hasWeights_ = weights != nullptr;
  const Points points(x, y, z, weights, n);
  if (!points.areFinite()) return 0;
  if (points.all().size() < 7) {
    result_.code = AFitCode::TooFewPoints;
    return 0;
  }
  const double base = hasBase ? points.Median() : 0;
  const Point& peak = points.Peak(base);
  const HalfPower half(points, base, peak, true);
  // In an evenly filled ellipse the variance along an axis is a sixteenth of the square of that axis.
  const double xx = 16 * half.xx + half.step, xy = 16 * half.xy, yy = 16 * half.yy + half.step;
  const double determinant = xx * yy - xy * xy;
  std::vector<double> start = {peak.value - base, peak.x,          peak.y, yy / determinant,
                               -xy / determinant, xx / determinant};
  if (hasBase) start.push_back(base);
  EllipseProblem problem(points.all(), hasBase);
  result_ = zeltra::Fit(problem, start);
  Take(0, Peak);
  Take(1, X);
  Take(2, Y);
  if (hasBase) Take(6, Base);
  TakeEllipse();
  return result_.HasConverged();
}

// The eigenvalues of the shape's matrix are the inverse squares of the axes; errors are propagated by the derivatives.
void AGaussFit::TakeEllipse() {
  const double a = result_.parameters[3], b = result_.parameters[4], c = result_.parameters[5];
  const double f = std::hypot(a - c, 2 * b), cosine = f > 0 ? (a - c) / f : 0, sine = f > 0 ? 2 * b / f : 0;
  const size_t n = result_.parameters.size();
  const auto error = [&](double da, double db, double dc) {
    const double slopes[] = {da, db, dc};
    double variance = 0;
    for (size_t i = 0; i < 3 && !result_.covariance.empty(); ++i) {
      for (size_t k = 0; k < 3; ++k) variance += slopes[i] * result_.covariance[(3 + i) * n + 3 + k] * slopes[k];
    }
    return Scaled(variance);
  };
  for (const int sign : {-1, 1}) {
    const double eigenvalue = (a + c + sign * f) / 2, axis = 1 / std::sqrt(eigenvalue);
    const Parameter parameter = sign < 0 ? Major : Minor;
    values_[parameter] = axis;
    const double slope = -axis / (2 * eigenvalue);
    errors_[parameter] = error(slope * (1 + sign * cosine) / 2, slope * sign * sine, slope * (1 - sign * cosine) / 2);
  }
  const double angle = -std::atan2(2 * b, a - c) / 2;
  values_[Angle] = angle < 0 ? angle + kPi : angle;
  errors_[Angle] =
      f > 0 ? error(sine / (2 * f), -cosine / f, -sine / (2 * f)) : std::numeric_limits<double>::infinity();
}

}  // namespace zeltra

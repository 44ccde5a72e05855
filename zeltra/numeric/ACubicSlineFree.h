// Cubic splines through points.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_ACUBICSLINEFREE_H_
#define ZELTRA_NUMERIC_ACUBICSLINEFREE_H_

#include <vector>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// A piecewise cubic curve through points, at which derived classes choose the slopes. Outside the points the first and
/// the last piece continue.
///
/// Calls before a successful Init, and those after one that failed, give 0.
class ZELTRA_API ACubicSline {
 public:
  virtual ~ACubicSline();

  int count() const { return static_cast<int>(x_.size()); }
  double Value(double x) const;
  double Derivative(double x) const;
  double SecondDerivative(double x) const;
  /// Slope at point `i`.
  double Slope(int i) const { return slopes_[i]; }

 protected:
  ACubicSline() = default;
  ACubicSline(const ACubicSline&) = default;
  ACubicSline& operator=(const ACubicSline&) = default;

  /// Take the points.
  /// @return 0 if there are fewer than two, a number is not finite, or `x` does not ascend strictly: there are no
  /// points then
  int SetPoints(const double* x, const double* y, int n);
  /// Length of piece `i` along x, and its mean slope.
  double Length(int i) const { return x_[i + 1] - x_[i]; }
  double MeanSlope(int i) const { return (y_[i + 1] - y_[i]) / Length(i); }

  std::vector<double> x_, y_, slopes_;

 private:
  struct Piece;
  Piece Find(double x) const;
};

/// The natural spline: its second derivative is 0 at both ends (de Boor, A Practical Guide to Splines, ch. IV).
class ZELTRA_API ACubicSlineFree : public ACubicSline {
 public:
  /// @param n  two or more; refuses what SetPoints refuses
  int Init(const double* x, const double* y, int n);
};

/// The first two pieces are one cubic, and so are the last two. Three points give a parabola, two a line.
class ZELTRA_API ACubicSlineNotAKnot : public ACubicSline {
 public:
  int Init(const double* x, const double* y, int n);
};

/// With given slopes at both ends.
class ZELTRA_API ACubicSlineClamped : public ACubicSline {
 public:
  /// @return also 0 if a slope is not finite
  int Init(const double* x, const double* y, int n, double firstSlope, double lastSlope);
};

/// Slope and second derivative are the same at both ends, and outside the points the curve repeats.
class ZELTRA_API ACubicSlinePeriodic : public ACubicSline {
 public:
  /// @param y  the last value must equal the first
  /// @return also 0 if it does not, or if there are fewer than three points
  int Init(const double* x, const double* y, int n);
  /// `x` moved by whole periods into the range of the points.
  double Reduced(double x) const;
  double Value(double x) const { return ACubicSline::Value(Reduced(x)); }
  double Derivative(double x) const { return ACubicSline::Derivative(Reduced(x)); }
  double SecondDerivative(double x) const { return ACubicSline::SecondDerivative(Reduced(x)); }
};

/// Rises and falls only where the points do, so that nothing overshoots (Fritsch & Carlson 1980, SIAM J. Numer. Anal.
/// 17, 238): the slope at an inner point is the mean of those of its neighbouring pieces, shortened where they need it.
/// The second derivative has steps.
class ZELTRA_API ACubicSlineMonotone : public ACubicSline {
 public:
  int Init(const double* x, const double* y, int n);
};

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_ACUBICSLINEFREE_H_

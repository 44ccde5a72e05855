// Gaussians through data: a line profile, or an elliptical source of an image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_AGAUSSFIT_H_
#define ZELTRA_NUMERIC_AGAUSSFIT_H_

#include "zeltra/numeric/AFit.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// Fits one Gaussian on a constant base. Peaks may be negative.
///
/// In one dimension the parameters are Peak, X, Major and Base; in two all of them. Major and Minor are full widths at
/// half maximum. Angle, in radians from 0 to less than pi, runs from the y axis towards the x axis: where x points east
/// and y north it is a position angle.
class ZELTRA_API AGaussFit {
 public:
  enum Parameter { Peak, X, Y, Major, Minor, Angle, Base };

  /// Fit a profile.
  /// @param x, y     data in any order, shape [n]
  /// @param weights  1 / sigma^2 of each; null for equal errors. Data with a weight of 0 do not count
  /// @param hasBase  whether there is a base; otherwise it is 0
  /// @return 0 unless the fit has converged; result() says why
  int Fit(const double* x, const double* y, const double* weights, int n, bool hasBase = true);
  /// Fit an elliptical Gaussian to values `z` at places x, y; the rest as above.
  int Fit(const double* x, const double* y, const double* z, const double* weights, int n, bool hasBase = true);

  /// The value of a parameter; 0 for one that is not fitted.
  double Value(Parameter parameter) const { return values_[parameter]; }
  /// Its standard deviation, as implied by the weights, or without weights by the scatter of the data. Infinite if it
  /// is not known, as for the angle of a circle; 0 for a parameter that is not fitted.
  double Error(Parameter parameter) const { return errors_[parameter]; }
  /// The fit itself. Its parameters are peak, x, width and base in one dimension; in two peak, x, y, then a, b, c of
  /// the shape exp(-4 ln 2 (a x^2 + 2 b x y + c y^2)), in which no axes can be exchanged, and base.
  const AFitResult& result() const { return result_; }

 private:
  void Take(int place, Parameter parameter);
  void TakeEllipse();
  double Scaled(double variance) const;
  void Clear();

  AFitResult result_;
  bool hasWeights_ = false;
  double values_[7] = {};
  double errors_[7] = {};
};

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_AGAUSSFIT_H_

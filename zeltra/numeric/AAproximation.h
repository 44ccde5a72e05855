// Polynomials through data with errors.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_AAPROXIMATION_H_
#define ZELTRA_NUMERIC_AAPROXIMATION_H_

#include <vector>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// The polynomial of a given degree that fits weighted data best.
///
/// It is fitted as a sum of Chebyshev polynomials of the first kind over the range of the data, which keeps the
/// equations well conditioned up to high degrees (Hamming, Numerical Methods for Scientists and Engineers, ch. 28).
class ZELTRA_API AAproximation {
 public:
  /// @param x, y     data in any order, shape [n]
  /// @param weights  1 / sigma^2 of each; null for equal errors. Data with a weight of 0 do not count
  /// @return 0 if a number is not finite, a weight is negative, or there are fewer different `x` than coefficients;
  ///         there is no polynomial then
  int Fit(const double* x, const double* y, const double* weights, int n, int degree);

  /// -1 while there is no polynomial.
  int degree() const { return static_cast<int>(coefficients_.size()) - 1; }
  /// Value at `x`, which soon means nothing outside the range of the data; 0 without a polynomial.
  double Value(double x) const;
  /// First derivative at `x`.
  double Derivative(double x) const;
  /// Standard deviation of the value at `x`, as implied by the weights.
  double Error(double x) const;

  /// Sum of squares of the weighted residuals.
  double chi2() const { return chi2_; }
  /// Number of data that counted.
  int points() const { return points_; }
  /// Coefficients of T_k((x - middle()) / halfWidth()), k = 0..degree.
  const std::vector<double>& coefficients() const { return coefficients_; }
  /// Covariance of these coefficients, shape [degree + 1][degree + 1].
  const std::vector<double>& covariance() const { return covariance_; }
  double middle() const { return middle_; }
  double halfWidth() const { return halfWidth_; }
  /// Coefficients of x^k. High degrees far from 0 lose digits here.
  std::vector<double> Monomials() const;
  /// Their standard deviations, as implied by the weights.
  std::vector<double> MonomialErrors() const;

 private:
  std::vector<double> Basis(double x) const;
  std::vector<std::vector<long double>> MonomialsOfBasis() const;

  std::vector<double> coefficients_, covariance_;
  double middle_ = 0, halfWidth_ = 1;
  double chi2_ = 0;
  int points_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_AAPROXIMATION_H_

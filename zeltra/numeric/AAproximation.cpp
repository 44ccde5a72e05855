// SPDX-License-Identifier: MIT
#include "zeltra/numeric/AAproximation.h"

#include <algorithm>
#include <cmath>

#include "zeltra/numeric/AQRSums.h"

namespace zeltra {
namespace {

bool IsUsable(double x, double y, double weight) {
  return std::isfinite(x) && std::isfinite(y) && std::isfinite(weight) && weight >= 0;
}

}  // namespace

int AAproximation::Fit(const double* x, const double* y, const double* weights, int n, int degree) {
  *this = {};
  if (degree < 0) return 0;
  std::vector<int> used;
  for (int i = 0; i < n; ++i) {
    const double weight = weights ? weights[i] : 1;
    if (!IsUsable(x[i], y[i], weight)) return 0;
    if (weight > 0) used.push_back(i);
  }
  const int count = static_cast<int>(used.size());
  if (count <= degree) return 0;
  const auto [first, last] = std::minmax_element(used.begin(), used.end(), [x](int a, int b) { return x[a] < x[b]; });
  middle_ = x[*first] + (x[*last] - x[*first]) / 2;
  halfWidth_ = x[*last] > x[*first] ? (x[*last] - x[*first]) / 2 : 1;
  coefficients_.resize(degree + 1);
  std::vector<double> matrix(static_cast<size_t>(degree + 1) * count), right(count);
  for (int row = 0; row < count; ++row) {
    const int i = used[row];
    const double factor = weights ? std::sqrt(weights[i]) : 1;
    const std::vector<double> basis = Basis(x[i]);
    for (int k = 0; k <= degree; ++k) matrix[static_cast<size_t>(k) * count + row] = factor * basis[k];
    right[row] = factor * y[i];
  }
  AQRSums sums(degree + 1);
  sums.Add(matrix.data(), right.data(), count);
  if (!std::isfinite(sums.rest()) || !sums.Solve(coefficients_)) {
    *this = {};
    return 0;
  }
  covariance_ = sums.Covariance();
  chi2_ = sums.rest();
  points_ = count;
  return 1;
}

// T_0 .. T_degree at `x`.
std::vector<double> AAproximation::Basis(double x) const {
  const double t = (x - middle_) / halfWidth_;
  std::vector<double> values(coefficients_.size(), 1.0);
  if (values.size() > 1) values[1] = t;
  for (size_t k = 2; k < values.size(); ++k) values[k] = 2 * t * values[k - 1] - values[k - 2];
  return values;
}

// By the recurrence of Clenshaw (1955, Math. Tables Aids Comput. 9, 118).
double AAproximation::Value(double x) const {
  const double t = (x - middle_) / halfWidth_;
  double next = 0, afterNext = 0;
  for (int k = degree(); k > 0; --k) {
    const double sum = coefficients_[k] + 2 * t * next - afterNext;
    afterNext = next;
    next = sum;
  }
  return degree() < 0 ? 0 : coefficients_[0] + t * next - afterNext;
}

// T_k' = k U_{k-1}, of the Chebyshev polynomials of the second kind.
double AAproximation::Derivative(double x) const {
  const double t = (x - middle_) / halfWidth_;
  double sum = 0, u = 1, before = 0;
  for (int k = 1; k <= degree(); ++k) {
    sum += k * coefficients_[k] * u;
    const double next = 2 * t * u - before;
    before = u;
    u = next;
  }
  return sum / halfWidth_;
}

double AAproximation::Error(double x) const {
  const std::vector<double> basis = Basis(x);
  double sum = 0;
  for (size_t i = 0; i < basis.size(); ++i) {
    for (size_t k = 0; k < basis.size(); ++k) sum += basis[i] * covariance_[i * basis.size() + k] * basis[k];
  }
  return std::sqrt(sum);
}

// Coefficients of x^k in T_i((x - middle) / halfWidth), shape [i][k].
std::vector<std::vector<long double>> AAproximation::MonomialsOfBasis() const {
  const size_t n = coefficients_.size();
  std::vector<std::vector<long double>> of(n, std::vector<long double>(n));
  const long double scale = 1 / static_cast<long double>(halfWidth_), shift = -middle_ * scale;
  for (size_t i = 0; i < n; ++i) {
    if (i == 0) {
      of[0][0] = 1;
      continue;
    }
    const long double factor = i == 1 ? 1 : 2;
    for (size_t k = 0; k < n; ++k) {
      of[i][k] = factor * (shift * of[i - 1][k] + (k > 0 ? scale * of[i - 1][k - 1] : 0)) - (i > 1 ? of[i - 2][k] : 0);
    }
  }
  return of;
}

std::vector<double> AAproximation::Monomials() const {
  const std::vector<std::vector<long double>> basis = MonomialsOfBasis();
  std::vector<double> monomials(coefficients_.size());
  for (size_t k = 0; k < monomials.size(); ++k) {
    long double sum = 0;
    for (size_t i = 0; i < basis.size(); ++i) sum += coefficients_[i] * basis[i][k];
    monomials[k] = static_cast<double>(sum);
  }
  return monomials;
}

std::vector<double> AAproximation::MonomialErrors() const {
  const std::vector<std::vector<long double>> basis = MonomialsOfBasis();
  const size_t n = basis.size();
  std::vector<double> errors(n);
  for (size_t k = 0; k < n; ++k) {
    long double sum = 0;
    for (size_t i = 0; i < n; ++i) {
      for (size_t j = 0; j < n; ++j) sum += basis[i][k] * covariance_[i * n + j] * basis[j][k];
    }
    errors[k] = static_cast<double>(std::sqrt(sum));
  }
  return errors;
}

}  // namespace zeltra

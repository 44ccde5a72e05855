// SPDX-License-Identifier: MIT
#include "zeltra/numeric/AQRSums.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zeltra {
namespace {

// Four sums at a time, so that one addition need not wait for the one before.
double Dot(const double* a, const double* b, int n) {
  double sums[4] = {};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    for (int k = 0; k < 4; ++k) sums[k] += a[i + k] * b[i + k];
  }
  for (; i < n; ++i) sums[0] += a[i] * b[i];
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

// A reflection of a diagonal element of the triangle and a column of new rows, which makes the column 0.
class Reflection {
 public:
  Reflection(double& diagonal, double* column, int rows) : column_(column), rows_(rows) {
    const double squares = Dot(column, column, rows);
    isNeeded_ = squares != 0;
    if (!isNeeded_) return;
    const double length = std::copysign(std::sqrt(diagonal * diagonal + squares), diagonal);
    const double scale = 1 / (diagonal + length);
    for (int i = 0; i < rows; ++i) column[i] *= scale;
    factor_ = (diagonal + length) / length;
    diagonal = -length;
  }

  bool isNeeded() const { return isNeeded_; }
  void Apply(double& element, double* rows) const {
    const double share = factor_ * (element + Dot(column_, rows, rows_));
    element -= share;
    for (int i = 0; i < rows_; ++i) rows[i] -= share * column_[i];
  }

 private:
  double* const column_;
  const int rows_;
  double factor_ = 0;
  bool isNeeded_;
};

}  // namespace

AQRSums::AQRSums(int unknowns)
    : unknowns_(unknowns), triangle_(static_cast<size_t>(unknowns) * unknowns), right_(unknowns) {}

void AQRSums::Clear() {
  rows_ = 0;
  rest_ = 0;
  std::fill(triangle_.begin(), triangle_.end(), 0.0);
  std::fill(right_.begin(), right_.end(), 0.0);
}

void AQRSums::Add(double* matrix, double* right, int rows) {
  for (int j = 0; j < unknowns_; ++j) {
    double* column = triangle_.data() + static_cast<size_t>(j) * unknowns_;
    const Reflection reflection(column[j], matrix + static_cast<size_t>(j) * rows, rows);
    if (!reflection.isNeeded()) continue;
    for (int k = j + 1; k < unknowns_; ++k) {
      reflection.Apply(triangle_[static_cast<size_t>(k) * unknowns_ + j], matrix + static_cast<size_t>(k) * rows);
    }
    reflection.Apply(right_[j], right);
  }
  rest_ += Dot(right, right, rows);
  rows_ += rows;
}

bool AQRSums::IsDetermined() const {
  for (int j = 0; j < unknowns_; ++j) {
    const double* column = triangle_.data() + static_cast<size_t>(j) * unknowns_;
    const double bound = unknowns_ * std::numeric_limits<double>::epsilon() * std::sqrt(Dot(column, column, j + 1));
    if (!(std::fabs(column[j]) > bound)) return false;
  }
  return true;
}

bool AQRSums::Solve(std::vector<double>& x) const {
  if (!IsDetermined()) return false;
  x = right_;
  for (int j = unknowns_ - 1; j >= 0; --j) {
    x[j] /= R(j, j);
    for (int i = 0; i < j; ++i) x[i] -= R(i, j) * x[j];
  }
  return true;
}

void AQRSums::SolveTransposed(std::vector<double>& v) const {
  for (int j = 0; j < unknowns_; ++j) {
    v[j] = (v[j] - Dot(triangle_.data() + static_cast<size_t>(j) * unknowns_, v.data(), j)) / R(j, j);
  }
}

std::vector<double> AQRSums::Covariance() const {
  if (!IsDetermined()) return {};
  const size_t n = unknowns_;
  std::vector<double> inverse(
      n * n);  // of the transposed triangle, [column][row]: a column is 0 above its diagonal element
  std::vector<double> v(n);
  for (size_t j = 0; j < n; ++j) {
    std::fill(v.begin(), v.end(), 0.0);
    v[j] = 1;
    SolveTransposed(v);
    std::copy(v.begin(), v.end(), inverse.begin() + j * n);
  }
  std::vector<double> covariance(n * n);
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j <= i; ++j) {
      covariance[i * n + j] = covariance[j * n + i] =
          Dot(inverse.data() + i * n + i, inverse.data() + j * n + i, static_cast<int>(n - i));
    }
  }
  return covariance;
}

}  // namespace zeltra

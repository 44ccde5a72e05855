// SPDX-License-Identifier: MIT
#include "zeltra/numeric/AQRSums.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {
namespace {

constexpr int kLanes = 4;

// The sum of a[i] * b[i] for each of some columns `b` of `n` numbers, one after the other in memory. Sums of four lanes
// are kept, so that one addition need not wait for the one before; the order of additions is the same for any number of
// columns.
template <int kColumns>
ZELTRA_INLINE void Dots(const double* a, const double* b, int n, double* dots) {
  Double4 sums[kColumns] = {};
  int i = 0;
  for (; i + kLanes <= n; i += kLanes) {
    const auto x = Load<Double4>(a + i);
    for (int c = 0; c < kColumns; ++c) sums[c] = sums[c] + x * Load<Double4>(b + std::ptrdiff_t{c} * n + i);
  }
  for (; i < n; ++i) {
    for (int c = 0; c < kColumns; ++c) sums[c][0] += a[i] * b[std::ptrdiff_t{c} * n + i];
  }
  for (int c = 0; c < kColumns; ++c) dots[c] = (sums[c][0] + sums[c][1]) + (sums[c][2] + sums[c][3]);
}

ZELTRA_INLINE double Dot(const double* a, const double* b, int n) {
  double dot;
  Dots<1>(a, b, n, &dot);
  return dot;
}

// A reflection of a diagonal element of the triangle and a column of new rows, which makes the column 0.
class Reflection {
 public:
  ZELTRA_INLINE Reflection(double& diagonal, double* column, int rows) : column_(column), rows_(rows) {
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

  // Reflect some columns: an element of each in the triangle, `step` apart, and its new rows. Several at a time, since
  // they share the reads of column_ and their sums do not wait for each other.
  template <int kColumns>
  ZELTRA_INLINE void Apply(double* elements, int step, double* rows) const {
    double shares[kColumns];
    Dots<kColumns>(column_, rows, rows_, shares);
    for (int c = 0; c < kColumns; ++c) {
      double& element = elements[std::ptrdiff_t{c} * step];
      shares[c] = factor_ * (element + shares[c]);
      element -= shares[c];
    }
    int i = 0;
    for (; i + kLanes <= rows_; i += kLanes) {
      const auto x = Load<Double4>(column_ + i);
      for (int c = 0; c < kColumns; ++c) {
        double* const place = rows + std::ptrdiff_t{c} * rows_ + i;
        Store(place, Load<Double4>(place) - shares[c] * x);
      }
    }
    for (; i < rows_; ++i) {
      for (int c = 0; c < kColumns; ++c) rows[std::ptrdiff_t{c} * rows_ + i] -= shares[c] * column_[i];
    }
  }

 private:
  double* const column_;
  const int rows_;
  double factor_ = 0;
  bool isNeeded_;
};

// Merge rows into a triangle of n unknowns and its right side.
ZELTRA_INLINE void Merge(double* triangle, double* triangleRight, int n, double* matrix, double* right, int rows) {
  const auto column = [=](int j) { return matrix + std::ptrdiff_t{j} * rows; };
  for (int j = 0; j < n; ++j) {
    double* const row = triangle + j;
    const Reflection reflection(row[std::ptrdiff_t{j} * n], column(j), rows);
    if (!reflection.isNeeded()) continue;
    int k = j + 1;
    for (; k + 4 <= n; k += 4) reflection.Apply<4>(row + std::ptrdiff_t{k} * n, n, column(k));
    for (; k < n; ++k) reflection.Apply<1>(row + std::ptrdiff_t{k} * n, n, column(k));
    reflection.Apply<1>(triangleRight + j, n, right);
  }
}

#if defined(__x86_64__) && !defined(ZELTRA_PLAIN_VECTORS)
// The same operations in the same order: the results have the same bits.
[[gnu::target("avx2")]] void MergeAVX2(double* triangle, double* triangleRight, int n, double* matrix, double* right,
                                       int rows) {
  Merge(triangle, triangleRight, n, matrix, right, rows);
}
#endif

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
#if defined(__x86_64__) && !defined(ZELTRA_PLAIN_VECTORS)
  if (__builtin_cpu_supports("avx2")) {
    MergeAVX2(triangle_.data(), right_.data(), unknowns_, matrix, right, rows);
  } else {
    Merge(triangle_.data(), right_.data(), unknowns_, matrix, right, rows);
  }
#else
  Merge(triangle_.data(), right_.data(), unknowns_, matrix, right, rows);
#endif
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
  // Of the transposed triangle, [column][row]: a column is 0 above its diagonal element.
  std::vector<double> inverse(n * n);
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

// Measure the least squares of many equations: qr_bench [UNKNOWNS] [BLOCKS]
//
// AQRSums::Add with blocks of 256 rows, as fits of components have them, in turn with the same reflections in loops
// over one column after the other.
//
// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "bench/BenchSupport.h"
#include "zeltra/numeric/AQRSums.h"

namespace {

using namespace zeltra;

constexpr int kRows = 256;

double Dot(const double* a, const double* b) {
  double sum = 0;
  for (int i = 0; i < kRows; ++i) sum += a[i] * b[i];
  return sum;
}

void MergePlainly(std::vector<double>& triangle, int n, double* matrix) {
  for (int j = 0; j < n; ++j) {
    double& diagonal = triangle[static_cast<size_t>(j * n + j)];
    double* const column = matrix + j * kRows;
    const double length = std::copysign(std::sqrt(diagonal * diagonal + Dot(column, column)), diagonal);
    for (int i = 0; i < kRows; ++i) column[i] /= diagonal + length;
    const double factor = (diagonal + length) / length;
    diagonal = -length;
    for (int k = j + 1; k < n; ++k) {
      double& element = triangle[static_cast<size_t>(k * n + j)];
      double* const other = matrix + k * kRows;
      const double share = factor * (element + Dot(column, other));
      element -= share;
      for (int i = 0; i < kRows; ++i) other[i] -= share * column[i];
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int unknowns = argc > 1 ? std::atoi(argv[1]) : 34, blocks = argc > 2 ? std::atoi(argv[2]) : 400;
  std::mt19937 random(1);
  std::uniform_real_distribution<double> any(-1, 1);
  std::vector<double> matrix(static_cast<size_t>(unknowns) * kRows), right(kRows);
  for (double& number : matrix) number = any(random);
  for (double& number : right) number = any(random);

  AQRSums sums(unknowns);
  std::vector<double> triangle(static_cast<size_t>(unknowns) * static_cast<size_t>(unknowns));
  const auto merge = [&] {
    for (int i = 0; i < blocks; ++i) {
      std::vector<double> rows = matrix, values = right;
      sums.Add(rows.data(), values.data(), kRows);
    }
  };
  const auto mergePlainly = [&] {
    for (int i = 0; i < blocks; ++i) {
      std::vector<double> rows = matrix;
      MergePlainly(triangle, unknowns, rows.data());
    }
  };
  const double bytes = 8.0 * blocks * static_cast<double>(matrix.size());
  bench::Compare("least squares", bytes, 9, {{"AQRSums", merge}, {"plain loops", mergePlainly}});
}

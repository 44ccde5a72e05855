// The triangular form of a system of equations whose rows come in blocks.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_AQRSUMS_H_
#define ZELTRA_NUMERIC_AQRSUMS_H_

#include <cstddef>
#include <vector>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// Solves A x = b by least squares for any number of equations, in memory that depends only on the number of unknowns:
/// of A = QR it keeps the upper triangle R, and the corresponding part of Q'b. Each block of rows is merged into the
/// triangle by Householder reflections (Golub & Van Loan, Matrix Computations, 4th ed., 5.2 and 6.5.3), so that the
/// condition number is never squared.
class ZELTRA_API AQRSums {
 public:
  /// @param unknowns  columns of A
  explicit AQRSums(int unknowns);

  int unknowns() const { return unknowns_; }
  /// Number of rows taken so far.
  int64 rows() const { return rows_; }
  /// Forget all rows.
  void Clear();

  /// Take rows.
  /// @param matrix  shape [unknown][row], row fastest; undefined afterwards
  /// @param right   b, shape [row]; undefined afterwards
  void Add(double* matrix, double* right, int rows);

  /// Sum of squares of A x - b at the solution.
  double rest() const { return rest_; }
  /// Element of the upper triangle, row <= column.
  double R(int row, int column) const { return triangle_[static_cast<std::size_t>(column) * unknowns_ + row]; }
  /// Element of Q'b.
  double QTb(int row) const { return right_[row]; }

  /// Whether all unknowns are determined: no diagonal element is below `unknowns` x 2.2e-16 of its column.
  bool IsDetermined() const;
  /// @param x  the solution
  /// @return false if it is not determined; `x` is then unchanged
  bool Solve(std::vector<double>& x) const;
  /// Solve R'y = v in place; R must be determined.
  void SolveTransposed(std::vector<double>& v) const;
  /// The inverse of A'A, shape [unknown][unknown]: the covariance of the solution if every equation has an error of 1.
  /// @return empty if the solution is not determined
  std::vector<double> Covariance() const;

 private:
  const int unknowns_;
  int64 rows_ = 0;
  double rest_ = 0;
  std::vector<double> triangle_;  // [column][row]
  std::vector<double> right_;
};

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_AQRSUMS_H_

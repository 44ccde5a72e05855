// Rectangles of flags, eight to a byte.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ABITMATRIX_H_
#define ZELTRA_CORE_ABITMATRIX_H_

#include "zeltra/core/ABitArray.h"

namespace zeltra {

/// A rectangle of flags, row by row, each row starting on a new byte. The image in a file is int32 rows, int32 columns
/// and then the bytes of the rows, little-endian.
///
/// A shape with a negative dimension, or one too large for memory, leaves the matrix empty.
class ZELTRA_API ABitMatrix {
 public:
  /// All flags are clear.
  ABitMatrix(int rows, int columns) { Allocate(rows, columns); }
  ABitMatrix(const ABitMatrix& other) { *this = other; }
  /// Take over the flags of `other`, which is then empty.
  ABitMatrix(ABitMatrix&& other) noexcept { *this = std::move(other); }
  /// The image at the current position of `f`.
  explicit ABitMatrix(AFile& f) { Load(f); }
  virtual ~ABitMatrix();

  ABitMatrix& operator=(const ABitMatrix& other);
  ABitMatrix& operator=(ABitMatrix&& other) noexcept;
  /// Set every byte to 0xFF if bit 0 of `v` is 1, else to 0. No other bit counts, and programs rely on that: 2 clears
  /// the matrix.
  ABitMatrix& operator=(int v);

  /// Give the matrix another shape, with all flags clear. This happens only if both dimensions differ from the present
  /// ones; a change of one alone is ignored, and programs rely on that.
  ABitMatrix& reSize(int rows, int columns);
  /// The same as reSize.
  ABitMatrix& GrowBy(int rows, int columns) { return reSize(rows, columns); }

  /// 1 if flag (r, c) is set, else 0; no range check.
  int operator()(int r, int c) const { return TestBit(Row(r), c); }
  /// Set flag (r, c) if `v` is non-zero, else clear it; no range check. @return 1
  int operator()(int r, int c, int v) {
    PutBit(Row(r), c, v);
    return 1;
  }

  int Rows() const { return rows_; }
  int Columns() const { return columns_; }

  /// Write the image at the current position. @return non-zero once all is written
  int Store(AFile& f) const;
  /// Read an image at the current position.
  /// @return non-zero for success. A shape that is negative or promises more than the file holds fails before memory is
  ///         allocated for it; the matrix is then empty.
  int Load(AFile& f);

 private:
  void Allocate(int rows, int columns);
  int64 Bytes() const { return int64{rows_} * rowBytes_; }
  char* Row(int r) const { return buffer_.get() + int64{r} * rowBytes_; }

  int32_t rows_ = 0;
  int32_t columns_ = 0;
  int32_t rowBytes_ = 0;
  std::unique_ptr<char[]> buffer_;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_ABITMATRIX_H_

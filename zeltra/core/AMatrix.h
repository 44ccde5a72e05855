// Two-dimensional arrays of plain elements.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_AMATRIX_H_
#define ZELTRA_CORE_AMATRIX_H_

#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "zeltra/core/AFile.h"

namespace zeltra {

/// A matrix of trivially copyable elements, line by line: element (i, j) lies at index i x LineLength() + j.
///
/// The image in a file is int32 lines, int32 line length, then the elements, little-endian.
template <typename T>
class AMatrix {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  AMatrix() = default;
  /// All elements are zero bytes. A shape that is negative or too large leaves the matrix empty: lpArray() is null.
  AMatrix(int lines, int lineLength) { reSize(lines, lineLength); }
  AMatrix(const AMatrix& other) { *this = other; }
  /// Take over the elements of `other`, which is then empty.
  AMatrix(AMatrix&& other) noexcept { TakeOver(other); }
  explicit AMatrix(AFile& f) { Load(f); }
  virtual ~AMatrix() { std::free(data_); }

  AMatrix& operator=(const AMatrix& other);
  AMatrix& operator=(AMatrix&& other) noexcept;

  int Lines() const { return lines_; }
  int LineLength() const { return lineLength_; }
  T* lpArray() const { return data_; }
  /// Line i, `LineLength()` elements.
  T* Line(int i) const { return data_ + static_cast<int64>(i) * lineLength_; }
  /// Element (i, j); no range check.
  T& operator()(int i, int j) { return Line(i)[j]; }
  const T& operator()(int i, int j) const { return Line(i)[j]; }

  /// Give the matrix a new shape; the old contents are discarded and all elements are zero bytes.
  /// @return 0 if the shape is empty, negative or too large for memory; the matrix is then empty
  int reSize(int lines, int lineLength);

  /// Write the image at the current position. @return non-zero once all is written
  int Store(AFile& f) const;

  /// Read an image at the current position.
  /// @return 0 if the file ends early or promises more than it holds; the matrix is then empty
  int Load(AFile& f);

 private:
  static constexpr int64 kLargestCount = PTRDIFF_MAX / static_cast<int64>(sizeof(T));

  size_t Bytes() const { return static_cast<size_t>(lines_) * static_cast<size_t>(lineLength_) * sizeof(T); }
  void TakeOver(AMatrix& other) noexcept;

  T* data_ = nullptr;
  int32_t lines_ = 0;
  int32_t lineLength_ = 0;
};

template <typename T>
AMatrix<T>& AMatrix<T>::operator=(const AMatrix& other) {
  if (this != &other && reSize(other.lines_, other.lineLength_)) {
    std::memcpy(static_cast<void*>(data_), other.data_, Bytes());
  }
  return *this;
}

template <typename T>
AMatrix<T>& AMatrix<T>::operator=(AMatrix&& other) noexcept {
  if (this == &other) return *this;
  std::free(data_);
  TakeOver(other);
  return *this;
}

template <typename T>
int AMatrix<T>::reSize(int lines, int lineLength) {
  std::free(data_);
  data_ = nullptr;
  lines_ = lineLength_ = 0;
  if (lines < 1 || lineLength < 1 || int64{lines} * lineLength > kLargestCount) return 0;
  data_ = static_cast<T*>(std::calloc(static_cast<size_t>(lines) * static_cast<size_t>(lineLength), sizeof(T)));
  if (!data_) return 0;
  lines_ = lines;
  lineLength_ = lineLength;
  return 1;
}

template <typename T>
int AMatrix<T>::Store(AFile& f) const {
  const int32_t shape[2] = {lines_, lineLength_};
  return WriteWhole(f, shape, sizeof shape) && WriteWhole(f, data_, static_cast<int64>(Bytes()));
}

template <typename T>
int AMatrix<T>::Load(AFile& f) {
  int32_t shape[2] = {0, 0};
  if (ReadWhole(f, shape, sizeof shape) && shape[0] >= 0 && shape[1] >= 0) {
    if (shape[0] == 0 || shape[1] == 0) {
      reSize(0, 0);
      return 1;
    }
    const int64 count = int64{shape[0]} * shape[1];
    const bool held =
        count <= INT64_MAX / static_cast<int64>(sizeof(T)) && HasBytes(f, count * static_cast<int64>(sizeof(T)));
    if (held && reSize(shape[0], shape[1]) && ReadWhole(f, data_, static_cast<int64>(Bytes()))) return 1;
  }
  reSize(0, 0);
  return 0;
}

template <typename T>
void AMatrix<T>::TakeOver(AMatrix& other) noexcept {
  data_ = std::exchange(other.data_, nullptr);
  lines_ = std::exchange(other.lines_, 0);
  lineLength_ = std::exchange(other.lineLength_, 0);
}

ZELTRA_EXPORT_TEMPLATE(AMatrix<float>);
ZELTRA_EXPORT_TEMPLATE(AMatrix<double>);
ZELTRA_EXPORT_TEMPLATE(AMatrix<short>);
ZELTRA_EXPORT_TEMPLATE(AMatrix<std::complex<float>>);
ZELTRA_EXPORT_TEMPLATE(AMatrix<std::complex<double>>);

}  // namespace zeltra

#endif  // ZELTRA_CORE_AMATRIX_H_

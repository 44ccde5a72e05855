// SPDX-License-Identifier: MIT
#include "zeltra/core/ABitMatrix.h"

#include <cstring>
#include <new>

namespace zeltra {

ABitMatrix::~ABitMatrix() = default;

ABitMatrix& ABitMatrix::operator=(const ABitMatrix& other) {
  if (this == &other) return *this;
  Allocate(other.rows_, other.columns_);
  if (buffer_) std::memcpy(buffer_.get(), other.buffer_.get(), static_cast<size_t>(Bytes()));
  return *this;
}

ABitMatrix& ABitMatrix::operator=(ABitMatrix&& other) noexcept {
  if (this == &other) return *this;
  rows_ = std::exchange(other.rows_, 0);
  columns_ = std::exchange(other.columns_, 0);
  rowBytes_ = std::exchange(other.rowBytes_, 0);
  buffer_ = std::move(other.buffer_);
  return *this;
}

ABitMatrix& ABitMatrix::operator=(int v) {
  if (buffer_) std::memset(buffer_.get(), v & 1 ? 0xFF : 0, static_cast<size_t>(Bytes()));
  return *this;
}

ABitMatrix& ABitMatrix::reSize(int rows, int columns) {
  if (rows != rows_ && columns != columns_) Allocate(rows, columns);
  return *this;
}

int ABitMatrix::Store(AFile& f) const {
  const int32_t shape[2] = {rows_, columns_};
  return WriteWhole(f, shape, sizeof shape) && WriteWhole(f, buffer_.get(), Bytes());
}

int ABitMatrix::Load(AFile& f) {
  Allocate(0, 0);
  int32_t shape[2];
  if (!HasBytes(f, sizeof shape) || !ReadWhole(f, shape, sizeof shape)) return 0;
  const auto [rows, columns] = shape;
  if (rows < 0 || columns < 0 || !HasBytes(f, int64{rows} * BytesOfBits(columns))) return 0;
  Allocate(rows, columns);
  if (rows_ == rows && ReadWhole(f, buffer_.get(), Bytes())) return 1;
  Allocate(0, 0);
  return 0;
}

void ABitMatrix::Allocate(int rows, int columns) {
  const bool valid = rows >= 0 && columns >= 0;
  rows_ = valid ? rows : 0;
  columns_ = valid ? columns : 0;
  rowBytes_ = BytesOfBits(columns_);
  buffer_.reset(Bytes() > 0 ? new (std::nothrow) char[static_cast<size_t>(Bytes())]() : nullptr);
  if (!buffer_ && Bytes() > 0) rows_ = columns_ = rowBytes_ = 0;
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/core/ABitArray.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace zeltra {

ABitArray::~ABitArray() = default;

ABitArray& ABitArray::operator=(const ABitArray& other) {
  if (this == &other) return *this;
  reSize(other.bits_);
  if (bytes_ > 0) std::memcpy(buffer_.get(), other.buffer_.get(), static_cast<size_t>(bytes_));
  return *this;
}

ABitArray& ABitArray::operator=(ABitArray&& other) noexcept {
  if (this == &other) return *this;
  bits_ = std::exchange(other.bits_, 0);
  bytes_ = std::exchange(other.bytes_, 0);
  buffer_ = std::move(other.buffer_);
  return *this;
}

ABitArray& ABitArray::operator=(int v) {
  if (bytes_ > 0) std::memset(buffer_.get(), v & 1 ? 0xFF : 0, static_cast<size_t>(bytes_));
  return *this;
}

ABitArray& ABitArray::reSize(int n) {
  bits_ = std::max(n, 0);
  const int bytes = BytesOfBits(bits_);
  if (bytes != bytes_) {
    buffer_.reset(bytes > 0 ? new (std::nothrow) char[static_cast<size_t>(bytes)] : nullptr);
    if (!buffer_) bits_ = 0;
    bytes_ = buffer_ ? bytes : 0;
  }
  return *this = 0;
}

int ABitArray::GetMarks() const {
  const char* p = buffer_.get();
  int marks = 0;
  int bytes = bits_ >> 3;
  for (; bytes >= 8; bytes -= 8, p += 8) {
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    marks += std::popcount(word);
  }
  for (; bytes > 0; --bytes, ++p) marks += std::popcount(static_cast<unsigned char>(*p));
  const int rest = bits_ & 7;
  if (rest > 0) marks += std::popcount(static_cast<unsigned>(*p) & ((1u << rest) - 1));
  return marks;
}

int ABitArray::Store(AFile& f) const {
  return WriteWhole(f, &bits_, sizeof bits_) && (bytes_ == 0 || WriteWhole(f, buffer_.get(), bytes_));
}

int ABitArray::Load(AFile& f) {
  reSize(0);
  int32_t bits = 0;
  if (!HasBytes(f, sizeof bits) || !ReadWhole(f, &bits, sizeof bits)) return 0;
  if (bits < 0 || !HasBytes(f, BytesOfBits(bits))) return 0;
  reSize(bits);
  if (bits_ == bits && ReadWhole(f, buffer_.get(), bytes_)) return 1;
  reSize(0);
  return 0;
}

}  // namespace zeltra

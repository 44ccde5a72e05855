// Rows of flags, eight to a byte.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ABITARRAY_H_
#define ZELTRA_CORE_ABITARRAY_H_

#include <cstdint>
#include <memory>
#include <utility>

#include "zeltra/core/AFile.h"

namespace zeltra {

/// Number of bytes that `bits` flags occupy; `bits` is 0 or more.
constexpr int BytesOfBits(int bits) {
  return static_cast<int>((int64{bits} + 7) >> 3);
}

/// 1 if flag `i` of packed flags is set, else 0; the least significant bit of a byte comes first.
inline int TestBit(const char* flags, int i) {
  return (flags[i >> 3] >> (i & 7)) & 1;
}

/// Set flag `i` of packed flags if `v` is non-zero, else clear it.
inline void PutBit(char* flags, int i, int v) {
  const int weight = 1 << (i & 7);
  flags[i >> 3] = static_cast<char>(v ? flags[i >> 3] | weight : flags[i >> 3] & ~weight);
}

/// A row of flags. The image in a file is an int32 number of flags and then their bytes, little-endian.
///
/// A negative size, or one too large for memory, leaves the array empty.
class ZELTRA_API ABitArray {
 public:
  /// `n` flags, all clear.
  explicit ABitArray(int n) { reSize(n); }
  ABitArray(const ABitArray& other) { *this = other; }
  /// Take over the flags of `other`, which is then empty.
  ABitArray(ABitArray&& other) noexcept { *this = std::move(other); }
  /// The image at the current position of `f`.
  explicit ABitArray(AFile& f) { Load(f); }
  virtual ~ABitArray();

  ABitArray& operator=(const ABitArray& other);
  ABitArray& operator=(ABitArray&& other) noexcept;
  /// Set every byte to 0xFF if bit 0 of `v` is 1, else to 0. No other bit counts, and programs rely on that: 2 clears
  /// the array.
  ABitArray& operator=(int v);

  /// Set the size. All flags are clear afterwards, even if the storage is reused.
  ABitArray& reSize(int n);
  /// The same as reSize.
  void GrowBy(int n) { reSize(n); }

  /// 1 if flag `i` is set, else 0; no range check.
  int operator()(int i) const { return TestBit(buffer_.get(), i); }
  /// Set flag `i` if `v` is non-zero, else clear it; no range check. @return 1
  int operator()(int i, int v) {
    PutBit(buffer_.get(), i, v);
    return 1;
  }

  /// Number of flags that are set; bits of the last byte beyond count() are ignored.
  int GetMarks() const;
  int count() const { return bits_; }
  /// The packed flags, null for an empty array.
  char* lpArray() const { return buffer_.get(); }

  /// Write the image at the current position. @return non-zero once all is written
  int Store(AFile& f) const;
  /// Read an image at the current position.
  /// @return non-zero for success. A size that is negative or promises more than the file holds fails before memory is
  ///         allocated for it; the array is then empty.
  int Load(AFile& f);

 private:
  int32_t bits_ = 0;
  int32_t bytes_ = 0;
  std::unique_ptr<char[]> buffer_;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_ABITARRAY_H_

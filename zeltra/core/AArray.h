// Growable arrays of plain records with a fixed growth step and a binary image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_AARRAY_H_
#define ZELTRA_CORE_AARRAY_H_

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "zeltra/core/AFile.h"

namespace zeltra {

/// An array of trivially copyable elements. Elements are moved as raw bytes, never constructed or destroyed.
///
/// The image in a file is an int32 count and the elements' bytes, little-endian. An array is used by one thread at a
/// time. Every block goes through AMALLOC and AFREE, so a derived class can supply another allocator; inside a
/// constructor or destructor of AArray itself its own versions run. A move hands the block over, so both arrays must
/// free blocks in the same way. Failed allocations are not detected, except by Load.
template <typename T>
class AArray {
 protected:
  /// Storage for `n` elements, uninitialised.
  virtual T* AMALLOC(int n) { return static_cast<T*>(std::malloc(static_cast<size_t>(n) * sizeof(T))); }
  virtual void AFREE(T* p) { std::free(p); }

 public:
  virtual ~AArray();

  AArray() = default;

  /// `size` elements of undefined content in use, room for max(size, capacity).
  AArray(int size, int capacity, int growBy);

  /// The `n` elements at `p`.
  /// @param copy  0 adopts `p`, which must come from malloc; otherwise the elements are copied
  AArray(T* p, int n, int growBy, unsigned char copy);

  AArray(const AArray& other);
  /// Take over the elements of `other`, which is then empty.
  AArray(AArray&& other) noexcept { TakeOver(other); }

  /// The image at the current position of `f`.
  explicit AArray(AFile& f) { Load(f); }

  int count() const { return count_; }
  T* lpArray() const { return data_; }
  /// Element i; no range check.
  T& operator()(int i) { return data_[i]; }
  const T& operator()(int i) const { return data_[i]; }

  T* begin() { return data_; }
  T* end() { return data_ + std::max(count_, 0); }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + std::max(count_, 0); }

  /// Make room for `capacity` elements in all, keeping the elements in use.
  void Reserve(int capacity) {
    if (capacity > capacity_) Reallocate(capacity);
  }

  int Add(const T& x) { return InsertAt(count_, x); }

  /// Insert `x` before element i; a full array first grows by its fixed step. The index is not checked.
  /// @return i
  int InsertAt(int i, const T& x);

  /// Remove `n` elements starting at `first`. Storage never shrinks.
  /// @return the new count; `first` if the tail is dropped
  int DeleteItems(int first, int n);

  /// Set the size to `n`. The old contents are discarded, to save copying them: the elements are undefined afterwards.
  AArray& GrowBy(int n);

  /// Set all elements in use to zero bytes.
  AArray& ZeroInit();

  /// Empty the array and release its storage.
  AArray& Free();

  void operator=(const AArray& other);
  void operator=(AArray&& other) noexcept;

  /// Assign `x` to every element in use. For an array of numbers `a = {}` does this too, with zero: Free empties an
  /// array.
  void operator=(const T& x) { std::fill(begin(), end(), T(x)); }

  /// Append the elements of `b`; storage that is too small grows to exactly the new count.
  void operator+=(const AArray& b);

  /// Write the image at the current position.
  /// @return the result of the last write: not zero if the file took at least some of the bytes. As a full disk may cut
  ///         the image short, a program that has to know compares f.Tell() before and after.
  int Store(AFile& f) const;

  /// Read an image at the current position.
  /// @return non-zero for success. A count that is negative or promises more than the file holds fails before memory is
  ///         allocated for it, and so does a count that there is no memory for; the array is then empty.
  int Load(AFile& f);

 protected:
  static size_t Bytes(int n) { return static_cast<size_t>(n) * sizeof(T); }
  static void CopyElements(T* to, const T* from, int n);
  static void MoveElements(T* to, const T* from, int n);
  /// Move the elements into storage of exactly `capacity`, at least count(), elements. Lists that grow long reserve
  /// room ahead with it, since growth by a fixed step would copy them again and again.
  void Reallocate(int capacity);

 private:
  void TakeOver(AArray& other) noexcept;

  int32_t count_ = 0;
  int32_t capacity_ = 0;
  int32_t growBy_ = 256;
  T* data_ = nullptr;
};

template <typename T>
AArray<T>::~AArray() {
  static_assert(std::is_trivially_copyable_v<T>, "AArray moves its elements as raw bytes: AObjArray holds objects");
  AArray::AFREE(data_);
  count_ = 0;
}

template <typename T>
AArray<T>::AArray(int size, int capacity, int growBy)
    : count_(size), capacity_(std::max(capacity, size)), growBy_(growBy) {
  if (capacity_ >= 1) data_ = AArray::AMALLOC(capacity_);
}

template <typename T>
AArray<T>::AArray(T* p, int n, int growBy, unsigned char copy) : count_(n), capacity_(n), growBy_(growBy) {
  if (copy == 0) {
    data_ = p;
  } else if (n > 0) {
    data_ = AArray::AMALLOC(n);
    CopyElements(data_, p, n);
  }
}

template <typename T>
AArray<T>::AArray(const AArray& other) : count_(other.count_), capacity_(other.count_), growBy_(other.growBy_) {
  if (count_ > 0) {
    data_ = AArray::AMALLOC(count_);
    CopyElements(data_, other.data_, count_);
  }
}

template <typename T>
int AArray<T>::InsertAt(int i, const T& x) {
  const T value = x;  // x may be an element of this array, which is about to move
  if (count_ >= capacity_) Reallocate(capacity_ + std::max(growBy_, 1));
  if (i < count_) MoveElements(data_ + i + 1, data_ + i, count_ - i);
  data_[i] = value;
  ++count_;
  return i;
}

template <typename T>
int AArray<T>::DeleteItems(int first, int n) {
  if (n >= count_ - first) return count_ = first;
  MoveElements(data_ + first, data_ + first + n, count_ - first - n);
  return count_ -= n;
}

template <typename T>
AArray<T>& AArray<T>::GrowBy(int n) {
  AFREE(data_);
  data_ = n > 0 ? AMALLOC(n) : nullptr;
  count_ = capacity_ = n;
  return *this;
}

template <typename T>
AArray<T>& AArray<T>::ZeroInit() {
  if (count_ >= 1) std::memset(static_cast<void*>(data_), 0, Bytes(count_));
  return *this;
}

template <typename T>
AArray<T>& AArray<T>::Free() {
  AFREE(data_);
  data_ = nullptr;
  count_ = capacity_ = 0;
  return *this;
}

template <typename T>
void AArray<T>::operator=(const AArray& other) {
  if (this == &other) return;
  AFREE(data_);
  growBy_ = other.growBy_;
  count_ = capacity_ = other.count_;
  data_ = nullptr;
  if (count_ < 1) return;
  data_ = AMALLOC(count_);
  CopyElements(data_, other.data_, count_);
}

template <typename T>
void AArray<T>::operator=(AArray&& other) noexcept {
  if (this == &other) return;
  AFREE(data_);
  TakeOver(other);
}

template <typename T>
void AArray<T>::TakeOver(AArray& other) noexcept {
  growBy_ = other.growBy_;
  count_ = std::exchange(other.count_, 0);
  capacity_ = std::exchange(other.capacity_, 0);
  data_ = std::exchange(other.data_, nullptr);
}

template <typename T>
void AArray<T>::operator+=(const AArray& b) {
  const int added = b.count_;
  if (added < 1) return;
  const int sum = count_ + added;
  if (capacity_ < sum) Reallocate(sum);
  CopyElements(data_ + count_, b.data_, added);
  count_ = sum;
}

template <typename T>
int AArray<T>::Store(AFile& f) const {
  const int written = f.Write(&count_, sizeof count_);
  return written && count_ >= 1 ? f.WriteL(data_, static_cast<int64>(Bytes(count_))) : written;
}

template <typename T>
int AArray<T>::Load(AFile& f) {
  int32_t n = 0;
  const int read = ReadWhole(f, &n, sizeof n);
  const bool believed = read && n >= 0 && HasBytes(f, int64{n} * static_cast<int64>(sizeof(T)));
  if (!believed || n == 0) {
    Free();
    return believed;
  }
  if (capacity_ < n && !GrowBy(n).data_) {
    Free();
    return 0;
  }
  count_ = n;
  return ReadWhole(f, data_, static_cast<int64>(Bytes(n)));
}

template <typename T>
void AArray<T>::CopyElements(T* to, const T* from, int n) {
  if (n > 0) std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), Bytes(n));
}

template <typename T>
void AArray<T>::MoveElements(T* to, const T* from, int n) {
  std::memmove(static_cast<void*>(to), static_cast<const void*>(from), Bytes(n));
}

template <typename T>
void AArray<T>::Reallocate(int capacity) {
  T* data = AMALLOC(capacity);
  CopyElements(data, data_, count_);
  AFREE(data_);
  data_ = data;
  capacity_ = capacity;
}

ZELTRA_EXPORT_TEMPLATE(AArray<int>);
ZELTRA_EXPORT_TEMPLATE(AArray<short>);
ZELTRA_EXPORT_TEMPLATE(AArray<float>);
ZELTRA_EXPORT_TEMPLATE(AArray<double>);
ZELTRA_EXPORT_TEMPLATE(AArray<std::complex<float>>);

}  // namespace zeltra

#endif  // ZELTRA_CORE_AARRAY_H_

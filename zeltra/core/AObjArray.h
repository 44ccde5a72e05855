// Growable arrays of objects that are constructed, assigned and destroyed.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_AOBJARRAY_H_
#define ZELTRA_CORE_AOBJARRAY_H_

#include <algorithm>
#include <cstdint>
#include <utility>

#include "zeltra/core/AFile.h"

namespace zeltra {

/// An array of objects with a default constructor and assignment. Storage that is not in use holds default-constructed
/// objects. Elements may have `int Load(AFile&)` and `int Store(AFile&)`, which Load and Store of the array call for
/// each element.
template <typename T>
class AObjArray {
 public:
  AObjArray() = default;
  /// `size` elements in use, room for max(size, capacity).
  AObjArray(int size, int capacity, int growBy);
  /// The `n` elements at `p`; `copy` 0 adopts the block, which must come from array new.
  AObjArray(T* p, int n, int growBy, int copy);
  AObjArray(const AObjArray& other) : growBy_(other.growBy_) { *this += other; }
  /// Take over the elements of `other`, which is then empty.
  AObjArray(AObjArray&& other) noexcept { TakeOver(other); }
  virtual ~AObjArray() { delete[] data_; }

  int count() const { return count_; }
  T* lpArray() const { return data_; }
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

  /// Empty the array and release its storage.
  AObjArray& Free();

  /// Set the size to `n`. The elements in use are kept if nothing has to be reallocated or `keep` is non-zero.
  AObjArray& GrowBy(int n, int keep);

  AObjArray& operator=(const AObjArray& other);
  AObjArray& operator=(AObjArray&& other) noexcept;

  /// Append the elements of `b`.
  void operator+=(const AObjArray& b);

  /// Write the count, then each element. @return 0 at the first failure
  int Store(AFile& f) const;

  /// Read what Store wrote; the file is expected to hold at least one byte per element.
  /// @return 0 at the first failure; the array then holds the elements read so far
  int Load(AFile& f);

 private:
  void Reallocate(int capacity);
  void TakeOver(AObjArray& other) noexcept;

  int32_t count_ = 0;
  int32_t capacity_ = 0;
  int32_t growBy_ = 256;
  T* data_ = nullptr;
};

template <typename T>
AObjArray<T>::AObjArray(int size, int capacity, int growBy)
    : count_(size), capacity_(std::max(capacity, size)), growBy_(growBy) {
  if (capacity_ >= 1) data_ = new T[static_cast<size_t>(capacity_)];
}

template <typename T>
AObjArray<T>::AObjArray(T* p, int n, int growBy, int copy) : count_(n), capacity_(n), growBy_(growBy) {
  if (copy == 0) {
    data_ = p;
  } else if (n > 0) {
    data_ = new T[static_cast<size_t>(n)];
    std::copy(p, p + n, data_);
  }
}

template <typename T>
int AObjArray<T>::InsertAt(int i, const T& x) {
  T value = x;
  if (count_ >= capacity_) Reallocate(capacity_ + std::max(growBy_, 1));
  if (i < count_) std::move_backward(data_ + i, data_ + count_, data_ + count_ + 1);
  data_[i] = std::move(value);
  ++count_;
  return i;
}

template <typename T>
int AObjArray<T>::DeleteItems(int first, int n) {
  if (n >= count_ - first) return count_ = first;
  std::move(data_ + first + n, data_ + count_, data_ + first);
  return count_ -= n;
}

template <typename T>
AObjArray<T>& AObjArray<T>::Free() {
  delete[] data_;
  data_ = nullptr;
  count_ = capacity_ = 0;
  return *this;
}

template <typename T>
AObjArray<T>& AObjArray<T>::GrowBy(int n, int keep) {
  if (capacity_ < n) {
    if (!keep) count_ = 0;
    Reallocate(n);
  }
  count_ = n;
  return *this;
}

template <typename T>
AObjArray<T>& AObjArray<T>::operator=(const AObjArray& other) {
  if (this == &other) return *this;
  Free();
  growBy_ = other.growBy_;
  *this += other;
  return *this;
}

template <typename T>
AObjArray<T>& AObjArray<T>::operator=(AObjArray&& other) noexcept {
  if (this == &other) return *this;
  delete[] data_;
  TakeOver(other);
  return *this;
}

template <typename T>
void AObjArray<T>::TakeOver(AObjArray& other) noexcept {
  growBy_ = other.growBy_;
  count_ = std::exchange(other.count_, 0);
  capacity_ = std::exchange(other.capacity_, 0);
  data_ = std::exchange(other.data_, nullptr);
}

template <typename T>
void AObjArray<T>::operator+=(const AObjArray& b) {
  const int added = b.count_;
  if (added < 1) return;
  const int sum = count_ + added;
  if (capacity_ < sum) Reallocate(sum);
  std::copy(b.data_, b.data_ + added, data_ + count_);
  count_ = sum;
}

template <typename T>
int AObjArray<T>::Store(AFile& f) const {
  if (!f.Write(&count_, sizeof count_)) return 0;
  for (int i = 0; i < count_; ++i) {
    if (!data_[i].Store(f)) return 0;
  }
  return 1;
}

template <typename T>
int AObjArray<T>::Load(AFile& f) {
  Free();
  int32_t n = 0;
  if (!ReadWhole(f, &n, sizeof n) || n < 0 || !HasBytes(f, n)) return 0;
  // Room is taken at once for as many elements as the file has bytes. If elements are smaller in the file than in
  // memory, room for more is added as they arrive, doubling each time.
  const int64 atOnce = (f.GetFileSize() - f.Tell()) / static_cast<int64>(sizeof(T));
  Reallocate(static_cast<int>(std::min<int64>(n, atOnce)));
  for (int i = 0; i < n; ++i) {
    T element;
    if (!element.Load(f)) return 0;
    if (count_ == capacity_) Reallocate(static_cast<int>(std::min<int64>(n, int64{capacity_} * 2 + 1)));
    Add(element);
  }
  return 1;
}

template <typename T>
void AObjArray<T>::Reallocate(int capacity) {
  T* data = new T[static_cast<size_t>(capacity)];
  std::copy(data_, data_ + count_, data);
  delete[] data_;
  data_ = data;
  capacity_ = capacity;
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_AOBJARRAY_H_

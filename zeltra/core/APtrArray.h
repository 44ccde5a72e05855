// Arrays of pointers that own what they point to.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_APTRARRAY_H_
#define ZELTRA_CORE_APTRARRAY_H_

#include <type_traits>
#include <utility>

#include "zeltra/core/AArray.h"

namespace zeltra {

/// An array of pointers; `P` is a pointer type. While auto-delete is set, DeleteItems, Free and the destructor delete
/// the elements that they drop. Every constructor sets it except the copying one, whose array only refers to elements
/// that the original still owns, and is valid as long as the original lives. A move hands over the elements and the
/// setting. Appending by += copies pointers: a program crashes if both arrays delete them in the end, so clear
/// auto-delete in one of the two.
template <typename P>
class APtrArray : public AArray<P> {
  static_assert(std::is_pointer_v<P>);

 public:
  APtrArray() = default;
  /// `size` null pointers in use, room for max(size, capacity).
  APtrArray(int size, int capacity, int growBy) : AArray<P>(size, capacity, growBy) { this->ZeroInit(); }
  /// Adopt the block `p`, which must come from malloc.
  APtrArray(P* p, int n, int growBy) : AArray<P>(p, n, growBy, 0) {}
  /// Copy the pointers of `other`, which keeps them too but must not delete what they point to.
  explicit APtrArray(const AArray<P>& other) : AArray<P>(other) {}
  APtrArray(const APtrArray& other) : AArray<P>(other), autoDelete_(0) {}
  APtrArray(APtrArray&& other) noexcept : AArray<P>(std::move(other)), autoDelete_(other.autoDelete_) {}
  APtrArray& operator=(const APtrArray&) = delete;
  APtrArray& operator=(APtrArray&& other) noexcept;
  /// The image holds the pointers themselves, for use within one process: it means nothing to any other.
  explicit APtrArray(AFile& f) : AArray<P>(f) {}
  ~APtrArray() override { DeleteElements(0, this->count()); }

  int GetItemAutoDelete() const { return autoDelete_; }
  void SetItemAutoDelete(int on) { autoDelete_ = on; }

  int DeleteItems(int first, int n);

  APtrArray& Free();

  /// Set the size to `n` null pointers. The old elements are dropped, not deleted: call Free first if they should be.
  APtrArray& GrowBy(int n);

 private:
  void DeleteElements(int first, int n);

  int autoDelete_ = 1;
};

template <typename P>
APtrArray<P>& APtrArray<P>::operator=(APtrArray&& other) noexcept {
  if (this == &other) return *this;
  DeleteElements(0, this->count());
  AArray<P>::operator=(std::move(other));
  autoDelete_ = other.autoDelete_;
  return *this;
}

template <typename P>
int APtrArray<P>::DeleteItems(int first, int n) {
  DeleteElements(first, n);
  return AArray<P>::DeleteItems(first, n);
}

template <typename P>
APtrArray<P>& APtrArray<P>::Free() {
  DeleteElements(0, this->count());
  AArray<P>::Free();
  return *this;
}

template <typename P>
APtrArray<P>& APtrArray<P>::GrowBy(int n) {
  AArray<P>::GrowBy(n).ZeroInit();
  return *this;
}

template <typename P>
void APtrArray<P>::DeleteElements(int first, int n) {
  if (!autoDelete_) return;
  const int end = n < this->count() - first ? first + n : this->count();
  for (int i = first; i < end; ++i) delete (*this)(i);
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_APTRARRAY_H_

// Arrays of pointers that own what they point to.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_APTRARRAY_H_
#define ZELTRA_CORE_APTRARRAY_H_

#include <type_traits>
#include <utility>

#include "zeltra/core/AArray.h"

namespace zeltra {

/// An array of pointers; `P` is a pointer type. While auto-delete is set, dropped elements are deleted: by DeleteItems,
/// Free and the destructor. It is set after every constructor but that of a copy, which shows the elements of an
/// APtrArray as long as that one lives and leaves them to it. A move takes elements and setting over.
template <typename P>
class APtrArray : public AArray<P> {
  static_assert(std::is_pointer_v<P>);

 public:
  APtrArray() = default;
  APtrArray(int size, int capacity, int growBy) : AArray<P>(size, capacity, growBy) {}
  /// Adopt the block `p`, which must come from malloc.
  APtrArray(P* p, int n, int growBy) : AArray<P>(p, n, growBy, 0) {}
  /// The pointers of `other`, which keeps them as well and must not delete them.
  explicit APtrArray(const AArray<P>& other) : AArray<P>(other) {}
  APtrArray(const APtrArray& other) : AArray<P>(other), autoDelete_(0) {}
  APtrArray(APtrArray&& other) noexcept : AArray<P>(std::move(other)), autoDelete_(other.autoDelete_) {}
  APtrArray& operator=(const APtrArray&) = delete;
  APtrArray& operator=(APtrArray&& other) noexcept;
  /// The image holds the pointers themselves, deliberately: it has no meaning to another process than the one that
  /// wrote it.
  explicit APtrArray(AFile& f) : AArray<P>(f) {}
  ~APtrArray() override { DeleteElements(0, this->count()); }

  int GetItemAutoDelete() const { return autoDelete_; }
  void SetItemAutoDelete(int on) { autoDelete_ = on; }

  int DeleteItems(int first, int n);

  APtrArray& Free();

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
void APtrArray<P>::DeleteElements(int first, int n) {
  if (!autoDelete_) return;
  const int end = n < this->count() - first ? first + n : this->count();
  for (int i = first; i < end; ++i) delete (*this)(i);
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_APTRARRAY_H_

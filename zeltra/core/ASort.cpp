// SPDX-License-Identifier: MIT
#include "zeltra/core/ASort.h"

#include <algorithm>
#include <type_traits>

namespace zeltra {
namespace {

/// The order of keys. NaN, which is neither less nor greater than anything, comes after every number.
template <typename K>
bool IsLess(K a, K b) {
  if constexpr (std::is_floating_point_v<K>) {
    return a < b || (b != b && a == a);
  } else {
    return a < b;
  }
}

}  // namespace

template <typename K, typename V>
void ASort<K, V>::Sort() {
  std::stable_sort(items_.begin(), items_.end(), [](const Item& a, const Item& b) { return IsLess(a.key, b.key); });
}

template <typename K, typename V>
int ABSort<K, V>::Search(const K& key, int& index) const {
  const auto& items = this->items_;
  const auto at =
      std::partition_point(items.begin(), items.end(), [&](const auto& item) { return IsLess(item.key, key); });
  index = static_cast<int>(at - items.begin());
  return at != items.end() && !IsLess(key, at->key);
}

template <typename K, typename V>
int ABSort<K, V>::Add(const K& key, const V& value) {
  int index = 0;
  if (!Search(key, index)) this->items_.insert(this->items_.begin() + index, {key, value});
  return index;
}

template class ASort<double, double>;
template class ASort<double, char>;
template class ASort<double, int>;
template class ASort<char, double>;
template class ASort<char, char>;
template class ASort<char, int>;
template class ASort<int, double>;
template class ASort<int, char>;
template class ASort<int, int>;
template class ABSort<double, double>;
template class ABSort<double, char>;
template class ABSort<double, int>;
template class ABSort<char, double>;
template class ABSort<char, char>;
template class ABSort<char, int>;
template class ABSort<int, double>;
template class ABSort<int, char>;
template class ABSort<int, int>;

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/calibration/AGainArray.h"

#include <algorithm>
#include <set>

namespace zeltra {
namespace {

auto Order(const AGainArrayItem& item) {
  return std::tuple(double{item.time}, KeyOf(item), int{item.source}, int{item.setup}, int{item.subarray});
}

}  // namespace

template class AArray<AGainArrayItem>;
template class AObjArray<AGainArrayItem>;

int AGainArrayItem::Store(AFile& file) const {
  return WriteWhole(file, this, kBytes);
}

int AGainArrayItem::Load(AFile& file) {
  return HasBytes(file, kBytes) && file.Read(this, kBytes);
}

void AGainArray::Append(const AGainArrayItem& item) {
  // Growing by the array's fixed step would copy a long list again and again.
  constexpr int kLongList = 4096;
  const bool isPowerOfTwo = (count() & (count() - 1)) == 0;
  if (count() >= kLongList && isPowerOfTwo) Reallocate(2 * count());
  Add(item);
}

void AGainArray::Append(const AGainArray& other) {
  *this += other;
  Sort();
}

void AGainArray::Sort() {
  std::stable_sort(lpArray(), lpArray() + count(),
                   [](const AGainArrayItem& a, const AGainArrayItem& b) { return Order(a) < Order(b); });
}

int AGainArray::Find(double time, const AGainKey& key) const {
  const AGainArrayItem *begin = lpArray(), *end = begin + count();
  const auto wanted = std::tuple(time, key);
  const auto orderOf = [](const AGainArrayItem& item) { return std::tuple(double{item.time}, KeyOf(item)); };
  const AGainArrayItem* found = std::lower_bound(
      begin, end, wanted, [&](const AGainArrayItem& item, const auto& sought) { return orderOf(item) < sought; });
  return found != end && orderOf(*found) == wanted ? static_cast<int>(found - begin) : -1;
}

std::vector<int> AGainArray::Series(const AGainKey& key) const {
  std::vector<int> places;
  for (int i = 0; i < count(); ++i) {
    if (KeyOf((*this)(i)) == key) places.push_back(i);
  }
  return places;
}

std::vector<AGainKey> AGainArray::Keys() const {
  std::set<AGainKey> keys;
  for (int i = 0; i < count(); ++i) keys.insert(KeyOf((*this)(i)));
  return {keys.begin(), keys.end()};
}

}  // namespace zeltra

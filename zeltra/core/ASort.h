// Lists of keys with values, sorted by key.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ASORT_H_
#define ZELTRA_CORE_ASORT_H_

#include <cstddef>
#include <vector>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Pairs of a key and a value that are collected first and sorted once. A key that is NaN comes after every number, and
/// all such keys are equal.
template <typename K, typename V>
class ASort {
 public:
  int count() const { return static_cast<int>(items_.size()); }
  const K& Key(int i) const { return items_[static_cast<std::size_t>(i)].key; }
  V& Value(int i) { return items_[static_cast<std::size_t>(i)].value; }
  const V& Value(int i) const { return items_[static_cast<std::size_t>(i)].value; }

  void Add(const K& key, const V& value) { items_.push_back({key, value}); }
  void Free() { items_.clear(); }

  /// Order by ascending key; pairs of equal keys keep the order in which they were added.
  void Sort();

 protected:
  struct Item {
    K key;
    V value;
  };
  std::vector<Item> items_;
};

/// Pairs kept in the order of their keys at all times, each key once, for binary search; NaN as in ASort.
template <typename K, typename V>
class ABSort : private ASort<K, V> {
 public:
  using ASort<K, V>::count;
  using ASort<K, V>::Key;
  using ASort<K, V>::Value;
  using ASort<K, V>::Free;

  /// Find a key.
  /// @param index  its position, or the lower bound: where it would be inserted
  /// @return non-zero if the key is present
  int Search(const K& key, int& index) const;

  /// Insert a key with its value in order; a key that is already present keeps its value.
  /// @return the position of the key
  int Add(const K& key, const V& value);
};

ZELTRA_EXPORT_TEMPLATE(ASort<double, double>);
ZELTRA_EXPORT_TEMPLATE(ASort<double, char>);
ZELTRA_EXPORT_TEMPLATE(ASort<double, int>);
ZELTRA_EXPORT_TEMPLATE(ASort<char, double>);
ZELTRA_EXPORT_TEMPLATE(ASort<char, char>);
ZELTRA_EXPORT_TEMPLATE(ASort<char, int>);
ZELTRA_EXPORT_TEMPLATE(ASort<int, double>);
ZELTRA_EXPORT_TEMPLATE(ASort<int, char>);
ZELTRA_EXPORT_TEMPLATE(ASort<int, int>);
ZELTRA_EXPORT_TEMPLATE(ABSort<double, double>);
ZELTRA_EXPORT_TEMPLATE(ABSort<double, char>);
ZELTRA_EXPORT_TEMPLATE(ABSort<double, int>);
ZELTRA_EXPORT_TEMPLATE(ABSort<char, double>);
ZELTRA_EXPORT_TEMPLATE(ABSort<char, char>);
ZELTRA_EXPORT_TEMPLATE(ABSort<char, int>);
ZELTRA_EXPORT_TEMPLATE(ABSort<int, double>);
ZELTRA_EXPORT_TEMPLATE(ABSort<int, char>);
ZELTRA_EXPORT_TEMPLATE(ABSort<int, int>);

}  // namespace zeltra

#endif  // ZELTRA_CORE_ASORT_H_

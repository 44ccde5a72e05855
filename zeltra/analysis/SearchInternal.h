// Binary search in sorted lists.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_SEARCHINTERNAL_H_
#define ZELTRA_ANALYSIS_SEARCHINTERNAL_H_

#include "zeltra/core/AArray.h"

namespace zeltra {

/// -1 if `key` is greater than `item`, 0 if they are equal, 1 otherwise.
template <typename T>
int CompareValues(const T& key, const T& item) {
  if (key == item) return 0;
  return key > item ? -1 : 1;
}

/// Find a key among `count` sorted items.
/// @param compare  compare(i) compares the key with item i, as CompareValues does
/// @param index    position of the item found, else the lower bound: where a new item is inserted
template <typename Compare>
bool BinarySearch(int count, Compare compare, int& index) {
  int low = 0;
  int high = count - 1;
  while (low <= high) {
    const int middle = (low + high) / 2;
    const int order = compare(middle);
    if (order == 0) {
      index = middle;
      return true;
    }
    if (order < 0) {
      low = middle + 1;
    } else {
      high = middle - 1;
    }
  }
  index = low;
  return false;
}

/// Find a number in an ascending list.
inline bool FindNumber(const AArray<int>& ascending, int number, int& index) {
  return BinarySearch(
      ascending.count(), [&](int i) { return CompareValues(number, ascending(i)); }, index);
}

/// Insert a number in order into an ascending list that holds each number once.
inline void InsertNumber(AArray<int>& ascending, int number) {
  int index = 0;
  if (!FindNumber(ascending, number, index)) ascending.InsertAt(index, number);
}

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_SEARCHINTERNAL_H_

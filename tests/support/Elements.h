// Arrays of the library as vectors, which can be compared and printed.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_ELEMENTS_H_
#define ZELTRA_TESTS_SUPPORT_ELEMENTS_H_

#include <memory>
#include <vector>

#include "zeltra/core/AArray.h"

namespace zeltra::test {

template <typename T>
std::vector<T> Elements(const AArray<T>& array) {
  return std::vector<T>(array.lpArray(), array.lpArray() + array.count());
}
/// Of an array that the caller owns, which is deleted.
template <typename T>
std::vector<T> Elements(const AArray<T>* array) {
  return Elements(*std::unique_ptr<const AArray<T>>(array));
}

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_ELEMENTS_H_

// Sorting that ends when the job is cancelled.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_SORTUNLESSCANCELLEDINTERNAL_H_
#define ZELTRA_CORE_SORTUNLESSCANCELLEDINTERNAL_H_

#include <algorithm>

#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// Sort plain data as std::sort does. @return false if the job was cancelled meanwhile; the order is then undefined
template <typename Iterator, typename Less>
bool SortUnlessCancelled(Iterator first, Iterator last, const JobOptions& options, Less less) {
  struct Stop {};
  unsigned calls = 0;
  try {
    std::sort(first, last, [&](const auto& a, const auto& b) {
      if (++calls % 65536 == 0 && IsCancelled(options)) throw Stop();
      return less(a, b);
    });
  } catch (const Stop&) {
    return false;
  }
  return true;
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_SORTUNLESSCANCELLEDINTERNAL_H_

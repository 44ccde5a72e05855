// How a random parameter of a UV FITS file becomes an integer.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXGROUPINTERNAL_H_
#define ZELTRA_UVX_AUVXGROUPINTERNAL_H_

#include <cstdint>
#include <limits>

namespace zeltra {

/// A parameter as an integer, rounded as the format wants it: one half is added and the fraction dropped. What no int
/// holds, NaN too, becomes the nearest or the smallest int.
inline int IntegerForm(double value) {
  constexpr double kSmallest = std::numeric_limits<int32_t>::min(), kLargest = std::numeric_limits<int32_t>::max();
  value += 0.5;
  if (!(value > kSmallest)) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value < kLargest ? value : kLargest);
}

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXGROUPINTERNAL_H_

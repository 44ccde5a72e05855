// SPDX-License-Identifier: MIT
#include "zeltra/image/APtInLine.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace zeltra {
namespace {

/// Steps from `first` towards `last` along one axis, counted from 0.
struct Steps {
  int64 from;
  int64 to;

  /// Those that lie within `half` of `center`.
  Steps(int first, int last, int center, int half)
      : from((last >= first ? int64{center} - first : int64{first} - center) - half), to(from + 2 * int64{half}) {}
};

}  // namespace

// The pixels are those of WalkSegment: the one `k` steps along the longer side of the segment lies
// m(k) = floor(k short / long + 1/2) steps along the shorter one. m never decreases and never skips a number, so of the
// pixels that lie within the rectangle along the longer side, the first and the last show whether any lies within it
// along the shorter side too.
int APtInLine::PtInLine(int x1, int y1, int x2, int y2) const {
  if (dx_ < 0 || dy_ < 0) return 0;
  int64 longSide = std::abs(int64{x2} - x1);
  int64 shortSide = std::abs(int64{y2} - y1);
  Steps along(x1, x2, x0_, dx_);
  Steps across(y1, y2, y0_, dy_);
  if (longSide < shortSide) {
    std::swap(longSide, shortSide);
    std::swap(along, across);
  }
  const int64 first = std::max<int64>(along.from, 0);
  const int64 last = std::min(along.to, longSide);
  // Sides are below 2^32, so the numerator is below 2^64.
  const auto m = [&](int64 k) {
    const auto wide = static_cast<uint64_t>(longSide);
    if (wide == 0) return int64{0};
    return static_cast<int64>((static_cast<uint64_t>(k) * static_cast<uint64_t>(shortSide) + wide / 2) / wide);
  };
  return first <= last && m(first) <= across.to && m(last) >= across.from;
}

int APtInLine::Point(int x, int y) const {
  return std::abs(int64{x} - x0_) <= dx_ && std::abs(int64{y} - y0_) <= dy_;
}

}  // namespace zeltra

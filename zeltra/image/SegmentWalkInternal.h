// The pixels of a straight segment, one after another.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_SEGMENTWALKINTERNAL_H_
#define ZELTRA_IMAGE_SEGMENTWALKINTERNAL_H_

#include <algorithm>
#include <cstdlib>

#include "zeltra/platform/Types.h"

namespace zeltra {

/// Call `visit(x, y)` for the pixels of a segment, both ends included, until it returns true.
///
/// Integer line drawing in all octants (J. E. Bresenham, IBM Systems Journal 4, 25, 1965); a segment that is as high as
/// wide is walked along x. Sums are 64-bit: the ends of a segment may lie 2^32 - 1 pixels apart.
/// @return whether a visit ended the walk
template <typename Visit>
bool WalkSegment(int x1, int y1, int x2, int y2, Visit visit) {
  const int sx = x2 >= x1 ? 1 : -1;
  const int sy = y2 >= y1 ? 1 : -1;
  const int64 ax = std::abs(int64{x2} - x1);
  const int64 ay = std::abs(int64{y2} - y1);
  const bool alongY = ax < ay;
  const int64 longSide = std::max(ax, ay);
  const int64 shortSide = std::min(ax, ay);
  int64 error = 2 * shortSide - longSide;
  int64 x = x1;
  int64 y = y1;
  for (int64 left = longSide; left >= 0; --left) {
    if (visit(static_cast<int>(x), static_cast<int>(y))) return true;
    const bool diagonal = error >= 0;
    if (diagonal || !alongY) x += sx;
    if (diagonal || alongY) y += sy;
    error += 2 * shortSide - (diagonal ? 2 * longSide : 0);
  }
  return false;
}

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_SEGMENTWALKINTERNAL_H_

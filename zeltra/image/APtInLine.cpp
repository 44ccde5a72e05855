// SPDX-License-Identifier: MIT
#include "zeltra/image/APtInLine.h"

#include <cstdlib>

#include "zeltra/image/SegmentWalkInternal.h"

namespace zeltra {

int APtInLine::PtInLine(int x1, int y1, int x2, int y2) const {
  return WalkSegment(x1, y1, x2, y2, [this](int x, int y) { return Point(x, y) != 0; });
}

int APtInLine::Point(int x, int y) const {
  return std::abs(int64{x} - x0_) <= dx_ && std::abs(int64{y} - y0_) <= dy_;
}

}  // namespace zeltra

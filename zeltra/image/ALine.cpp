// SPDX-License-Identifier: MIT
#include "zeltra/image/ALine.h"

#include "zeltra/image/SegmentWalkInternal.h"

namespace zeltra {

void ALine::Draw(int x1, int y1, int x2, int y2) {
  WalkSegment(x1, y1, x2, y2, [this](int x, int y) {
    Point(x, y);
    return false;
  });
}

void ALine::Point(int, int) {}

}  // namespace zeltra

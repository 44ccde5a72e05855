// Hit-testing of straight segments on a pixel grid.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_APTINLINE_H_
#define ZELTRA_IMAGE_APTINLINE_H_

#include <cstdint>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// A rectangle around a point, such as a mouse click, which tests whether segments pass through it.
class ZELTRA_API APtInLine {
 public:
  /// The pixels at most `dx` and `dy` away from (x0, y0); none if a half-width is below 0.
  APtInLine(int x0, int y0, int dx, int dy) : x0_(x0), y0_(y0), dx_(dx), dy_(dy) {}

  /// 1 if any pixel of the segment from (x1, y1) to (x2, y2) lies in the rectangle, else 0. The pixels are those that
  /// ALine draws.
  int PtInLine(int x1, int y1, int x2, int y2) const;
  int PtInLine(const CPoint& a, const CPoint& b) const { return PtInLine(a.x, a.y, b.x, b.y); }

 protected:
  /// 1 if the pixel lies in the rectangle, else 0.
  int Point(int x, int y) const;

 private:
  int32_t x0_;
  int32_t y0_;
  int32_t dx_;
  int32_t dy_;
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_APTINLINE_H_

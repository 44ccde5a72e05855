// Straight segments on a pixel grid.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_ALINE_H_
#define ZELTRA_IMAGE_ALINE_H_

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Walks the pixels of a segment; a derived class does something with them.
///   Point(x, y)  once per pixel, from the first end to the last, on the thread that called Draw()
class ZELTRA_API ALine {
 public:
  virtual ~ALine() = default;

  /// Pass every pixel of the segment from (x1, y1) to (x2, y2), both included, to Point().
  void Draw(int x1, int y1, int x2, int y2);

 protected:
  virtual void Point(int x, int y);
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_ALINE_H_

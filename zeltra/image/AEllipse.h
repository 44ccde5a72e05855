// Rotated ellipses on a pixel grid.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_AELLIPSE_H_
#define ZELTRA_IMAGE_AELLIPSE_H_

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// Walks an ellipse as a closed polygon; a derived class does something with the vertices.
///   Point(index, x, y)  once per vertex, index from 0, on the thread that called Draw()
class ZELTRA_API AEllipse {
 public:
  virtual ~AEllipse() = default;

  /// Pass the `n` vertices to Point(), repeating the first one at the end. Nothing happens if `n` is 0 or less.
  /// @param a, b   semi-axes along the ellipse's own x and y, pixels
  /// @param angle  rotation from x towards y, tenths of a degree
  void Draw(const CPoint& center, int a, int b, int angle, int n);

  /// A vertex, truncated towards zero to whole pixels.
  virtual void Point(int index, int x, int y);
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_AELLIPSE_H_

// Where an image is searched for components.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_CLEANWINDOWS_H_
#define ZELTRA_IMAGING_CLEANWINDOWS_H_

#include <string>
#include <vector>

#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AResult.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// A rectangle on the sky, radians from the phase centre; its edges belong to it.
struct CleanBox {
  double west = 0;  ///< east offset of the western edge
  double east = 0;
  double south = 0;  ///< north offset of the southern edge
  double north = 0;
};

/// Append the box of four numbers "X0,X1,Y0,Y1": the east offsets of two edges, then the north offsets of two, in mas
/// unless a suffix follows; each pair may be in either order. Several boxes are separated by blanks.
ZELTRA_API AResult strToBox(const std::string& text, std::vector<CleanBox>& boxes);
/// The same numbers, box after box, separated by blanks.
ZELTRA_API std::string boxesToStr(const std::vector<CleanBox>& boxes);
/// Append the boxes of a text file: lines of xmin, xmax, ymin, ymax in mas, x to the east; `!` begins a comment.
ZELTRA_API AResult ReadBoxes(const std::string& path, std::vector<CleanBox>& boxes);

/// The pixels of a square image that may hold components.
class ZELTRA_API CleanMask {
 public:
  /// @return 0 if there is no memory for `size` times `size` pixels, none of which is taken yet
  int Create(int size);
  int size() const { return pixels_.Lines(); }
  bool operator()(int line, int element) const { return pixels_(line, element) != 0; }
  void Take(int line, int element) { pixels_(line, element) = 1; }

  /// Take the quarter of the image around its centre.
  void TakeInnerQuarter();
  /// Take the pixels whose centres lie in a box. @return how many
  int TakeBox(const CleanBox& box, double cell);
  /// Take the pixels above a level, and all those around them within an ellipse.
  /// @param isPositive  take pixels above the level only, not those below its negative
  /// @param east, north  the semi-axes of the ellipse along and across lines, pixels
  void TakeAbove(const AMatrix<float>& map, double level, bool isPositive, double east, double north);

  /// How many lines, or columns if that is more, it takes to hold all that is taken; 0 if nothing is.
  int Extent() const;

 private:
  AMatrix<char> pixels_;
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_CLEANWINDOWS_H_

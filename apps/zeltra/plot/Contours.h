// Contour lines of an image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_CONTOURS_H_
#define ZELTRA_APPS_PLOT_CONTOURS_H_

#include <vector>

namespace zeltra::app {

struct ContourPoint {
  double column, line;  ///< whole numbers at the centres of pixels
};

/// Trace where a square image, interpolated linearly between pixels, has the value `level`. A closed line repeats its
/// first point at the end; other lines end at the edge.
/// @param pixels  line by line, `side` pixels each
std::vector<std::vector<ContourPoint>> Contours(const std::vector<float>& pixels, int side, double level);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_CONTOURS_H_

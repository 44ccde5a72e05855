// Lines of one value through an image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_CONTOURS_H_
#define ZELTRA_APPS_PLOT_CONTOURS_H_

#include <vector>

namespace zeltra::app {

struct ContourPoint {
  double column, line;  ///< whole numbers at the centres of pixels
};

/// Trace where a square image, linear between neighbouring pixels, has the value `level`. A line that ends where it
/// begins has its first point twice; others end at the edge.
/// @param pixels  line after line, each of `side`
std::vector<std::vector<ContourPoint>> Contours(const std::vector<float>& pixels, int side, double level);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_CONTOURS_H_

// A dirty image as a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_IMAGEPICTURE_H_
#define ZELTRA_APPS_PLOT_IMAGEPICTURE_H_

#include <optional>
#include <string>

#include "zeltra/imaging/ImageUVX.h"

namespace zeltra::app {

struct PictureOptions {
  /// The values, in the unit of the image, between which colours differ.
  struct Range {
    double low, high;
  };

  bool contours = false;      ///< at -1, 1, 2, 4, 8 ... times three times the rms of the image
  bool isCompressed = false;  ///< colours by the inverse hyperbolic sine of values over the rms, not by the values
  std::optional<Range> clip;  ///< otherwise from the least to the greatest pixel
};

/// Draw an image with axes, a colour bar and its beam: north up, east to the left.
///
/// Colours are those of cubehelix, which grow brighter evenly (D. A. Green: A colour scheme for the display of
/// astronomical intensity images, Bull. Astr. Soc. India 39, 289, 2011). An image of more than 2048 pixels a line is
/// averaged down to that. Small print below tells the beam, the contours and what the colours leave out.
/// @return an SVG file; empty if there is no memory
std::string ImagePicture(const DirtyImage& image, const PictureOptions& options);

/// As in "1.43 x 0.62 mas at -6.9 degrees".
std::string BeamText(const ABeamShape& shape);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_IMAGEPICTURE_H_

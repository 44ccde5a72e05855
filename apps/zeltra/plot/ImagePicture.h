// An image as a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_IMAGEPICTURE_H_
#define ZELTRA_APPS_PLOT_IMAGEPICTURE_H_

#include <optional>
#include <string>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/imaging/ImageUVX.h"

namespace zeltra::app {

struct PictureOptions {
  /// The values between which colours vary, in the unit of the image.
  struct Range {
    double low, high;
  };

  bool contours = false;      ///< at -1, 1, 2, 4, 8 ... times three times the rms of the image
  bool isCompressed = false;  ///< colours by the inverse hyperbolic sine of values over the rms, instead of by the
                              ///< values
  bool components = false;    ///< crosses where components are
  std::optional<Range> clip;  ///< otherwise from the lowest to the highest pixel
};

/// Draw an image with axes, a colour bar and its beam: north up, east to the left.
///
/// The colours are those of cubehelix, which increase evenly in brightness (D. A. Green: A colour scheme for the
/// display of astronomical intensity images, Bull. Astr. Soc. India 39, 289, 2011). An image with lines of more than
/// 2048 pixels is averaged down to that. Small print below gives the beam, the contours and the pixels beyond the range
/// of colours.
/// @param model  the components to mark, if that is asked for
/// @return an SVG file; empty if there is not enough memory
std::string ImagePicture(const DirtyImage& image, const PictureOptions& options, const ComponentModel* model = nullptr);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_IMAGEPICTURE_H_

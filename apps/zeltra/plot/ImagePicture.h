// A dirty image as a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_IMAGEPICTURE_H_
#define ZELTRA_APPS_PLOT_IMAGEPICTURE_H_

#include <string>

#include "zeltra/imaging/ImageUVX.h"

namespace zeltra::app {

/// Draw an image with axes, a colour bar and its beam: north up, east to the left.
///
/// Colours are those of cubehelix, which grow brighter evenly (D. A. Green: A colour scheme for the display of
/// astronomical intensity images, Bull. Astr. Soc. India 39, 289, 2011), from the least to the greatest pixel. An image
/// of more than 2048 pixels a line is averaged down to that.
/// @return a PNG file; empty if there is no memory
std::string ImagePicture(const DirtyImage& image);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_IMAGEPICTURE_H_

// What commands say about images.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_IMAGETEXT_H_
#define ZELTRA_APPS_IMAGETEXT_H_

#include <string>

#include "zeltra/imaging/ImageUVX.h"

namespace zeltra::app {

/// A number with the unit of an image.
std::string BrightnessText(double value, const DirtyImage& image);
/// The brightest pixel and its place.
std::string PeakText(const DirtyImage& image);
/// The note on visibilities that lie too far out.
std::string BeyondText(const DirtyImage& image);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_IMAGETEXT_H_

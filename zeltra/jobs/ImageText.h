// What people are told about an image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_IMAGETEXT_H_
#define ZELTRA_JOBS_IMAGETEXT_H_

#include <string>

#include "zeltra/imaging/ImageUVX.h"

namespace zeltra {

/// A brightness in the unit of the image.
std::string BrightnessText(double value, const DirtyImage& image);
/// The brightest pixel and where it is.
std::string PeakText(const DirtyImage& image);
/// The size and angle of a beam, as in "1.43 x 0.62 mas at -6.9 degrees".
ZELTRA_API std::string BeamText(const ABeamShape& shape);
/// How many visibilities did not fit on the grid.
std::string BeyondText(const DirtyImage& image);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_IMAGETEXT_H_

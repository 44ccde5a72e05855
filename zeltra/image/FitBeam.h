// The elliptical Gaussian that a beam resembles.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_FITBEAM_H_
#define ZELTRA_IMAGE_FITBEAM_H_

#include "zeltra/core/AMatrix.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// An elliptical Gaussian; all zero if there is none.
struct ABeamShape {
  double major = 0;  ///< full width at half maximum along the major axis
  double minor = 0;  ///< the same along the minor axis
  double angle = 0;  ///< of the major axis, degrees from north through east, -90 to 90
};

/// Fit the main lobe of a dirty beam.
///
/// The logarithm of the Gaussian is fitted by least squares to the logarithms of the pixels above half of the peak that
/// hang together with the centre. Of a beam so narrow that fewer than five such pixels are left nothing is fitted.
/// @param beam  peaks at line n / 2, element m / 2 of n lines of m; lines run northward, elements westward
/// @param cell  size of a pixel, whose unit the result has
ZELTRA_API ABeamShape FitBeam(const AMatrix<float>& beam, double cell);

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_FITBEAM_H_

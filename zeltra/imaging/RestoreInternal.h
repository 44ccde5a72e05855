// Components as a telescope with a Gaussian beam would show them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_RESTOREINTERNAL_H_
#define ZELTRA_IMAGING_RESTOREINTERNAL_H_

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/image/BeamShape.h"

namespace zeltra {

/// Add the components of a model, convolved with a Gaussian, to a square image: a point of S Jy adds a Gaussian that is
/// S at its centre.
/// @param cell  size of a pixel, radians
/// @param beam  widths in radians, above 0
/// @return 0 if there is no memory
int Restore(const ComponentModel& model, const ABeamShape& beam, double cell, AMatrix<float>& map);

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_RESTOREINTERNAL_H_

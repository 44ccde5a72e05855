// What jobs that deconvolve share with the one that does not.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_DIRTYIMAGEINTERNAL_H_
#define ZELTRA_IMAGING_DIRTYIMAGEINTERNAL_H_

#include <functional>

#include "zeltra/imaging/ImageUVX.h"

namespace zeltra {

/// Is shown each visibility that is put on the grid, with its gridding weight.
using GriddedVisitor = std::function<void(const SelectedVisibility&, double weight)>;

/// ImageUVX, without the HISTORY card of the job and without the last check of the input.
AResult MakeDirtyImage(AUVXInput& from, const ImageOptions& options, DirtyImage& image, const GriddedVisitor& visit);

/// The rms of all pixels that belong to a direction.
double RMSOfSky(const AMatrix<float>& map, double cell);

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_DIRTYIMAGEINTERNAL_H_

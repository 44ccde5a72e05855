// The job image, to which a host may add a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_IMAGEJOB_H_
#define ZELTRA_JOBS_IMAGEJOB_H_

#include <functional>
#include <string>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/imaging/ImageFiles.h"
#include "zeltra/jobs/JobHost.h"

namespace zeltra {

/// Draws an image.
/// @param components  those that may be marked; null if there are none
/// @param name        of the picture's file, whose ending tells its kind
/// @param picture     receives the bytes of the file
using PictureDrawer = std::function<AResult(const DirtyImage& image, const ComponentModel* components,
                                            const std::string& name, std::string& picture)>;

/// Run the job of ImageDescription().
/// @param draw  empty: no picture can be named
ZELTRA_API AResult MakeImage(const AJobFiles& files, const ImageOptions& options, const PictureDrawer& draw,
                             AJobHost& host);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_IMAGEJOB_H_

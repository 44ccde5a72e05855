// The job clean, to which a host may add a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_CLEANJOB_H_
#define ZELTRA_JOBS_CLEANJOB_H_

#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/jobs/ImageJob.h"

namespace zeltra {

/// Run the job of CleanDescription().
/// @param draw  empty: no picture can be named
ZELTRA_API AResult MakeCleanImage(const AJobFiles& files, const CleanOptions& options, const PictureDrawer& draw,
                                  AJobHost& host);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_CLEANJOB_H_

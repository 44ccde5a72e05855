// The job selfcal, to which a host may add a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_SELFCALJOB_H_
#define ZELTRA_JOBS_SELFCALJOB_H_

#include "zeltra/imaging/SelfCalibrate.h"
#include "zeltra/jobs/ImageJob.h"

namespace zeltra {

/// Run the job of SelfCalDescription().
/// @param draw  empty: no picture can be named
ZELTRA_API AResult MakeSelfCalibrated(const AJobFiles& files, const SelfCalOptions& options, const PictureDrawer& draw,
                                      AJobHost& host);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_SELFCALJOB_H_

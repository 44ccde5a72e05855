// The job gains, to which a host may add a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_GAINSJOB_H_
#define ZELTRA_JOBS_GAINSJOB_H_

#include <functional>
#include <string>

#include "zeltra/calibration/FindGains.h"
#include "zeltra/jobs/JobHost.h"

namespace zeltra {

enum class GainTask { Info, CSV, Average, Plot };

struct GainsOptions : JobOptions {
  GainTask task = GainTask::Info;
  std::string table;    ///< as FindGains accepts it
  double interval = 0;  ///< Average: s
  int ifNumber = 1;     ///< Plot: from 1
  int hand = 1;         ///< Plot: 1 or 2
};

/// Draws gains into the output that is named.
using GainDrawer = std::function<AResult(const AGains& gains)>;

/// Run the job of GainsDescription().
/// @param draw  empty: nothing can be drawn
ZELTRA_API AResult LookIntoGains(const AJobFiles& files, const GainsOptions& options, const GainDrawer& draw,
                                 AJobHost& host);

/// @return a failure if no output is named, or if it is the input
ZELTRA_API AResult NeedOutput(const AJobFiles& files);

ZELTRA_API const AJobDescription& GainsDescription();

}  // namespace zeltra

#endif  // ZELTRA_JOBS_GAINSJOB_H_

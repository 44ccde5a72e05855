// The option of every job that makes an index of records.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_SCANGAPINTERNAL_H_
#define ZELTRA_INTERCHANGE_SCANGAPINTERNAL_H_

#include "zeltra/core/JobDescription.h"

namespace zeltra {

/// --scan-gap.
template <typename Options>
void DescribeScanGap(AJobDescriber<Options>& job) {
  job.Option("scan-gap", &Options::scanGap,
             "make a new list of scans, which end where time stamps are further apart than this")
      .Form("SECONDS")
      .Unit("s")
      .Range(1e-3, 1e9)
      .Otherwise("the list of the input; without one the larger of 60 s and 8 times the median spacing of the stamps");
}

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_SCANGAPINTERNAL_H_

// The option shared by all jobs that make an index of records.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_SCANGAPINTERNAL_H_
#define ZELTRA_INTERCHANGE_SCANGAPINTERNAL_H_

#include "zeltra/core/JobDescription.h"

namespace zeltra {

/// --scan-gap.
template <typename Options>
void DescribeScanGap(AJobDescriber<Options>& job) {
  job.Option("scan-gap", &Options::scanGap,
             "make a new list of scans, ended where time stamps are further apart than this")
      .Form("SECONDS")
      .Unit("s")
      .Range(1e-3, 1e9)
      .Otherwise(
          "the list of the input; if it has none, the larger of 60 s and 8 times the median spacing of its time "
          "stamps");
}

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_SCANGAPINTERNAL_H_

// The coordinates u, v, w of a file, computed anew.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_RECOMPUTEUVW_H_
#define ZELTRA_OPS_RECOMPUTEUVW_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

struct UVWOptions : JobOptions {
  /// Whether the antennas' x and y are turned by the longitude of the array centre: see CalculateUVW.
  bool rotate = false;
  /// Above 0: a new list of scans is made, which end where time stamps are further apart than so many seconds.
  double scanGap = 0;
};

/// How far the new coordinates lie from the old ones, seconds: of u, v and w.
struct UVWDifference {
  int records = 0;  ///< those whose old and new coordinates are finite
  double largest[3] = {};
  double rms[3] = {};
  double longest = 0;  ///< the longest new baseline, for comparison
};

/// Copy a UVX file with u, v, w from CalculateUVW: of the antennas of its table "AN", the apparent coordinates of its
/// table "SU" and the times of its records.
///
/// CalculateUVW knows the mean sidereal time and no more, so coordinates that the table marks as those of the epoch, by
/// a negative EPOCH, are precessed to the date of the observation first (Lieske et al. 1977, A&A 58, 1).
/// @return a failure if an antenna or a source of a record is not in the tables, or if records have more than 1048576
///         values
ZELTRA_API AResult RecomputeUVW(AUVXInput& from, const std::string& to, const UVWOptions& options,
                                UVWDifference& difference);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& UVWDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECOMPUTEUVW_H_

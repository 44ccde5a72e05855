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

/// What a file means with the positions of antennas and sources.
struct ZELTRA_API UVWFrame {
  bool isLeftHanded = false;  ///< y points to 90 degrees west
  bool isLocal = false;       ///< x points to the meridian of the array centre, not to Greenwich
  bool isOfDate = true;       ///< sources are where they stand on the day, not where they stood at their equinox

  /// As in "geocentric right-handed antenna positions, sources of date".
  std::string Text() const;
};

/// How far the new coordinates lie from the old ones, seconds: of u, v and w.
struct UVWDifference {
  UVWFrame frame;   ///< in which they are computed
  int records = 0;  ///< those whose old and new coordinates are finite
  double largest[3] = {};
  double rms[3] = {};
  double relative = 0;  ///< root mean square of all that the file has, over that of its coordinates
};

/// Copy a UVX file with u, v, w made of the antennas of its table "AN", the sources of its table "SU" and the times of
/// its records: eq. 4.1 of Thompson, Moran & Swenson, with the mean sidereal time at Greenwich (Aoki et al. 1982, A&A
/// 105, 359).
///
/// Files do not tell reliably in which frame their positions are. So all are tried on a sample of the records, and the
/// one is taken whose u, v, w are those of the file; w does not count where it is 0 everywhere. Sources that the table
/// marks as those of the equinox, by a negative EPOCH, are precessed to the date of the observation (Lieske et al.
/// 1977, A&A 58, 1); nutation and aberration, up to 1e-4 of a baseline, are left out.
/// @return a failure if no frame fits within 1 % of the root mean square of u, v, w, if an antenna or a source of a
///         record is not in the tables, or if records have more than 1048576 values
ZELTRA_API AResult RecomputeUVW(AUVXInput& from, const std::string& to, const JobOptions& options,
                                UVWDifference& difference);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& UVWDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECOMPUTEUVW_H_

// Computes the coordinates u, v, w of a file anew.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_RECOMPUTEUVW_H_
#define ZELTRA_OPS_RECOMPUTEUVW_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

/// How the positions of antennas and sources in a file are to be read.
struct ZELTRA_API UVWFrame {
  bool isLeftHanded = false;  ///< y points to 90 degrees west
  bool isLocal = false;       ///< x points to the meridian of the array centre, not that of Greenwich
  bool isOfDate = true;       ///< source positions are those of the day, not of their equinox

  /// As in "geocentric right-handed antenna positions, sources of date".
  std::string Text() const;
};

/// How far the new coordinates are from the old ones, seconds, for u, v and w.
struct UVWDifference {
  UVWFrame frame;   ///< in which the new ones are computed
  int records = 0;  ///< number whose old and new coordinates are finite
  double largest[3] = {};
  double rms[3] = {};
  double relative = 0;  ///< root mean square of all differences, relative to that of the file's coordinates
};

/// Copy a UVX file with u, v, w computed from the antennas of its table "AN", the sources of its table "SU" and the
/// times of its records: eq. 4.1 of Thompson, Moran & Swenson, with the mean sidereal time at Greenwich (Aoki et al.
/// 1982, A&A 105, 359).
///
/// Files do not reliably say in which frame their positions are. So all are tried on a sample of the records, and the
/// one that reproduces u, v, w of the file is used; w is ignored if it is 0 everywhere. Sources that the table marks as
/// those of the equinox, by a negative EPOCH, are precessed to the date of the observation (Lieske et al. 1977, A&A 58,
/// 1); nutation and aberration, up to 1e-4 of a baseline, are left out.
/// @return a failure if no frame fits within 1 % of the root mean square of u, v, w, if an antenna or a source of a
///         record is not in the tables, or if records have more than 1048576 values
ZELTRA_API AResult RecomputeUVW(AUVXInput& from, const std::string& to, const JobOptions& options,
                                UVWDifference& difference);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& UVWDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECOMPUTEUVW_H_

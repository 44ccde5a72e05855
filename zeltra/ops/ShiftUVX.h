// The phase centre of a UVX file moves.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SHIFTUVX_H_
#define ZELTRA_OPS_SHIFTUVX_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

/// Where the phase centre moves to, as an image of the input shows it: orthographic offsets (SIN) in the frame of u, v.
struct ShiftOptions : JobOptions {
  double ra = 0;   ///< to the east, radians on the sky: the difference of right ascensions times cos dec
  double dec = 0;  ///< to the north, radians
  /// Numbers or names; may stay empty in a file of one source.
  std::vector<std::string> sources;
};

struct ShiftedSource {
  int number = 0;
  SkyPosition position;  ///< the new one
};

/// What a shift did that a person should know.
struct ShiftSummary {
  std::vector<ShiftedSource> sources;
  std::vector<std::string> remarks;
};

/// Copy a UVX file with the phase centre of sources moved by (l, m):
///   V' = V exp(-2 pi i nu (u l + v m + w (n - 1))),  n = sqrt(1 - l^2 - m^2),
/// so that what stood at (l, m) stands at the centre. u, v, w are turned to the new direction, whose north is that of
/// its own meridian. Records of other sources stay to the bit.
///
/// In "SU" RAEPO, DECEPO, RAAPP and DECAPP move by the same offsets, each pair in its own frame; so do the cards RA and
/// DEC of a file of one source. RAOBS, DECOBS, OBSRA and OBSDEC stay: they tell where the antennas pointed. Scans and
/// all other tables stay, the baseline list is made anew.
/// @param summary  may be null
/// @return a failure if several sources are there and none is named, if one is not in the table "SU", or if the new
///         centre is not on the hemisphere around the old one
ZELTRA_API AResult ShiftUVX(AUVXInput& from, const std::string& to, const ShiftOptions& options, ShiftSummary* summary);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& ShiftDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SHIFTUVX_H_

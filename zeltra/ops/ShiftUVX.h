// Moves the phase centre of a UVX file.
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

/// The new phase centre, as seen in an image of the input: orthographic offsets (SIN) in the frame of u, v.
struct ShiftOptions : JobOptions {
  double ra = 0;   ///< eastward, radians on the sky: the difference of right ascensions times cos dec
  double dec = 0;  ///< northward, radians
  /// Numbers or names; may be empty if the file has one source.
  std::vector<std::string> sources;
};

struct ShiftedSource {
  int number = 0;
  SkyPosition position;  ///< the new one
};

/// The results of a shift, for the user.
struct ShiftSummary {
  std::vector<ShiftedSource> sources;
  std::vector<std::string> remarks;
};

/// Copy a UVX file with the phase centre of sources moved by (l, m):
///   V' = V exp(-2 pi i nu (u l + v m + w (n - 1))),  n = sqrt(1 - l^2 - m^2),
/// so that whatever was at (l, m) is at the centre. u, v, w are rotated to the new direction, with north along its own
/// meridian. Records of other sources are copied bit for bit.
///
/// In "SU" RAEPO, DECEPO, RAAPP and DECAPP move by the same offsets, each pair in its own frame; so do the cards RA and
/// DEC of a file with one source. RAOBS, DECOBS, OBSRA and OBSDEC are unchanged: they say where the antennas pointed.
/// Scans and all other tables are unchanged; the baseline list is made anew.
/// @param summary  may be null
/// @return a failure if there are several sources and none is named, if one is not in the table "SU", if a frequency is
///         not known or not above 0 where there are values, or if the new centre is not on the hemisphere around the
///         old one
ZELTRA_API AResult ShiftUVX(AUVXInput& from, const std::string& to, const ShiftOptions& options, ShiftSummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& ShiftDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SHIFTUVX_H_

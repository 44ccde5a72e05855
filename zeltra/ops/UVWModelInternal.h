// Computes u, v, w from antennas, sources and times, for a given reading of the file's positions.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_UVWMODELINTERNAL_H_
#define ZELTRA_OPS_UVWMODELINTERNAL_H_

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/numeric/Astrometry.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/RecomputeUVW.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// Projects baselines on the direction of their source (UVWProjection), using the mean sidereal time at Greenwich.
class UVWModel {
 public:
  UVWModel(const AUVXContents& contents, const UVWFrame& frame);

  const UVWFrame& frame() const { return frame_; }
  /// Compute the coordinates of a record, seconds: antenna 1 minus antenna 2.
  /// @return false if one of its antennas or its source is not listed
  bool Compute(const AUVXGroup& group, AVector& uvw);
  /// The failure for such a record.
  AResult Missing(const std::string& path, const WalkedRecord& record) const;

 private:
  struct DatedSource {
    double day = std::numeric_limits<double>::quiet_NaN();  // for which the position holds
    ASkyPosition position = {};
  };

  const ASkyPosition* PositionOf(const AUVXGroup& group);

  const AUVXContents& contents_;
  const UVWFrame frame_;
  std::vector<AVector> antennas_;  // by number; seconds, geocentric and right-handed
  std::vector<bool> isListed_;
  std::map<int, DatedSource> sources_;
};

/// Find how the positions in the file are to be read: the frame that reproduces the coordinates of a sample of its
/// records.
/// @return a failure if none of them fits within a hundredth, or if the file has no coordinates to compare with
AResult FindUVWFrame(AUVXInput& from, UVWFrame& frame);

}  // namespace zeltra

#endif  // ZELTRA_OPS_UVWMODELINTERNAL_H_

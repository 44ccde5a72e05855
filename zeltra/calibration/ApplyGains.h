// A UVX file becomes another one without the gains of its antennas.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_APPLYGAINS_H_
#define ZELTRA_CALIBRATION_APPLYGAINS_H_

#include <string>
#include <vector>

#include "zeltra/calibration/GainCorrection.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

/// Whether weights follow the amplitudes.
enum class WeightScaling { Auto, Yes, No };

struct ApplyOptions : JobOptions {
  std::string gains;   ///< as FindGains takes them
  std::string from;    ///< the source whose solutions serve all; empty: each source's own
  double maxGap = -1;  ///< seconds: solutions further apart are not joined; negative: those of a scan alone are
  GainPart part = GainPart::Whole;
  WeightScaling scaleWeights = WeightScaling::Auto;  ///< Auto: where a solution has another modulus than 1
  bool passMissing = false;  ///< whether what has no solution stays as it is, else it is flagged
};

/// What was done.
struct ApplySummary {
  int records = 0;
  int64 corrected = 0;  ///< valid visibilities
  int64 missing = 0;    ///< those without a solution
  bool areWeightsScaled = false;
  std::vector<std::string> remarks;
};

/// Copy a file with V / (g_p conj(g_q)) in the place of each visibility V of antennas p, q, and the weight
/// w |g_p g_q|^2 if weights are scaled. RL takes the gain of R at p and that of L at q. Delays turn channels by
/// 2 pi x delay x (frequency - frequency of the first channel of the IF). GainTimeline tells the gain at the time of a
/// record. Values that are flagged are corrected too, and stay flagged. The tables "SN" and "CL" are left out, since
/// they are of the visibilities before.
/// Memory: the gains, and 32 bytes a scan.
/// @param summary  may be null
/// @return a failure if no visibility has a solution, if the index does not describe the records, or for Stokes
///         parameters where the two hands have gains of their own: there is no output then
ZELTRA_API AResult ApplyGains(AUVXInput& from, const std::string& to, const ApplyOptions& options,
                              ApplySummary* summary);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& ApplyDescription();

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_APPLYGAINS_H_

// Copying a UVX file with the gains of its antennas taken out.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_APPLYGAINS_H_
#define ZELTRA_CALIBRATION_APPLYGAINS_H_

#include <string>
#include <vector>

#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/calibration/GainCorrection.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

class OutputFiles;

/// Whether weights follow the amplitudes.
enum class WeightScaling { Auto, Yes, No };

struct ApplyOptions : JobOptions {
  std::string gains;                 ///< as FindGains accepts them
  const AGains* solution = nullptr;  ///< gains that are used instead, if it is not null; not owned
  std::string from;                  ///< the source whose solutions are used for all; empty: each source uses its own
  double maxGap = -1;  ///< seconds: solutions further apart are not joined; negative: only those within a scan are
  GainPart part = GainPart::Whole;
  WeightScaling scaleWeights = WeightScaling::Auto;  ///< Auto: if any solution has a modulus other than 1
  bool passMissing = false;  ///< whether visibilities without a solution are kept unchanged instead of flagged
};

/// What was done.
struct ApplySummary {
  int records = 0;
  int64 corrected = 0;  ///< valid visibilities
  int64 missing = 0;    ///< those without a solution
  bool areWeightsScaled = false;
  std::vector<std::string> remarks;
};

/// Copy a file with each visibility V of antennas p, q replaced by V / (g_p conj(g_q)), and its weight by w |g_p g_q|^2
/// if weights are scaled. RL uses the gain of R at p and that of L at q. Delays turn channels by 2 pi x delay x
/// (frequency - frequency of the first channel of the IF). GainTimeline gives the gain at the time of a record. Flagged
/// values are corrected too, and stay flagged. The tables "SN" and "CL" are left out, since they describe the
/// uncorrected visibilities.
/// Memory: the gains, and 32 bytes a scan.
/// @param summary  may be null
/// @return a failure, and no output, if no visibility has a solution, if the index does not describe the records, or
///         for Stokes parameters if the two hands have different gains
ZELTRA_API AResult ApplyGains(AUVXInput& from, const std::string& to, const ApplyOptions& options,
                              ApplySummary* summary);

/// The same for a job with several outputs: the file gets its name when `together` is committed.
ZELTRA_API AResult ApplyGains(AUVXInput& from, const std::string& to, const ApplyOptions& options,
                              ApplySummary* summary, OutputFiles& together);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& ApplyDescription();

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_APPLYGAINS_H_

// Splits a UVX file into one file for each source and frequency setup.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SPLITUVX_H_
#define ZELTRA_OPS_SPLITUVX_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// What is split.
struct SplitOptions : JobOptions {
  /// Its IFs, channels and polarisations are ignored.
  UVXSelection selection;
};

/// What was made.
struct SplitSummary {
  std::vector<std::string> paths;
  std::vector<std::string> remarks;
};

/// Write the records of each source and setup into a file of their own, in `folder`, which is made if it does not
/// exist. A file is named after its source, with characters that have a meaning to a file system or a shell replaced,
/// and after its setup if the input has several. Numbers of sources, setups and antennas stay. "SU" and "FQ" keep the
/// row of the source and the setup, and `freq0` becomes the frequency of that setup; "FG", "SN", "CL", "TY" and "BP"
/// keep the rows about the source and the setup, or about all. The lists of scans and baselines are rebuilt.
///
/// No file has its name before all are complete. The input is read once for every 32 files.
/// @param summary  may be null
ZELTRA_API AResult SplitUVX(AUVXInput& from, const std::string& folder, const SplitOptions& options,
                            SplitSummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& SplitDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SPLITUVX_H_

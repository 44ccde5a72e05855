// A UVX file becomes another one that holds a part of it.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_COPYUVX_H_
#define ZELTRA_OPS_COPYUVX_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// What is copied.
struct CopyOptions : JobOptions {
  /// Channels have to be evenly spaced, and polarisations are those that the file stores.
  UVXSelection selection;
  /// Whether records are left out that are flagged, or that keep no valid value.
  bool dropFlagged = false;
  /// Above 0: a new list of scans is made; a scan ends where time stamps are further apart than this, seconds.
  double scanGap = 0;
};

/// What a user should know about the run.
struct CopySummary {
  int records = 0;
  std::vector<std::string> remarks;
};

/// Copy records and tables. Scans are kept if they still have records, the baseline list is made anew, rows of
/// antennas and sources that no longer have records are left out; everything else is copied as it is where IFs,
/// channels and polarisations stay.
///
/// Where IFs or channels are left out, frequencies stay right: `freq0` is that of the first channel kept, IF FREQ
/// counts from there, CH WIDTH is the distance of the channels kept, columns that have an element for each IF lose
/// those of the IFs left out, and the ranges of "FG" are renumbered. Tables that cannot follow are left out, with a
/// remark: bandpasses where channels are left out, and unknown tables that look as if they had columns for IFs. Memory:
/// some records, and 110 bytes a scan.
/// @param summary  may be null
/// @return a failure if no record is selected, if records have more than 1048576 values, or if IFs or channels are left
///         out where the columns of "FQ" do not fill its rows: there is no output then
ZELTRA_API AResult CopyUVX(AUVXInput& from, const std::string& to, const CopyOptions& options, CopySummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& CopyDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_COPYUVX_H_

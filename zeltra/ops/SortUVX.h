// Sorts the records of a UVX file into another file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SORTUVX_H_
#define ZELTRA_OPS_SORTUVX_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

/// How records are sorted.
struct SortOptions : JobOptions {
  /// Two keys, of which the second varies fastest:
  ///   B  baseline, 256 x antenna 1 + antenna 2     R  length of u, v             X, Y  |u|, |v|, descending
  ///   T  time                                      P  position angle of u, v     Z, M  |u|, |v|, ascending
  ///   U, V, W  the coordinate                      *  nothing, as second key
  std::string order = "TB";
  /// Bytes of memory. 24 MiB of it are for other things than keys and records, which get at least 1 MiB and room for
  /// four records.
  double memory = 1 << 28;
};

/// What a user should know about the run.
struct SortSummary {
  bool wasSorted = false;  ///< whether the records were in this order already
  std::vector<std::string> remarks;
};

/// Sort records, which are not changed. Records whose keys are the same keep their order; in TB and BT those of the
/// same time and baseline are ordered by source, then setup. Times compare as stored; keys that are NaN come last. R
/// and P have the precision of u, v, w.
///
/// A file that is in order is copied in one pass. Otherwise keys of 16 bytes per record are sorted, and records are
/// gathered from the input for one window of the output after another, if the keys fit into memory and the windows take
/// no more than a few passes over the input. If not, sorted runs are written to a file without a name, beside the
/// output, and merged.
///
/// The index is rebuilt: for an order that begins with time as AUVXWriter makes one; for others, scans end where source
/// or setup changes. Tables stay as they are.
/// @param summary  may be null
ZELTRA_API AResult ResortUVXFile(AUVXInput& from, const std::string& to, const SortOptions& options,
                                 SortSummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& SortDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SORTUVX_H_

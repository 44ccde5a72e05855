// A UVX file becomes another one with its records in another order.
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
  /// Bytes of memory, of which 24 MiB are for other things than keys and records; these get 1 MiB, and four records,
  /// at least.
  double memory = 1 << 28;
};

/// What was done that a person should know.
struct SortSummary {
  bool wasSorted = false;  ///< whether the records were in this order already
  std::vector<std::string> remarks;
};

/// Sort records, which are not changed. Records whose keys are the same keep their order; of those of one time and one
/// baseline, in TB and BT, it is that of their sources, then of their setups. Times compare as they stand; keys that
/// are no numbers come last. R and P have the precision of u, v, w.
///
/// A file that is in order is copied in one pass. Of another one 16 bytes a record are sorted, and records are gathered
/// from the input for one window of the output after the other, where the memory holds the keys and windows take no
/// more than a few passes over the input. Else sorted runs are written beside the output, into a file without a name,
/// and merged.
///
/// The index is made anew: in an order that begins with time as AUVXWriter makes one, in another one scans end where
/// source or setup change. Tables stay as they are.
/// @param summary  may be null
ZELTRA_API AResult ResortUVXFile(AUVXInput& from, const std::string& to, const SortOptions& options,
                                 SortSummary* summary);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& SortDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SORTUVX_H_

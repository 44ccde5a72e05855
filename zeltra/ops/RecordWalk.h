// A walk over the records of a UVX file as they lie, for jobs that need no time order.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_RECORDWALK_H_
#define ZELTRA_OPS_RECORDWALK_H_

#include <functional>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

class RecordChoice;

/// A record on its way past a visitor, which may keep copies of its parts alone.
struct WalkedRecord {
  int index = 0;  ///< in the file, from 0
  AUVXGroup group;
  /// Shape [IF][channel][polarisation], polarisation fastest.
  const AUVXComplex* values = nullptr;
};

/// Called on the thread that walks, in the order of the file. @return false to end the walk, which then has succeeded
using RecordVisitor = std::function<bool(const WalkedRecord&)>;

/// Visit the records from `first` to `end` - 1, all of them in the file, whatever the index says of them.
/// @param options  the progress control gets the range 0..100 and percentages; the cancel flag counts once a block
/// @return that the walk was cancelled, or which record cannot be read; those before it have been visited
ZELTRA_API AResult WalkRecords(AUVXInput& input, const JobOptions& options, int first, int end,
                               const RecordVisitor& visit);

/// Visit the records that are taken, by the index of the file. Short scans between theirs are read too, longer ones are
/// passed over.
/// @return also that the index is not one of all records, or that a record which was read is of another source or
///         setup than it says
ZELTRA_API AResult WalkRecords(AUVXInput& input, const JobOptions& options, const RecordChoice& choice,
                               const RecordVisitor& visit);

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECORDWALK_H_

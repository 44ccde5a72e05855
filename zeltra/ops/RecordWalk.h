// A walk over the records of a UVX file in file order, for jobs that need no time order.
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

/// A record passed to a visitor, which may copy its contents but not keep pointers to them.
struct WalkedRecord {
  int index = 0;  ///< in the file, from 0
  AUVXGroup group;
  /// Shape [IF][channel][polarisation], polarisation fastest.
  const AUVXComplex* values = nullptr;
};

/// The records from `first` to `end` - 1.
struct RecordStretch {
  int first, end;
};

/// Called on the walking thread, in file order. @return false to end the walk, which counts as success
using RecordVisitor = std::function<bool(const WalkedRecord&)>;

/// Visit the records from `first` to `end` - 1, all of which the file must hold, whatever the index says about them.
/// @param options  the progress control gets the range 0..100 and percentages; each block checks the cancel flag once
/// @return a failure if the walk was cancelled, or if a record, which it names, cannot be read; those before it have
/// been visited
ZELTRA_API AResult WalkRecords(AUVXInput& input, const JobOptions& options, int first, int end,
                               const RecordVisitor& visit);

/// Visit the selected records, by the index of the file. Short scans between them are read too, longer ones are
/// skipped.
/// @return a failure also if the index does not cover all records, or if a record that was read has another source or
///         setup than the index says
ZELTRA_API AResult WalkRecords(AUVXInput& input, const JobOptions& options, const RecordChoice& choice,
                               const RecordVisitor& visit);

/// Visit those of them that lie between two records. Threads may visit different ones at the same time once
/// AUVXInput::contents() has been called.
ZELTRA_API AResult WalkRecords(AUVXInput& input, const JobOptions& options, const RecordChoice& choice,
                               RecordStretch within, const RecordVisitor& visit);

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECORDWALK_H_

// What a copying writer leaves, put right.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FINISHEDCOPYINTERNAL_H_
#define ZELTRA_OPS_FINISHEDCOPYINTERNAL_H_

#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXPosition.h"

namespace zeltra {

/// Watches the records that a copying writer reads and keeps, and writes the index that the copy should have.
///
/// The writer registers groups with their times in days where the index counts seconds, so the times in the index that
/// it writes are divided by 86400 once too often. This index has days since 0 h of the observation date. It has as many
/// rows as the other one and takes its place in the file.
class FinishedCopy {
 public:
  explicit FinishedCopy(AUVXInput& from);

  /// Tell that the writer has read one more record.
  void CountRead() { ++read_; }
  /// Take a record that is kept into the index.
  void Register(const AUVXGroup& group);
  int records() const { return records_; }

  /// @return a failure if the writer could not read all records
  AResult Check() const;
  /// Write index and, where the writer found none to replace, the baseline list.
  void WriteIndex(AUVXFile& to);

 private:
  AUVXInput& from_;
  double dateObs_;
  int read_ = 0;
  int records_ = 0;
  AUVXPosition index_;
  AUVXBaseLines baseLines_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_FINISHEDCOPYINTERNAL_H_

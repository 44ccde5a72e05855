// Carries the scans of a file over to one made from its records.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_KEPTSCANSINTERNAL_H_
#define ZELTRA_OPS_KEPTSCANSINTERNAL_H_

#include <string>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {

/// Tells a writer which scan of the input its records are of.
class KeptScans {
 public:
  /// @param gap  above 0: the scans are not kept; gaps of more seconds between time stamps end those of the output
  KeptScans(AUVXInput& from, AUVXWriter& to, double gap);

  /// Call before a record of the input, from 0, is appended. Records must ascend.
  void Enter(int record) {
    if (areKept_ && record >= end_) Begin(record);
  }
  /// A sentence about the new index for the user; empty if there is nothing to say. Valid after AUVXWriter::AddIndex.
  std::string Remark() const;

 private:
  void Begin(int record);

  const AUVXPosition& scans_;
  AUVXWriter& to_;
  bool areKept_ = false;
  bool areDenied_ = false;  // the records contradict them
  int scan_ = 0;            // of the last record
  int end_ = 0;             // of that scan
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_KEPTSCANSINTERNAL_H_

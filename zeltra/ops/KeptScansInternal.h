// The scans of a file go over to one that is made of its records.
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
  /// @param gap  above 0: the scans are not kept, and gaps between time stamps above it, seconds, end those of the
  /// output
  KeptScans(AUVXInput& from, AUVXWriter& to, double gap);

  /// Before a record of the input, from 0, is appended. Records ascend.
  void Enter(int record) {
    if (areKept_ && record >= end_) Begin(record);
  }
  /// What a person should know of the new index; empty for nothing. After AUVXWriter::AddIndex.
  std::string Remark() const;

 private:
  void Begin(int record);

  const AUVXPosition& scans_;
  AUVXWriter& to_;
  bool areKept_ = false;
  bool areDenied_ = false;  // by the records
  int scan_ = 0;            // of the last record
  int end_ = 0;             // of that scan
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_KEPTSCANSINTERNAL_H_

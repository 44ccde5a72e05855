// SPDX-License-Identifier: MIT
#include "zeltra/ops/KeptScansInternal.h"

namespace zeltra {

KeptScans::KeptScans(AUVXInput& from, AUVXWriter& to, double gap) : scans_(from.contents().scans()), to_(to) {
  to.SetScanGap(gap);
  if (gap > 0 || scans_.count() == 0) return;
  areKept_ = static_cast<bool>(from.contents().CheckIndex(from));
  areDenied_ = !areKept_;
}

void KeptScans::Begin(int record) {
  while (scans_(scan_).endVis <= record) ++scan_;
  end_ = scans_(scan_).endVis;
  to_.BeginScan(scan_, scans_(scan_).subarray);
}

std::string KeptScans::Remark() const {
  if (areDenied_) return "the index table NX does not describe the records and is built anew";
  return to_.IndexRemark();
}

}  // namespace zeltra

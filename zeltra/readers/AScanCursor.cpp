// SPDX-License-Identifier: MIT
#include "zeltra/readers/AScanCursor.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "zeltra/platform/MessageBox.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

AScanCursor::AScanCursor(AUVXFile& file) : held_(file.HeldRecords()) {
  const std::unique_ptr<AUVXTable> index(file.GetTable("NX"));
  if (index) {
    positions_ = std::make_shared<AUVXPosition>(*index);
  } else {
    AfxMessageBox("AUVXREAD NX=NULL");
    positions_ = std::make_shared<AUVXPosition>();
  }
}

AScanCursor::AScanCursor(AUVXFile& file, std::shared_ptr<AUVXPosition> scans)
    : positions_(std::move(scans)), held_(file.HeldRecords()) {}

int AScanCursor::CountRecords(const Drop& drop) const {
  int64 sum = 0;
  for (int i = 0; i < positions_->count(); ++i) {
    AUVXPositionItem& scan = (*positions_)(i);
    if (!drop(scan)) sum += int64{scan.endVis} - scan.startVis + 1;
  }
  return static_cast<int>(std::clamp<int64>(sum, 0, std::numeric_limits<int>::max()));
}

void AScanCursor::First(const Drop& drop) {
  GoToScanFrom(0, drop);
}

bool AScanCursor::Settle(const Drop& drop, bool& jumped) {
  jumped = false;
  while (scan_ >= 0 && next_ > (*positions_)(scan_).endVis) {
    GoToScanFrom(scan_ + 1, drop);
    jumped = true;
  }
  return IsHeld();
}

void AScanCursor::GoToScanFrom(int scan, const Drop& drop) {
  while (scan < positions_->count() && drop((*positions_)(scan))) ++scan;
  scan_ = scan < positions_->count() ? scan : -1;
  next_ = scan_ >= 0 ? (*positions_)(scan_).startVis : 0;
}

}  // namespace zeltra

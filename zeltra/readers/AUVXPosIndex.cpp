// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXPosIndex.h"

#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXPosition.h"

namespace zeltra {

AUVXPosIndex::AUVXPosIndex(AUVXFile* file, int source, CProgressCtrl* progress)
    : source_(source), cursor_(*file), file_(file), progress_(progress) {
  total_ = cursor_.positions().CountForSrc(source);
  freqSel_ = cursor_.positions().FreqSelForSrc(source);
  SendProgressRange(progress_);
  cursor_.First([this](AUVXPositionItem& scan) { return AUVXPosIndex::IsDropPosItem(scan) != 0; });
}

AUVXPosIndex::~AUVXPosIndex() = default;

int AUVXPosIndex::IsDropPosItem(AUVXPositionItem& scan) {
  return scan.sourceId != source_;
}

int AUVXPosIndex::GetIndex(int& recordIndex) {
  if (returned_ > total_) return 0;
  bool jumped = false;
  if (!cursor_.Settle([this](AUVXPositionItem& scan) { return IsDropPosItem(scan) != 0; }, jumped)) return 0;
  ++returned_;
  recordIndex = cursor_.Record();
  SendProgress(progress_, returned_, total_, lastPercent_);
  cursor_.Step();
  return 1;
}

AUVXFreqs* AUVXPosIndex::GetFreqs() {
  return new AUVXFreqs(*file_, freqSel_);
}

AUVXPosIndex_FqS::AUVXPosIndex_FqS(AUVXFile* file, int source, int freqSel, CProgressCtrl* progress)
    : AUVXPosIndex(file, source, progress) {
  const auto drop = [this](AUVXPositionItem& scan) { return AUVXPosIndex_FqS::IsDropPosItem(scan) != 0; };
  freqSel_ = freqSel;
  cursor_.First(drop);
  if (cursor_.IsHeld()) file_->SeekUVGroup(cursor_.Record());
  total_ = cursor_.CountRecords(drop);
}

int AUVXPosIndex_FqS::IsDropPosItem(AUVXPositionItem& scan) {
  return scan.sourceId != source_ || scan.freqId != freqSel_;
}

}  // namespace zeltra

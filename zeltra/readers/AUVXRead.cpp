// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXRead.h"

#include <utility>

#include "zeltra/uvx/AUVXPosition.h"

namespace zeltra {

AUVXRead::AUVXRead(AUVXFile* file, int source, CProgressCtrl* progress)
    : AUVXRead(file, source, progress, AScanCursor(*file)) {}

AUVXRead::AUVXRead(AUVXFile* file, int source, CProgressCtrl* progress, AScanCursor cursor)
    : AUVXBaseRead(file, progress), source_(source), cursor_(std::move(cursor)) {
  total_ = cursor_.positions().CountForSrc(source);
  freqSel_ = cursor_.positions().FreqSelForSrc(source);
  SendProgressRange(progress_);
  Select([this](AUVXPositionItem& scan) { return AUVXRead::IsDropPosItem(scan) != 0; });
}

void AUVXRead::Select(const AScanCursor::Drop& drop) {
  cursor_.First(drop);
  if (cursor_.IsHeld()) file_->SeekUVGroup(cursor_.Record());
}

int AUVXRead::IsDropPosItem(AUVXPositionItem& scan) {
  return scan.sourceId != source_;
}

int AUVXRead::GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& recordIndex) {
  if (recordsRead_ > total_) return 0;
  bool jumped = false;
  if (!cursor_.Settle([this](AUVXPositionItem& scan) { return IsDropPosItem(scan) != 0; }, jumped)) return 0;
  if (jumped) file_->SeekUVGroup(cursor_.Record());
  ++recordsRead_;
  if (!ReadRecord()) return 0;
  Take(record_.data(), file_->recSize(), group, vis);
  recordIndex = cursor_.Record();
  TellProgress(total_);
  cursor_.Step();
  return 1;
}

// Neither what the last record left in the buffer nor bytes from elsewhere in the file may pass for this record: the
// position after the read shows which bytes it took.
bool AUVXRead::ReadRecord() {
  const int bytes = file_->recSize();
  record_.resize(static_cast<size_t>(bytes));
  const int64 end = file_->DataOffset() + (int64{cursor_.Record()} + 1) * bytes;
  return file_->GetFile() && ReadWhole(*file_->GetFile(), record_.data(), bytes) && file_->GetPos() == end;
}

AUVXRead_FqS::AUVXRead_FqS(AUVXFile* file, int source, int freqSel, CProgressCtrl* progress)
    : AUVXRead_FqS(file, source, freqSel, progress, AScanCursor(*file)) {}

AUVXRead_FqS::AUVXRead_FqS(AUVXFile* file, int source, int freqSel, std::shared_ptr<AUVXPosition> scans)
    : AUVXRead_FqS(file, source, freqSel, nullptr, AScanCursor(*file, std::move(scans))) {}

AUVXRead_FqS::AUVXRead_FqS(AUVXFile* file, int source, int freqSel, CProgressCtrl* progress, AScanCursor cursor)
    : AUVXRead(file, source, progress, std::move(cursor)), selected_(freqSel) {
  const auto drop = [this](AUVXPositionItem& scan) { return AUVXRead_FqS::IsDropPosItem(scan) != 0; };
  freqSel_ = freqSel;
  Select(drop);
  total_ = cursor_.CountRecords(drop);
}

int AUVXRead_FqS::IsDropPosItem(AUVXPositionItem& scan) {
  return scan.sourceId != source_ || scan.freqId != selected_;
}

}  // namespace zeltra

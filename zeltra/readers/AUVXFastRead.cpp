// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXFastRead.h"

#include <algorithm>
#include <new>

namespace zeltra {

AUVXFastRead::AUVXFastRead(AUVXFile* file, CProgressCtrl* progress)
    : AUVXBaseRead(file, progress), recordBytes_(file->recSize()), fileRecords_(file->count()) {
  const int held = file->HeldRecords();
  file->SeekUVGroup(0);
  SendProgressRange(progress);
  if (held < 1) return;
  blockRecords_ = std::min(std::max(kBlockBytes / recordBytes_, 1), held);
  buffer_.reset(new (std::nothrow) char[static_cast<size_t>(blockRecords_) * static_cast<size_t>(recordBytes_)]);
  if (!buffer_) return;
  recordsLeft_ = held;
}

bool AUVXFastRead::LoadBlock() {
  blockRecords_ = std::min(blockRecords_, recordsLeft_);
  if (blockRecords_ < 1) return false;
  const int bytes = blockRecords_ * recordBytes_;
  // What a short read leaves in the buffer must not pass for records.
  if (!file_->GetFile() || !ReadWhole(*file_->GetFile(), buffer_.get(), bytes)) {
    recordsLeft_ = 0;
    return false;
  }
  recordsLeft_ -= blockRecords_;
  recordsLoaded_ += blockRecords_;
  next_ = buffer_.get();
  return true;
}

}  // namespace zeltra

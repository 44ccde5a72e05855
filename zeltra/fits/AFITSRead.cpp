// SPDX-License-Identifier: MIT
#include "zeltra/fits/AFITSRead.h"

#include <algorithm>

#include "zeltra/fits/AFITS.h"
#include "zeltra/platform/ProgressCtrl.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {
namespace {

constexpr int kBatchBytes = 8192;

/// Groups that are whole in the file: at most GCOUNT.
int HeldGroups(const AFITS& fits) {
  const AFITSmain* header = fits.main();
  if (!header || !fits.file() || header->groupBytes() < 1) return 0;
  const int64 held = (fits.file()->GetFileSize() - header->dataStart()) / header->groupBytes();
  return static_cast<int>(std::clamp<int64>(held, 0, fits.GetRecords()));
}

}  // namespace

ABaseFITSRead::~ABaseFITSRead() = default;

int ABaseFITSRead::GetUVGVis(AUVXGroup&, AUVXVisibility&, int&) {
  return 1;
}

AFITSRead::AFITSRead(AFITS* fits, CProgressCtrl* progress)
    : ABaseFITSRead(fits, progress), remaining_(HeldGroups(*fits)) {
  if (remaining_ > 0) {
    const int groupBytes = fits->main()->groupBytes();
    batch_ = std::min(std::max(1, kBatchBytes / groupBytes), remaining_);
    buffer_.resize(static_cast<size_t>(groupBytes) * static_cast<size_t>(batch_));
    if (!fits->SeekToGroup(0)) remaining_ = 0;
  }
  SendProgressRange(progress);
}

int AFITSRead::Refill() {
  batch_ = std::min(batch_, remaining_);
  if (batch_ < 1) return 0;
  const int64 bytes = int64{fits_->main()->groupBytes()} * batch_;
  if (!ReadWhole(*fits_->file(), buffer_.data(), bytes)) return remaining_ = 0;
  remaining_ -= batch_;
  readCount_ += batch_;
  cursor_ = buffer_.data();
  return 1;
}

bool AFITSRead::Complete() const {
  const AFITSmain* header = fits_->main();
  return header && header->nextHeader() >= 0 && delivered_ == header->gcount();
}

int AFITSRead::GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& index) {
  if (delivered_ >= readCount_ && !Refill()) return 0;
  vis.load(*fits_, group.load(*fits_, cursor_));
  cursor_ += fits_->main()->groupBytes();
  ++delivered_;
  SendProgress(progress_, delivered_, fits_->GetRecords(), lastPercent_);
  index = delivered_ - 1;
  return 1;
}

}  // namespace zeltra

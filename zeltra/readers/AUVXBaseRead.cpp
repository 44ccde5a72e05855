// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXBaseRead.h"

#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra {

AUVXBaseRead::AUVXBaseRead(AUVXFile* file, CProgressCtrl* progress) : file_(file), progress_(progress) {}

AUVXBaseRead::~AUVXBaseRead() = default;

AUVXFreqs* AUVXBaseRead::GetFreqs() {
  if (!freqs_ || freqsSetup_ != freqSel_) {
    const int64 position = file_->GetPos();
    freqs_ = std::make_shared<AUVXFreqs>(*file_, freqSel_);
    freqsSetup_ = freqSel_;
    file_->Seek(position);
  }
  return freqs_.get();
}

}  // namespace zeltra

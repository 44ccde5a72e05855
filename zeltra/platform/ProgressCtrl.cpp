// SPDX-License-Identifier: MIT
#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra {

CProgressCtrl::~CProgressCtrl() = default;

void SendProgressRange(CProgressCtrl* progress) {
  if (progress) progress->SendMessage(kProgressRange, 0, std::intptr_t{100} << 16);
}

void SendProgressText(CProgressCtrl* progress, const char* text) {
  if (progress) progress->SendMessage(kProgressText, 0, reinterpret_cast<std::intptr_t>(text));
}

void SendProgress(CProgressCtrl* progress, std::int64_t done, std::int64_t total, int& lastPercent) {
  if (!progress || total < 1) return;
  const int percent = static_cast<int>(static_cast<double>(done) * 100.0 / static_cast<double>(total) + 0.5);
  if (percent == lastPercent) return;
  lastPercent = percent;
  progress->SendMessage(kProgressPosition, static_cast<std::uintptr_t>(percent), 0);
}

}  // namespace zeltra

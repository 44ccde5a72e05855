// SPDX-License-Identifier: MIT
#include "apps/zeltra/TerminalProgress.h"

#include <algorithm>
#include <cstdio>

namespace zeltra::app {
namespace {

// Together less than the 80 columns of the narrowest terminals: a line that wraps could not be redrawn.
constexpr int kTextColumns = 36;
constexpr int kBarColumns = 30;
constexpr int kLineColumns = kTextColumns + kBarColumns + 9;

}  // namespace

std::intptr_t TerminalProgress::SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
  if (message == kProgressText) {
    step_ = reinterpret_cast<const char*>(lParam);
    percent_ = 0;
  } else if (message == kProgressPosition) {
    percent_ = static_cast<int>(std::min<std::uintptr_t>(wParam, 100));
  } else {
    return 0;
  }
  Draw();
  return 0;
}

void TerminalProgress::Draw() {
  const int filled = percent_ * kBarColumns / 100;
  const std::string bar = std::string(static_cast<size_t>(filled), '#') + std::string(kBarColumns - filled, '.');
  std::fprintf(stderr, "\r%-*.*s [%s] %3d %%", kTextColumns, kTextColumns, step_.c_str(), bar.c_str(), percent_);
  std::fflush(stderr);
  visible_ = true;
}

void TerminalProgress::Clear() {
  if (visible_) std::fprintf(stderr, "\r%*s\r", kLineColumns, "");
  visible_ = false;
}

}  // namespace zeltra::app

// SPDX-License-Identifier: MIT
#include "zeltra/desktop/FileCopy.h"

#include <algorithm>

#include "zeltra/core/AFile.h"
#include "zeltra/core/CancelFlag.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

constexpr int64 kChunkBytes = 8192;

// Sends the percentage copied so far when its whole part has changed.
class Percentage {
 public:
  Percentage(CProgressCtrl* progress, int64 size) : progress_(progress), size_(static_cast<double>(size)) {}

  void Send(int64 remaining) {
    if (!progress_) return;
    const int percent = static_cast<int>((1 - static_cast<double>(remaining) / size_) * 100 + 0.5);
    if (percent == last_) return;
    last_ = percent;
    progress_->SendMessage(kProgressPosition, static_cast<std::uintptr_t>(percent), 0);
  }

 private:
  CProgressCtrl* progress_;
  double size_;
  int last_ = -1;
};

bool CopyBytes(AFile& from, AFile& to, bool* cancel, CProgressCtrl* progress) {
  int64 remaining = from.GetFileSize();
  Percentage percentage(progress, remaining);
  char buffer[kChunkBytes];
  while (remaining > 0) {
    // Set by another thread, or by a window's message while a position is being sent.
    if (CancelFlag(cancel)) return false;
    percentage.Send(remaining);
    const int64 chunk = std::min(remaining, kChunkBytes);
    if (!ReadWhole(from, buffer, chunk) || !WriteWhole(to, buffer, chunk)) return false;
    remaining -= chunk;
  }
  return remaining == 0;
}

}  // namespace

bool fCopy(const std::string& src, const std::string& dst, bool* cancel, CProgressCtrl* progress) {
  // Opening the destination empties it, and the source too if they are one file.
  if (IsSameFile(src, dst)) return false;
  AFile from, to;
  if (!from.Open(src.c_str(), AFile::Binary)) return false;
  if (!to.Open(dst.c_str(), AFile::WriteOnly | AFile::Create | AFile::Binary)) return false;
  // Some file systems report lost bytes only when the file is closed.
  const bool copied = CopyBytes(from, to, cancel, progress);
  return to.Close() && copied;
}

}  // namespace zeltra

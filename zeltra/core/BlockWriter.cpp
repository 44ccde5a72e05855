// SPDX-License-Identifier: MIT
#include "zeltra/core/BlockWriterInternal.h"

#include <system_error>
#include <utility>

#include "zeltra/platform/System.h"

namespace zeltra {

BlockWriter::BlockWriter(CheckedFile& file, int threads)
    : file_(file), block_(new char[kBlockBytes]), mayStartThread_((threads > 0 ? threads : ProcessorCount()) > 1) {}

BlockWriter::~BlockWriter() {
  if (!thread_.joinable()) return;
  Wait();
  HandOver(kStop);
  thread_.join();
}

bool BlockWriter::Flush() {
  Wait();
  if (used_ > 0) file_.Write(block_.get(), used_);
  used_ = 0;
  return file_.good();
}

void BlockWriter::Clear() {
  Wait();
  used_ = 0;
}

// Whether the block handed over here has been written becomes known only when the next one is full.
bool BlockWriter::WriteBlock() {
  if (!HasThread()) return Flush();
  Wait();
  if (!file_.good()) return false;
  std::swap(block_, handedOver_);
  HandOver(std::exchange(used_, 0));
  return true;
}

bool BlockWriter::HasThread() {
  if (!std::exchange(mayStartThread_, false)) return thread_.joinable();
  handedOver_.reset(new char[kBlockBytes]);
  try {
    thread_ = std::thread([this] { WriteInBackground(); });
  } catch (const std::system_error&) {
    // If the system can start no thread, each block is written at once.
  }
  return thread_.joinable();
}

// Not the waiting functions of std::atomic: they may miss a wake-up on systems without futexes.

void BlockWriter::HandOver(int bytes) {
  {
    const std::lock_guard lock(mutex_);
    bytes_ = bytes;
  }
  changed_.notify_all();
}

// Wait until the thread has written its block.
void BlockWriter::Wait() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return bytes_ == 0; });
}

void BlockWriter::WriteInBackground() {
  for (;;) {
    int bytes = 0;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return bytes_ != 0; });
      bytes = bytes_;
    }
    if (bytes == kStop) return;
    file_.Write(handedOver_.get(), bytes);
    HandOver(0);
  }
}

}  // namespace zeltra

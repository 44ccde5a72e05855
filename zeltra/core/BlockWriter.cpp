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
  bytes_ = kStop;
  bytes_.notify_all();
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

// How a block fares that is handed over is known when the next one is full.
bool BlockWriter::WriteBlock() {
  if (!HasThread()) return Flush();
  Wait();
  if (!file_.good()) return false;
  std::swap(block_, handedOver_);
  bytes_ = std::exchange(used_, 0);
  bytes_.notify_all();
  return true;
}

bool BlockWriter::HasThread() {
  if (!std::exchange(mayStartThread_, false)) return thread_.joinable();
  handedOver_.reset(new char[kBlockBytes]);
  try {
    thread_ = std::thread([this] { WriteInBackground(); });
  } catch (const std::system_error&) {
    // A system that has no thread left writes each block at once.
  }
  return thread_.joinable();
}

// Until the thread has written what it was given.
void BlockWriter::Wait() const {
  for (int bytes = bytes_; bytes > 0; bytes = bytes_) bytes_.wait(bytes);
}

void BlockWriter::WriteInBackground() {
  for (;;) {
    bytes_.wait(0);
    const int bytes = bytes_;
    if (bytes == kStop) return;
    file_.Write(handedOver_.get(), bytes);
    bytes_ = 0;
    bytes_.notify_all();
  }
}

}  // namespace zeltra

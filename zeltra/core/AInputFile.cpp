// SPDX-License-Identifier: MIT
#include "zeltra/core/AInputFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"

namespace zeltra {

AResult AInputFile::Open(const std::string& path, const std::string& name) {
  Close();
  errno = 0;
  AFile::Open(path.c_str(), AFile::Binary);
  return Begin(name.empty() ? path : name);
}

AResult AInputFile::Adopt(AFile& file, const std::string& name) {
  Close();
  AFile::operator=(std::move(file));
  return Begin(name);
}

// Take up a file that has just been opened, unless opening it failed.
AResult AInputFile::Begin(const std::string& name) {
  name_ = name;
  position_ = 0;
  failedAt_ = -1;
  platform::FileStamp stamp;
  if (descriptor() < 0 || !platform::StampOf(descriptor(), stamp)) {
    const int error = errno;
    Close();
    return AResult::Fail(name_ + ": cannot be read: " + ReasonOf(error));
  }
  size_ = stamp.size;
  modified_ = stamp.modified;
  return AResult::Ok();
}

AResult AInputFile::Check() const {
  platform::FileStamp stamp{size_, modified_};
  if (descriptor() >= 0 && !platform::StampOf(descriptor(), stamp)) {
    return AResult::Fail(name_ + ": cannot be read: " + ReasonOf(errno));
  }
  if (stamp != platform::FileStamp{size_, modified_}) return AResult::Fail(name_ + ": was changed while it was read");
  return hasFailed() ? ReadFailure() : AResult::Ok();
}

AResult AInputFile::Settle(const AResult& result) const {
  if (result.code() == AResult::Cancelled) return result;
  AResult read = Check();
  return read ? result : read;
}

int AInputFile::Seek(const int64& pos) {
  if (descriptor() < 0 || pos < 0) return 0;
  position_ = pos;
  return 1;
}

int AInputFile::Read(void* buf, int n) {
  const int64 moved = ReadAt(position_, buf, n);
  position_ += std::max<int64>(moved, 0);
  return moved > 0;
}

int64 AInputFile::ReadAt(int64 position, void* buf, int64 n) const {
  const int64 held = std::clamp<int64>(size_ - position, 0, std::max<int64>(n, 0));
  if (descriptor() < 0 || position < 0 || hasFailed()) return -1;
  if (held == 0) return 0;
  const int64 moved = AFile::ReadAt(position, buf, held);
  if (moved == held) return moved;
  const int error = errno;
  const std::lock_guard lock(mutex_);
  if (failedAt_ < 0) {
    failedAt_ = position + std::max<int64>(moved, 0);
    error_ = error;
  }
  return moved;
}

bool AInputFile::hasFailed() const {
  const std::lock_guard lock(mutex_);
  return failedAt_ >= 0;
}

AResult AInputFile::ReadFailure() const {
  const std::lock_guard lock(mutex_);
  return AResult::Fail(name_ + ": cannot be read at byte " + std::to_string(failedAt_) + " of " +
                       std::to_string(size_) + ": " +
                       (error_ != 0 ? ReasonOf(error_) : std::string("the system gives no more")));
}

}  // namespace zeltra

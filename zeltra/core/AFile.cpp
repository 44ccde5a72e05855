// SPDX-License-Identifier: MIT
#include "zeltra/core/AFile.h"

#include <utility>

#include "zeltra/platform/SystemInternal.h"

namespace zeltra {

static_assert(AFile::WriteOnly == platform::kWriteOnly && AFile::ReadWrite == platform::kReadWrite &&
              AFile::Create == platform::kCreate && AFile::Truncate == platform::kTruncate &&
              AFile::Binary == platform::kBinary);

AFile::~AFile() {
  AFile::Close();
}

AFile::AFile(AFile&& other) noexcept : ABFile(other), descriptor_(std::exchange(other.descriptor_, -1)) {}

AFile& AFile::operator=(AFile&& other) noexcept {
  if (this == &other) return *this;
  if (descriptor_ != other.descriptor_) AFile::Close();
  descriptor_ = std::exchange(other.descriptor_, -1);
  return *this;
}

int AFile::Open(const char* path, int mode) {
  return OpenWith(path, mode, platform::kOwnerOnly);
}

int AFile::OpenWith(const char* path, int mode, int permissions) {
  if (mode & WriteOnly) mode = (mode & ~WriteOnly) | ReadWrite;
  if (mode & Create) mode |= Truncate;
  descriptor_ = platform::OpenDescriptor(path, mode, permissions);
  return descriptor_ >= 0;
}

int AFile::Close() {
  if (descriptor_ < 0) return 0;
  const bool closed = platform::CloseDescriptor(descriptor_);
  descriptor_ = -1;
  return closed;
}

// The system is not asked about a closed file: the Windows runtime may end a process that hands it descriptor -1.

int AFile::Seek(const int64& pos) {
  return descriptor_ >= 0 && platform::SeekDescriptor(descriptor_, pos) >= 0;
}

int64 AFile::Tell() {
  return descriptor_ >= 0 ? platform::TellDescriptor(descriptor_) : -1;
}

int AFile::Read(void* buf, int n) {
  return descriptor_ >= 0 && platform::ReadDescriptor(descriptor_, buf, n) > 0;
}

int AFile::Write(void* buf, int n) {
  return descriptor_ >= 0 && platform::WriteDescriptor(descriptor_, buf, n) > 0;
}

int64 AFile::ReadAt(int64 position, void* buf, int64 n) const {
  return descriptor_ >= 0 ? platform::ReadDescriptorAt(descriptor_, position, buf, n) : -1;
}

int AFile::GetLine(char* buf, int n, char delim) {
  for (int i = 0; i < n; ++i) {
    if (!Read(buf + i, 1)) return 0;
    if (buf[i] == delim || buf[i] == '\0') {
      buf[i] = '\0';
      return 1;
    }
  }
  return 1;
}

int64 AFile::GetFileSize() {
  return descriptor_ >= 0 ? platform::DescriptorSize(descriptor_) : -1;
}

int AFile::Trunc() {
  return descriptor_ >= 0 && platform::TruncateDescriptor(descriptor_, Tell()) == 0;
}

}  // namespace zeltra

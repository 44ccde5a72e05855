// SPDX-License-Identifier: MIT
#include "zeltra/core/AStreamFile.h"

#include <cerrno>
#include <new>
#include <utility>

#include "zeltra/platform/SystemInternal.h"

namespace zeltra {

AStreamFile::Shared::~Shared() {
  Close();
}

int AStreamFile::Shared::Close() {
  if (!stream) return 0;
  const bool closed = std::fclose(stream) == 0;
  stream = nullptr;
  return closed;
}

AStreamFile::~AStreamFile() {
  AStreamFile::Close();
}

int AStreamFile::Open(const char* path, const char* mode, int bufSize) {
  // Opening may empty the file, so there must be a buffer first.
  if (bufSize < 1) return 0;
  const auto bytes = static_cast<size_t>(bufSize);
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[bytes]);
  if (!buffer) return 0;
  AStreamFile::Close();
  if (!shared_) shared_ = std::make_shared<Shared>();
  shared_->stream = platform::OpenStream(path, mode);
  if (!Stream() || shared_->buffer) return 0;
  shared_->buffer = std::move(buffer);
  return std::setvbuf(Stream(), shared_->buffer.get(), _IOFBF, bytes) == 0;
}

int AStreamFile::Close() {
  return shared_ ? shared_->Close() : 0;
}

int AStreamFile::Seek(const int64& pos) {
  return Stream() && platform::SeekStream(Stream(), pos);
}

int64 AStreamFile::Tell() {
  return Stream() ? platform::TellStream(Stream()) : -1;
}

int AStreamFile::Read(void* buf, int n) {
  return n > 0 && ReadL(buf, n);
}

int AStreamFile::ReadL(void* buf, int64 n) {
  return Stream() && n > 0 && std::fread(buf, 1, static_cast<size_t>(n), Stream()) > 0;
}

int AStreamFile::Write(void* buf, int n) {
  return n > 0 && WriteL(buf, n);
}

int AStreamFile::WriteL(void* buf, int64 n) {
  return Stream() && n > 0 && std::fwrite(buf, 1, static_cast<size_t>(n), Stream()) > 0;
}

int AStreamFile::GetLine(char* buf, int n, char) {
  return Stream() && std::fgets(buf, n, Stream()) != nullptr;
}

int64 AStreamFile::GetFileSize() {
  return Stream() ? platform::DescriptorSize(platform::DescriptorOf(Stream())) : -1;
}

int AStreamFile::Trunc() {
  return Stream() ? platform::TruncateDescriptor(platform::DescriptorOf(Stream()), Tell()) : EBADF;
}

}  // namespace zeltra

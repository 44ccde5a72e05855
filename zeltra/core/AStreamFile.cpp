// SPDX-License-Identifier: MIT
#include "zeltra/core/AStreamFile.h"

#include <cerrno>
#include <new>

#include "zeltra/platform/SystemInternal.h"

namespace zeltra {

AStreamFile::~AStreamFile() {
  AStreamFile::Close();
  delete[] buffer_;
}

int AStreamFile::Open(const char* path, const char* mode, int bufSize) {
  stream_ = platform::OpenStream(path, mode);
  if (!stream_) return 0;
  if (buffer_) return 0;
  if (bufSize < 1) return 0;
  buffer_ = new (std::nothrow) char[static_cast<size_t>(bufSize)];
  return buffer_ && std::setvbuf(stream_, buffer_, _IOFBF, static_cast<size_t>(bufSize)) == 0;
}

int AStreamFile::Close() {
  if (!stream_) return 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  return closed;
}

int AStreamFile::Seek(const int64& pos) {
  return stream_ && platform::SeekStream(stream_, pos);
}

int64 AStreamFile::Tell() {
  return stream_ ? platform::TellStream(stream_) : -1;
}

int AStreamFile::Read(void* buf, int n) {
  return n > 0 && ReadL(buf, n);
}

int AStreamFile::ReadL(void* buf, int64 n) {
  return stream_ && n > 0 && std::fread(buf, 1, static_cast<size_t>(n), stream_) > 0;
}

int AStreamFile::Write(void* buf, int n) {
  return n > 0 && WriteL(buf, n);
}

int AStreamFile::WriteL(void* buf, int64 n) {
  return stream_ && n > 0 && std::fwrite(buf, 1, static_cast<size_t>(n), stream_) > 0;
}

int AStreamFile::GetLine(char* buf, int n, char) {
  return stream_ && std::fgets(buf, n, stream_) != nullptr;
}

int64 AStreamFile::GetFileSize() {
  return stream_ ? platform::DescriptorSize(platform::DescriptorOf(stream_)) : -1;
}

int AStreamFile::Trunc() {
  return stream_ ? platform::TruncateDescriptor(platform::DescriptorOf(stream_), Tell()) : EBADF;
}

}  // namespace zeltra

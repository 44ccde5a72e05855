// SPDX-License-Identifier: MIT
#include "zeltra/core/ABFile.h"

#include <algorithm>

namespace zeltra {
namespace {

constexpr int64 kLargestChunk = 0x7FFFFFFF;

template <typename Transfer>
int InChunks(void* buf, int64 n, Transfer transfer) {
  auto* p = static_cast<char*>(buf);
  while (n > 0) {
    // The remainder shrinks by what was asked for, not by what was moved: a chunk that moved anything counts as
    // complete.
    const int64 chunk = std::min(n, kLargestChunk);
    if (!transfer(p, static_cast<int>(chunk))) return 0;
    p += chunk;
    n -= chunk;
  }
  return 1;
}

}  // namespace

ABFile::~ABFile() = default;

int ABFile::Close() {
  return 1;
}

int ABFile::ReadL(void* buf, int64 n) {
  return InChunks(buf, n, [this](char* p, int chunk) { return Read(p, chunk); });
}

int ABFile::WriteL(void* buf, int64 n) {
  return InChunks(buf, n, [this](char* p, int chunk) { return Write(p, chunk); });
}

bool HasBytes(ABFile& file, int64 n) {
  const int64 position = file.Tell();
  return n >= 0 && position >= 0 && n <= file.GetFileSize() - position;
}

int ReadWhole(ABFile& file, void* buf, int64 n) {
  if (n < 1) return n == 0;
  const int64 start = file.Tell();
  for (int64 done = 0; done < n;) {
    if (!file.Read(static_cast<char*>(buf) + done, static_cast<int>(std::min(n - done, kLargestChunk)))) return 0;
    const int64 moved = file.Tell() - start;
    if (moved <= done || moved > n) return 0;
    done = moved;
  }
  return 1;
}

int WriteWhole(ABFile& file, const void* buf, int64 n) {
  if (n < 1) return n == 0;
  const int64 start = file.Tell();
  return file.WriteL(buf, n) && file.Tell() - start == n;
}

}  // namespace zeltra

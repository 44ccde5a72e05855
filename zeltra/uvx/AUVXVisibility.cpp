// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXVisibility.h"

#include <algorithm>
#include <limits>

#include "zeltra/uvx/AUVXFile.h"

namespace zeltra {

int AUVXVisibility::GrowBy(int IFs, int channels, int stokes) {
  IFs_ = IFs;
  channels_ = channels;
  stokes_ = stokes;
  constexpr int64 kLargest = std::numeric_limits<int32_t>::max();
  // Two factors always fit into 64 bits; the third one is tried only where they fit into 32.
  int64 product = int64{channels} * stokes;
  if (product > kLargest || product < -kLargest) product = 0;
  product *= std::max(IFs, 1);
  if (product > kLargest || product < -kLargest) product = 0;
  if (product > 0) {
    AArray::GrowBy(static_cast<int>(product));
  } else {
    Free();
  }
  return static_cast<int>(product);
}

int AUVXVisibility::GrowBy(AUVXFile& uvx) {
  return GrowBy(uvx.IFs(), uvx.channels(), uvx.stokes());
}

int AUVXVisibility::load(AUVXFile& uvx) {
  return uvx.GetFile() && load(*uvx.GetFile());
}

int AUVXVisibility::load(ABFile& file) {
  return ReadWhole(file, lpArray(), static_cast<int64>(Bytes(count())));
}

int AUVXVisibility::store(AUVXFile& uvx) {
  return uvx.GetFile() && store(*uvx.GetFile());
}

int AUVXVisibility::store(ABFile& file) {
  return WriteWhole(file, lpArray(), static_cast<int64>(Bytes(count())));
}

char* AUVXVisibility::load(char* p) {
  std::copy_n(p, Bytes(count()), reinterpret_cast<char*>(lpArray()));
  return p + Bytes(count());
}

char* AUVXVisibility::store(char* p) const {
  return std::copy_n(reinterpret_cast<const char*>(lpArray()), Bytes(count()), p);
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXVisibility.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "zeltra/fits/AFITS.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/uvx/AUVXFile.h"

namespace zeltra {
namespace {

/// Bytes of a complex in the file of `header`; 0 if it has none.
int64 ComplexBytes(const AFITSmain* header) {
  return header ? 3 * std::abs(int64{header->valueBytes()}) : 0;
}

/// Whole complexes in one group of the file.
int64 ComplexesOfGroup(const AFITSmain* header) {
  const int64 bytes = ComplexBytes(header);
  if (bytes == 0) return 0;
  const int64 dataBytes = header->groupBytes() - bytes / 3 * header->pcount();
  return std::max<int64>(dataBytes / bytes, 0);
}

}  // namespace

AUVXVisibility::AUVXVisibility(AUVXVisibility&& other) noexcept {
  *this = std::move(other);
}

AUVXVisibility& AUVXVisibility::operator=(AUVXVisibility&& other) noexcept {
  if (this == &other) return *this;
  AArray::operator=(std::move(other));
  IFs_ = std::exchange(other.IFs_, 0);
  channels_ = std::exchange(other.channels_, 0);
  stokes_ = std::exchange(other.stokes_, 0);
  return *this;
}

AUVXVisibility::AUVXVisibility(const AFITS& fits) {
  GrowBy(fits.IFs(), fits.Channels(), fits.Stokes());
}

int AUVXVisibility::GrowBy(int IFs, int channels, int stokes) {
  int points, product;
  if (__builtin_mul_overflow(channels, std::max(IFs, 1), &points) || __builtin_mul_overflow(points, stokes, &product)) {
    return GrowBy(0, 0, 0);
  }
  IFs_ = IFs;
  channels_ = channels;
  stokes_ = stokes;
  if (product < 1) {
    Free();
    return product;
  }
  AArray::GrowBy(product);
  return lpArray() ? product : GrowBy(0, 0, 0);
}

int AUVXVisibility::GrowBy(const AUVXFile& uvx) {
  return GrowBy(uvx.IFs(), uvx.channels(), uvx.stokes());
}

int AUVXVisibility::load(AUVXFile& uvx) {
  return uvx.GetFile() && load(*uvx.GetFile());
}

int AUVXVisibility::load(ABFile& file) {
  return ReadWhole(file, lpArray(), static_cast<int64>(Bytes(count())));
}

int AUVXVisibility::store(AUVXFile& uvx) const {
  return uvx.GetFile() && store(*uvx.GetFile());
}

int AUVXVisibility::store(ABFile& file) const {
  return WriteWhole(file, lpArray(), static_cast<int64>(Bytes(count())));
}

const char* AUVXVisibility::load(const char* p) {
  std::copy_n(p, Bytes(count()), reinterpret_cast<char*>(lpArray()));
  return p + Bytes(count());
}

char* AUVXVisibility::store(char* p) const {
  return std::copy_n(reinterpret_cast<const char*>(lpArray()), Bytes(count()), p);
}

int AUVXVisibility::load(AFITS& fits) {
  const int64 bytes = std::min<int64>(count(), ComplexesOfGroup(fits.main())) * ComplexBytes(fits.main());
  if (!fits.file() || !HasBytes(*fits.file(), bytes)) return 0;
  std::vector<char> raw(static_cast<size_t>(bytes));
  if (!ReadWhole(*fits.file(), raw.data(), bytes)) return 0;
  load(fits, raw.data());
  return 1;
}

char* AUVXVisibility::load(AFITS& fits, char* p) {
  const int64 held = std::min<int64>(count(), ComplexesOfGroup(fits.main()));
  DecodeFITSValues(fits, p, lpArray(), held);
  std::fill(lpArray() + held, lpArray() + std::max(count(), 0), AUVXComplex(0, 0, 0));
  return p + held * ComplexBytes(fits.main());
}

int AUVXVisibility::ToFITS(ABFile& file) {
  Swap32(lpArray(), lpArray(), 3 * static_cast<size_t>(count()));
  return store(file);
}

}  // namespace zeltra

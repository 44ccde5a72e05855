// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXHeader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITS.h"
#include "zeltra/uvx/AUVXFile.h"

namespace zeltra {
namespace {

constexpr double kFarAway = 1e38;
static_assert(std::bit_cast<uint64_t>(kFarAway) == 0x47D2CED32A16A1B1);

int ReadAt(AUVXFile& uvx, int offset, void* buf, int n) {
  return uvx.Seek(offset) && ReadWhole(*uvx.GetFile(), buf, n);
}

/// Value of an axis at a pixel, both counted from 1.
double ValueAtPixel(AFITSmain& header, int axis, int pixel) {
  AMatrix<double>& axes = header.axes();
  const double value = axes(0, axis - 1), step = axes(1, axis - 1), reference = axes(2, axis - 1);
  return value + (pixel - reference) * step;
}

int WriteAt(AUVXFile& uvx, int offset, const void* buf, int n) {
  return uvx.Seek(offset) && WriteWhole(*uvx.GetFile(), buf, n);
}

}  // namespace

AUVXMinMax::AUVXMinMax(AUVXFile& uvx) {
  if (!ReadAt(uvx, AUVXFile::UVX_OFS_MNMX(), this, sizeof *this)) init();
}

AUVXMinMax::AUVXMinMax(ABFile& file) {
  if (!ReadWhole(file, this, sizeof *this)) init();
}

void AUVXMinMax::init() {
  std::fill(std::begin(ranges_), std::end(ranges_), TMnMx{kFarAway, -kFarAway});
}

int AUVXMinMax::store(AUVXFile& uvx) const {
  return WriteAt(uvx, AUVXFile::UVX_OFS_MNMX(), this, sizeof *this);
}

int AUVXMinMax::store(ABFile& file) const {
  return WriteWhole(file, this, sizeof *this);
}

AUVXStokes::AUVXStokes(AUVXFile& uvx) : AUVXStokes() {
  Load(uvx);
}

AUVXStokes::AUVXStokes(ABFile& file) : AUVXStokes() {
  Load(file);
}

AUVXStokes::AUVXStokes(const AFITS& fits) : AUVXStokes() {
  AFITSmain* header = fits.main();
  const int axis = header ? header->FindAxis("STOKES") : 0;
  if (axis == 0) return;
  SetCount(header->AxisLength(axis));
  for (int i = 0; i < count(); ++i) {
    const double code = ValueAtPixel(*header, axis, i + 1);
    if (std::abs(code) <= std::numeric_limits<int16_t>::max()) codes_[i] = static_cast<int>(code);
  }
}

int AUVXStokes::FindStokes(int code, int& index) const {
  const auto* end = codes_ + count_;
  const auto* found = std::find_if(codes_, end, [code](AUVXStokesCode stored) { return stored == code; });
  if (found == end) return 0;
  index = static_cast<int>(found - codes_);
  return 1;
}

int AUVXStokes::Load(AUVXFile& uvx) {
  *this = AUVXStokes();
  return uvx.Seek(AUVXFile::UVX_OFS_STOKES()) && Load(*uvx.GetFile());
}

int AUVXStokes::Load(ABFile& file) {
  const int read = ReadWhole(file, this, sizeof *this);
  if (!read) *this = AUVXStokes();
  SetCount(count());
  return read;
}

int AUVXStokes::Store(AUVXFile& uvx) const {
  return WriteAt(uvx, AUVXFile::UVX_OFS_STOKES(), this, sizeof *this);
}

int AUVXStokes::Store(ABFile& file) const {
  return WriteWhole(file, this, sizeof *this);
}

std::string AUVXInfoHeader::Bunit() const {
  return FieldText(bunit, sizeof bunit);
}
std::string AUVXInfoHeader::Observer() const {
  return FieldText(observer, sizeof observer);
}
std::string AUVXInfoHeader::Telescope() const {
  return FieldText(telescope, sizeof telescope);
}

AUVXHeader::AUVXHeader() {
  std::memset(static_cast<void*>(this), 0, sizeof *this);
}

AUVXHeader::AUVXHeader(AUVXFile& uvx) {
  if (!ReadAt(uvx, AUVXFile::UVX_OFS_HEADER(), this, sizeof *this)) *this = AUVXHeader();
  stokes.SetCount(stokes.count());
}

AUVXHeader::AUVXHeader(const AFITS& fits) : AUVXHeader() {
  AFITSmain* header = fits.main();
  if (!header) return;
  info.count = header->gcount();
  info.epoch = header->epoch();
  info.dateObs = JulianDateOf(header->dateObs());
  SetFieldText(info.bunit, sizeof info.bunit, header->bunit());
  SetFieldText(info.observer, sizeof info.observer, header->observer());
  SetFieldText(info.telescope, sizeof info.telescope, header->instrume());
  range.init();
  stokes = AUVXStokes(fits);
  IFs = fits.IFs();
  channels = fits.Channels();
  if (const int axis = header->FindAxis("FREQ")) freq0 = ValueAtPixel(*header, axis, 1);
}

int AUVXHeader::store(AUVXFile& uvx) const {
  return WriteAt(uvx, AUVXFile::UVX_OFS_HEADER(), this, sizeof *this);
}

}  // namespace zeltra

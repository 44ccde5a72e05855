// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXGroup.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "zeltra/fits/AFITS.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

/// Replace `value` by the number of type T at `raw`.
template <typename T>
void Fetch(const char* raw, double& value) {
  T number;
  if constexpr (sizeof number == 2) Swap16(&number, raw, 1);
  if constexpr (sizeof number == 4) Swap32(&number, raw, 1);
  value = number;
}

/// A parameter as an integer, rounded as the format wants it: one half is added and the fraction dropped. What no int
/// holds, NaN too, becomes the nearest or the smallest int.
int IntegerForm(double value) {
  constexpr double kSmallest = std::numeric_limits<int32_t>::min(), kLargest = std::numeric_limits<int32_t>::max();
  value += 0.5;
  if (!(value > kSmallest)) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value < kLargest ? value : kLargest);
}

/// Decode a parameter block of numbers that take `bytes` each and are read by `fetch`.
template <typename Function>
AUVXGroup Decoded(AFITSmain& header, const char* raw, int bytes, Function fetch) {
  AUVXGroup group;
  group.frqsel = 1;
  group.source = 1;
  uint16_t baseline = 0;
  double value = 0;
  const int parameters = header.Parameters();
  for (int i = 0; i < parameters; ++i, raw += bytes) {
    // A number that fetch does not know leaves the value of the parameter before, which is scaled once more; that is
    // deliberate.
    fetch(raw, value);
    value = value * header.pscal(i) + header.pzero(i);
    const char* name = header.ptype(i).c_str();
    switch (name[0]) {
      case 'B':
        baseline = static_cast<uint16_t>(baseline + static_cast<unsigned>(IntegerForm(value)));
        break;
      case 'D':
        group.date += value;
        break;
      case 'F':
        if (name[1] == 'R') group.frqsel = static_cast<int8_t>(IntegerForm(value));
        if (name[1] == 'L') group.flag = static_cast<int8_t>(IntegerForm(value));
        break;
      case 'S':
        group.source = static_cast<int16_t>(IntegerForm(value));
        break;
      case 'U':
        group.uu += static_cast<float>(value);
        break;
      case 'V':
        group.vv += static_cast<float>(value);
        break;
      case 'W':
        group.ww += static_cast<float>(value);
        break;
      default:
        break;
    }
  }
  group.ant1 = static_cast<int8_t>(baseline >> 8);
  group.ant2 = static_cast<int8_t>(baseline & 0xFF);
  return group;
}

int64 ParameterBytes(AFITSmain& header) {
  return std::abs(int64{header.valueBytes()}) * header.pcount();
}

}  // namespace

int AUVXGroup::load(AUVXFile& uvx) {
  return uvx.GetFile() && load(*uvx.GetFile());
}

int AUVXGroup::load(ABFile& file) {
  return ReadWhole(file, this, kBytes);
}

int AUVXGroup::store(AUVXFile& uvx) {
  return uvx.GetFile() && store(*uvx.GetFile());
}

int AUVXGroup::store(ABFile& file) {
  return WriteWhole(file, this, kBytes);
}

int AUVXGroup::load(AFITS& fits) {
  AFITSmain* header = fits.main();
  if (!header || !fits.file() || !HasBytes(*fits.file(), ParameterBytes(*header))) return 0;
  std::vector<char> raw(static_cast<size_t>(ParameterBytes(*header)));
  if (!ReadWhole(*fits.file(), raw.data(), static_cast<int64>(raw.size()))) return 0;
  load(fits, raw.data());
  return 1;
}

char* AUVXGroup::load(AFITS& fits, char* p) {
  AFITSmain* header = fits.main();
  if (!header) return p;
  switch (header->valueBytes()) {
    case -4:
      *this = Decoded(*header, p, 4, Fetch<float>);
      break;
    case 2:
      *this = Decoded(*header, p, 2, Fetch<int16_t>);
      break;
    case 4:
      *this = Decoded(*header, p, 4, Fetch<int32_t>);
      break;
    default:
      *this = Decoded(*header, p, 0, [](const char*, double&) {});
  }
  return p + ParameterBytes(*header);
}

int AUVXGroup::ToFITS(AFile& file, int withSourceAndFreqSel) {
  const auto baseline = static_cast<int16_t>(256 * static_cast<uint8_t>(ant1) + static_cast<uint8_t>(ant2));
  std::swap(ant1, ant2);
  const double coarse = std::trunc(date * 100) * 0.01;
  float values[8] = {uu,
                     vv,
                     ww,
                     static_cast<float>(baseline),
                     static_cast<float>(coarse),
                     static_cast<float>(date - coarse),
                     static_cast<float>(source),
                     static_cast<float>(frqsel)};
  const size_t count = withSourceAndFreqSel ? 8 : 6;
  Swap32(values, values, count);
  return WriteWhole(file, values, static_cast<int64>(count * sizeof(float)));
}

void AUVXGroup::check(AUVXMinMax& range) const {
  range.u().check(uu);
  range.v().check(vv);
  range.w().check(ww);
  range.time().check(date);
}

}  // namespace zeltra

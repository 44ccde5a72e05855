// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXGroup.h"

#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "zeltra/fits/AFITS.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroupInternal.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

/// Decode a parameter block of numbers that take `bytes` each. `fetch` gives the one at an address, from the value of
/// the parameter before where it knows no such number.
template <typename Function>
AUVXGroup Decoded(AFITSmain& header, const char* raw, int bytes, Function fetch) {
  AUVXGroup group;
  group.frqsel = 1;
  group.source = 1;
  uint16_t baseline = 0;
  double value = 0;
  const int parameters = header.Parameters();
  for (int i = 0; i < parameters; ++i, raw += bytes) {
    value = fetch(raw, value) * header.pscal(i) + header.pzero(i);
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
      *this = Decoded(*header, p, 4, [](const char* raw, double) { return FITSNumber<float>(raw); });
      break;
    case 2:
      *this = Decoded(*header, p, 2, [](const char* raw, double) { return FITSNumber<int16_t>(raw); });
      break;
    case 4:
      *this = Decoded(*header, p, 4, [](const char* raw, double) { return FITSNumber<int32_t>(raw); });
      break;
    default:
      // The value of the parameter before is scaled once more; that is deliberate.
      *this = Decoded(*header, p, 0, [](const char*, double before) { return before; });
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

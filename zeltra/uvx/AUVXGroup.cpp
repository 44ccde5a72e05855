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

AUVXGroup Decoded(AFITSmain& header, const char* raw) {
  AUVXGroup group;
  group.frqsel = 1;
  group.source = 1;
  uint16_t baseline = 0;
  double value = 0;
  const int bytes = std::abs(header.valueBytes());
  const int parameters = header.Parameters();
  for (int i = 0; i < parameters; ++i) {
    // For an unsupported type the previous parameter's value is scaled again; programs rely on it.
    WithParameterType(header.valueBytes(),
                      [&](auto type) { value = FITSNumber<decltype(type)>(raw + int64{i} * bytes); });
    value = value * header.pscal(i) + header.pzero(i);
    switch (RoleOf(header.ptype(i).c_str())) {
      case ParameterRole::Baseline:
        baseline = static_cast<uint16_t>(baseline + static_cast<unsigned>(IntegerForm(value)));
        break;
      case ParameterRole::Date:
        group.date += value;
        break;
      case ParameterRole::FreqSel:
        group.frqsel = static_cast<int8_t>(IntegerForm(value));
        break;
      case ParameterRole::Flag:
        group.flag = static_cast<int8_t>(IntegerForm(value));
        break;
      case ParameterRole::Source:
        group.source = static_cast<int16_t>(IntegerForm(value));
        break;
      case ParameterRole::U:
        group.uu += static_cast<float>(value);
        break;
      case ParameterRole::V:
        group.vv += static_cast<float>(value);
        break;
      case ParameterRole::W:
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

int AUVXGroup::store(AUVXFile& uvx) const {
  return uvx.GetFile() && store(*uvx.GetFile());
}

int AUVXGroup::store(ABFile& file) const {
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
  *this = Decoded(*header, p);
  return p + ParameterBytes(*header);
}

int AUVXGroup::ToFITS(AFile& file, int withSourceAndFreqSel) {
  const auto baseline = static_cast<int16_t>(256 * static_cast<uint8_t>(ant1) + static_cast<uint8_t>(ant2));
  std::swap(ant1, ant2);
  const double coarse = std::trunc(date * 100) * 0.01;
  const ParameterForm form = {static_cast<float>(baseline), static_cast<float>(coarse),
                              static_cast<float>(date - coarse), withSourceAndFreqSel != 0};
  float values[10];
  return WriteWhole(file, values, EncodeParameters(*this, form, values));
}

int EncodeParameters(const AUVXGroup& group, const ParameterForm& form, float* to) {
  float* next = to;
  for (const float value : {group.uu, group.vv, group.ww, form.baseline, form.date1, form.date2}) *next++ = value;
  if (form.withSourceAndFreqSel) {
    *next++ = group.source;
    *next++ = group.frqsel;
  }
  if (form.withFlag) *next++ = group.flag;
  if (form.withIntegration) *next++ = form.integration;
  const auto count = static_cast<size_t>(next - to);
  Swap32(to, to, count);
  return static_cast<int>(count * sizeof(float));
}

void AUVXGroup::check(AUVXMinMax& range) const {
  range.u().check(uu);
  range.v().check(vv);
  range.w().check(ww);
  range.time().check(date);
}

}  // namespace zeltra

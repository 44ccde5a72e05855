// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/interchange/GroupReaderInternal.h"

namespace zeltra {
namespace {

ParameterRole RoleOfName(const std::string& name) {
  if (name == "ANTENNA1") return ParameterRole::Antenna1;
  if (name == "ANTENNA2") return ParameterRole::Antenna2;
  if (name == "INTTIM") return ParameterRole::Integration;
  return name == kSubarrayParameter ? ParameterRole::Subarray : RoleOf(name.c_str());
}

// Split a BASELINE parameter; its hundredths, which 32-bit floats round, give the number of the subarray.
void SplitBaseline(GroupParameters& group) {
  const double raised = group.baseline + 0.005;
  const int whole = raised >= 257 && raised < 65536 ? static_cast<int>(raised) : 0;
  group.antennas = (whole & 0xFF) != 0 ? whole : 0;
  group.subarray = whole == 0 || whole == group.baseline ? 1 : std::round((group.baseline - whole) * 100) + 1;
}

void JoinAntennas(GroupParameters& group) {
  const double first = std::round(group.antenna1), second = std::round(group.antenna2);
  const bool isBaseline = first >= 1 && first <= 255 && second >= 1 && second <= 255;
  group.antennas = isBaseline ? static_cast<int>(256 * first + second) : 0;
  group.subarray = std::round(group.subarray);
}

}  // namespace

GroupReader::GroupReader(AFITS& fits) : reader_(*fits.file()) {
  AFITSmain& header = *fits.main();
  dataStart_ = header.dataStart();
  groups_ = header.gcount();
  groupBytes_ = header.groupBytes();
  valueBytes_ = header.valueBytes();
  parameterBytes_ = std::abs(valueBytes_) * header.pcount();
  start_.source = start_.freqSel = start_.subarray = 1;
  for (int i = 0; i < header.Parameters(); ++i) {
    const ParameterRole role = RoleOfName(header.ptype(i));
    if (role == ParameterRole::None) continue;
    terms_.push_back({role, i * std::abs(valueBytes_), header.pscal(i), header.pzero(i)});
    if (role == ParameterRole::Source) start_.source = 0;
    if (role == ParameterRole::FreqSel) start_.freqSel = 0;
    if (role == ParameterRole::Subarray) start_.subarray = 0;
    hasAntennas_ = hasAntennas_ || role == ParameterRole::Antenna1;
  }
}

// When groups are read in order, decode as many as the block holds, but no more than can be read: a failure must be
// reported for the group that it concerns.
bool GroupReader::DecodeFrom(int group) {
  const int held = (kBlockBytes - parameterBytes_) / groupBytes_ + 1;
  int count = group == end_ ? std::min({kMostDecoded, groups_ - group, held}) : 1;
  first_ = end_ = group;
  for (; count > 0 && end_ == group; count /= 2) {
    reader_.Seek(Position(group));
    const char* raw = reader_.Next((count - 1) * groupBytes_ + parameterBytes_);
    if (raw) Decode(raw, count);
  }
  return end_ > group;
}

void GroupReader::Decode(const char* raw, int count) {
  end_ = first_ + count;
  std::fill_n(decoded_, count, start_);
  WithParameterType(valueBytes_, [&](auto type) { DecodeNumbers<decltype(type)>(raw, count); });
  for (int i = 0; i < count; ++i) hasAntennas_ ? JoinAntennas(decoded_[i]) : SplitBaseline(decoded_[i]);
}

template <typename Number>
void GroupReader::DecodeNumbers(const char* raw, int count) {
  for (const Term& term : terms_) {
    const auto forEach = [&, scale = term.scale, zero = term.zero](auto take) {
      const char* at = raw + term.offset;
      GroupParameters* groups = decoded_;
      const int step = groupBytes_;
      for (int i = 0; i < count; ++i) take(groups[i], FITSNumber<Number>(at + int64{i} * step) * scale + zero);
    };
    switch (term.role) {
      // u, v, w are summed in single precision, as in AUVXGroup.
      case ParameterRole::U:
        forEach([](GroupParameters& group, double value) { group.u += static_cast<float>(value); });
        break;
      case ParameterRole::V:
        forEach([](GroupParameters& group, double value) { group.v += static_cast<float>(value); });
        break;
      case ParameterRole::W:
        forEach([](GroupParameters& group, double value) { group.w += static_cast<float>(value); });
        break;
      case ParameterRole::Date:
        forEach([](GroupParameters& group, double value) { group.date += value; });
        break;
      case ParameterRole::Baseline:
        forEach([](GroupParameters& group, double value) { group.baseline += value; });
        break;
      case ParameterRole::Source:
        forEach([](GroupParameters& group, double value) { group.source += value; });
        break;
      case ParameterRole::FreqSel:
        forEach([](GroupParameters& group, double value) { group.freqSel += value; });
        break;
      case ParameterRole::Antenna1:
        forEach([](GroupParameters& group, double value) { group.antenna1 += value; });
        break;
      case ParameterRole::Antenna2:
        forEach([](GroupParameters& group, double value) { group.antenna2 += value; });
        break;
      case ParameterRole::Subarray:
        forEach([](GroupParameters& group, double value) { group.subarray += value; });
        break;
      case ParameterRole::Integration:
        forEach([](GroupParameters& group, double value) { group.integration += value; });
        break;
      default:
        forEach([](GroupParameters& group, double value) { group.flag = static_cast<int8_t>(IntegerForm(value)); });
    }
  }
}

}  // namespace zeltra

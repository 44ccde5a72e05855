// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>

#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/interchange/GroupReaderInternal.h"
#include "zeltra/uvx/AUVXGroupInternal.h"

namespace zeltra {

GroupReader::GroupReader(AFITS& fits) : reader_(*fits.file()) {
  AFITSmain& header = *fits.main();
  dataStart_ = header.dataStart();
  groups_ = header.gcount();
  groupBytes_ = header.groupBytes();
  valueBytes_ = header.valueBytes();
  parameterBytes_ = std::abs(valueBytes_) * header.pcount();
  constexpr const char* kNames[kRoles] = {"UU", "VV", "WW", "DATE", "BASELINE", "SOURCE", "FREQSEL", "FLAG"};
  start_.source = start_.freqSel = 1;
  for (int i = 0; i < header.Parameters(); ++i) {
    for (const Role role : {U, V, W, Date, Baseline, Source, FreqSel, Flag}) {
      if (header.ptype(i) != kNames[role]) continue;
      terms_.push_back({role, i * std::abs(valueBytes_), header.pscal(i), header.pzero(i)});
      if (role == Source) start_.source = 0;
      if (role == FreqSel) start_.freqSel = 0;
    }
  }
}

// As many groups as the block holds, where reading goes on in the order of the file, but no more than can be read: a
// failure belongs to the group that it hits.
bool GroupReader::DecodeFrom(int group) {
  const int held = (kBlockBytes - parameterBytes_) / groupBytes_ + 1;
  int count = group == end_ ? std::min({kMostDecoded, groups_ - group, held}) : 1;
  first_ = end_ = group;
  for (; count > 0 && end_ == group; count /= 2) {
    reader_.Seek(Position(group));
    const char* raw = reader_.Take((count - 1) * groupBytes_ + parameterBytes_);
    if (raw) Decode(raw, count);
  }
  return end_ > group;
}

void GroupReader::Decode(const char* raw, int count) {
  end_ = first_ + count;
  std::fill_n(decoded_, count, start_);
  switch (valueBytes_) {
    case 2:
      return DecodeNumbers<int16_t>(raw, count);
    case 4:
      return DecodeNumbers<int32_t>(raw, count);
    default:
      return DecodeNumbers<float>(raw, count);
  }
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
      // u, v, w add up in single precision, as in AUVXGroup.
      case U:
        forEach([](GroupParameters& group, double value) { group.u += static_cast<float>(value); });
        break;
      case V:
        forEach([](GroupParameters& group, double value) { group.v += static_cast<float>(value); });
        break;
      case W:
        forEach([](GroupParameters& group, double value) { group.w += static_cast<float>(value); });
        break;
      case Date:
        forEach([](GroupParameters& group, double value) { group.date += value; });
        break;
      case Baseline:
        forEach([](GroupParameters& group, double value) { group.baseline += value; });
        break;
      case Source:
        forEach([](GroupParameters& group, double value) { group.source += value; });
        break;
      case FreqSel:
        forEach([](GroupParameters& group, double value) { group.freqSel += value; });
        break;
      default:
        forEach([](GroupParameters& group, double value) { group.flag = static_cast<int8_t>(IntegerForm(value)); });
    }
  }
}

}  // namespace zeltra

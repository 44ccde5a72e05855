// SPDX-License-Identifier: MIT
#include "zeltra/ops/AUVXFluxes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <unordered_map>

#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"

namespace zeltra {
namespace {

// Running mean and sum of squared differences from it (Welford 1962, Technometrics 4, 419).
struct Amplitudes {
  int64 count = 0;
  double mean = 0.0;
  double squares = 0.0;

  void Add(double amplitude) {
    const double difference = amplitude - mean;
    mean += difference / static_cast<double>(++count);
    squares += difference * (amplitude - mean);
  }

  AUVXFluxItem Result() const {
    return {count, mean, count > 1 ? std::sqrt(squares / static_cast<double>(count - 1)) : 0.0};
  }
};

struct BaseLine {
  AUVXBaseLineItem item;
  std::vector<Amplitudes> amplitudes;  // by polarisation

  void Add(const AUVXComplex* values, int count);
};

void BaseLine::Add(const AUVXComplex* values, int count) {
  size_t s = 0;
  for (const AUVXComplex* value = values; value < values + count; ++value) {
    // The squares of finite floats are finite in double precision.
    const double amplitude = std::sqrt(value->Re() * value->Re() + value->Im() * value->Im());
    if (value->weight > 0 && std::isfinite(value->weight) && std::isfinite(amplitude)) amplitudes[s].Add(amplitude);
    if (++s == amplitudes.size()) s = 0;
  }
}

// The baselines of the records read so far, by source and antennas.
class BaseLineTable {
 public:
  explicit BaseLineTable(int stokes) : stokes_(static_cast<size_t>(stokes)) {}

  /// The baseline of a record, which is added if it is new.
  BaseLine& Of(const AUVXGroup& group);
  /// In the order of AUVXBaseLines.
  std::vector<BaseLine> Sorted();

 private:
  const size_t stokes_;
  std::unordered_map<uint32_t, size_t> places_;
  std::vector<BaseLine> baselines_;
};

BaseLine& BaseLineTable::Of(const AUVXGroup& group) {
  const AUVXBaseLineItem item(group);
  const uint32_t key = uint32_t{static_cast<uint16_t>(item.source)} << 16 |
                       uint32_t{static_cast<uint8_t>(item.tlsc1)} << 8 | static_cast<uint8_t>(item.tlsc2);
  const auto [entry, isNew] = places_.try_emplace(key, baselines_.size());
  if (isNew) baselines_.push_back({item, std::vector<Amplitudes>(stokes_)});
  BaseLine& baseline = baselines_[entry->second];
  baseline.item.flag &= item.flag;
  return baseline;
}

std::vector<BaseLine> BaseLineTable::Sorted() {
  const auto key = [](const BaseLine& baseline) {
    const AUVXBaseLineItem& item = baseline.item;
    return std::tuple(int{item.source}, int{item.tlsc1}, int{item.tlsc2});
  };
  std::sort(baselines_.begin(), baselines_.end(),
            [&](const BaseLine& a, const BaseLine& b) { return key(a) < key(b); });
  return std::move(baselines_);
}

}  // namespace

AResult AUVXFluxes::Create(AUVXInput& input, const UVXSelection& selection, const JobOptions& options) {
  baselines_.Free();
  items_.clear();
  const AUVXFile& uvx = input.uvx();
  stokes_ = uvx.stokes();
  const int values = (uvx.recSize() - AUVXGroup::kBytes) / static_cast<int>(sizeof(AUVXComplex));

  RecordChoice choice;
  if (AResult opened = choice.Open(input, selection); !opened) return opened;
  BaseLineTable table(stokes_);
  AResult result = WalkRecords(input, options, 0, uvx.count(), [&](const WalkedRecord& record) {
    if (!choice.Takes(record.group, record.index)) return true;
    BaseLine& baseline = table.Of(record.group);
    if (record.group.flag == 0) baseline.Add(record.values, values);
    return true;
  });
  if (result = input.Settle(result); !result) return result;
  const std::vector<BaseLine> found = table.Sorted();
  if (found.empty() && uvx.count() > 0) return choice.NothingSelected(input, options);
  for (const BaseLine& baseline : found) {
    baselines_.Add(baseline.item);
    for (const Amplitudes& amplitudes : baseline.amplitudes) items_.push_back(amplitudes.Result());
  }
  return result;
}

}  // namespace zeltra

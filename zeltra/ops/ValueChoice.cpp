// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "zeltra/ops/FourComplexesInternal.h"
#include "zeltra/ops/ValueChoiceInternal.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

int PointsOf(const AUVXFile& uvx) {
  return std::max(uvx.IFs(), 1) * uvx.channels();
}

// Combine clean values of one frequency. A part that is flagged flags the combination: the weight has a minus sign, or
// is 0.
AUVXComplex Combined(const AStokesMix& mix, const AUVXComplex* clean, bool weighted) {
  AUVXComplex value = mix.GetVisible(clean, 0);
  if (!weighted || mix.id == 0) return value;
  const double w1 = std::fabs(double{clean[mix.item1.index].weight});
  const double w2 = std::fabs(double{clean[mix.item2.index].weight});
  // The positive ids are halves of a sum or difference.
  const double inverse = w1 > 0 && w2 > 0 ? (mix.id > 0 ? 4 : 1) / (1 / w1 + 1 / w2) : 0;
  value.weight = static_cast<float>(value.weight > 0 ? inverse : -inverse);
  return value;
}

}  // namespace

AUVXComplex PolarisationChoice::Value(const AUVXComplex* values, int stokes, bool weighted) const {
  AUVXComplex clean[AUVXStokes::kLargestCount];
  for (int s = 0; s < stokes; ++s) clean[s] = IsFinite(values[s]) ? values[s] : AUVXComplex(0, 0, 0);
  const AUVXComplex value = Combined(mix, clean, weighted);
  if (!isPartial || value.weight > 0) return value;
  for (const AStokesItem& hand : {mix.item1, mix.item2}) {
    if (clean[hand.index].weight > 0) return clean[hand.index];
  }
  return value;
}

ValueChoice::ValueChoice(const AUVXFile& uvx)
    : stokes_(uvx.stokes()), runs_{{0, PointsOf(uvx)}}, count_(PointsOf(uvx) * stokes_) {}

ValueChoice::ValueChoice(const AUVXFile& uvx, const std::vector<int>& IFs, const std::vector<int>& channels,
                         std::vector<PolarisationChoice> polarisations, bool weighted)
    : stokes_(uvx.stokes()), weighted_(weighted), polarisations_(std::move(polarisations)) {
  for (const int i : IFs) {
    for (const int channel : channels) AddPoint(i * uvx.channels() + channel);
  }
}

ValueChoice::ValueChoice(const AUVXFile& uvx, int point, const AStokesMix& mix,
                         const std::optional<AStokesMix>& reverse, bool weighted)
    : stokes_(uvx.stokes()), isSingle_(true), weighted_(weighted), polarisations_{mix} {
  if (reverse) reverse_ = *reverse;
  AddPoint(point);
}

void ValueChoice::AddPoint(int point) {
  if (!runs_.empty() && runs_.back().end == point) {
    runs_.back().end = point + 1;
  } else {
    runs_.push_back({point, point + 1});
  }
  count_ += static_cast<int>(polarisations_.size());
}

const char* ValueChoice::Pick(AUVXGroup& group, const char* stored, AUVXComplex* room) const {
  if (polarisations_.empty()) return stored;
  const size_t bytes = static_cast<size_t>(stokes_) * sizeof(AUVXComplex);
  const AStokesMix& first = polarisations_[0].mix;
  if (isSingle_ && group.ant1 <= group.ant2 && first.id == 0) {
    return stored + static_cast<size_t>(runs_[0].first) * bytes +
           static_cast<size_t>(first.item1.index) * sizeof(AUVXComplex);
  }
  const bool isReversed = isSingle_ && group.ant1 > group.ant2;
  if (isReversed) std::swap(group.ant1, group.ant2);
  AUVXComplex values[AUVXStokes::kLargestCount];
  AUVXComplex* to = room;
  for (const Run& run : runs_) {
    for (int point = run.first; point < run.end; ++point) {
      std::memcpy(static_cast<void*>(values), stored + static_cast<size_t>(point) * bytes, bytes);
      to = isReversed ? PickReverse(values, to) : PickAll(values, to);
    }
  }
  return reinterpret_cast<const char*>(room);
}

AUVXComplex* ValueChoice::PickAll(const AUVXComplex* values, AUVXComplex* to) const {
  for (const PolarisationChoice& polarisation : polarisations_) {
    const AStokesMix& mix = polarisation.mix;
    *to++ = mix.id == 0 ? values[mix.item1.index] : polarisation.Value(values, stokes_, weighted_);
  }
  return to;
}

AUVXComplex* ValueChoice::PickReverse(const AUVXComplex* values, AUVXComplex* to) const {
  *to = reverse_ ? reverse_->Value(values, stokes_, weighted_) : AUVXComplex(0, 0, 0);
  to->im = -to->im;
  return to + 1;
}

double ValueChoice::Weight(const char* stored) const {
  double sum = 0;
  for (const Run& run : runs_) sum += WeightOf(run, stored);
  return sum;
}

double ValueChoice::WeightOf(const Run& run, const char* stored) const {
  constexpr float kLargest = std::numeric_limits<float>::max();
  constexpr int kBytes = sizeof(AUVXComplex);
  int left = (run.end - run.first) * stokes_;
  const char* from = stored + int64{run.first} * stokes_ * kBytes;
  // Four sums side by side, added in a fixed order at the end.
  const Float4 none = {};
  Double2 low = {}, high = {};
  for (; left >= 4; left -= 4, from += 4 * kBytes) {
    Float4 weights = LoadWeights(from);
    weights = Select((weights > none) & (weights <= All<Float4>(kLargest)), weights, none);
    low = low + Convert<Double2>(Shuffle<0, 1>(weights, weights));
    high = high + Convert<Double2>(Shuffle<2, 3>(weights, weights));
  }
  double sum = (low[0] + low[1]) + (high[0] + high[1]);
  for (; left > 0; --left, from += kBytes) {
    AUVXComplex value;
    std::memcpy(static_cast<void*>(&value), from, sizeof value);
    if (value.weight > 0 && value.weight <= kLargest) sum += double{value.weight};
  }
  return sum;
}

}  // namespace zeltra

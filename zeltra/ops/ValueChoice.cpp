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

}  // namespace

AUVXComplex Combined(const AStokesMix& mix, const AUVXComplex* values, int stokes, bool weighted) {
  AUVXComplex clean[AUVXStokes::kLargestCount];
  for (int s = 0; s < stokes; ++s) clean[s] = IsFinite(values[s]) ? values[s] : AUVXComplex(0, 0, 0);
  AUVXComplex value = mix.GetVisible(clean, 0);
  if (!weighted || mix.id == 0) return value;
  const double w1 = std::fabs(double{clean[mix.item1.index].weight});
  const double w2 = std::fabs(double{clean[mix.item2.index].weight});
  // The positive ids are halves of a sum or difference.
  const double inverse = w1 > 0 && w2 > 0 ? (mix.id > 0 ? 4 : 1) / (1 / w1 + 1 / w2) : 0;
  value.weight = static_cast<float>(value.weight > 0 ? inverse : -inverse);
  return value;
}

ValueChoice::ValueChoice(const AUVXFile& uvx)
    : stokes_(uvx.stokes()), points_(PointsOf(uvx)), count_(points_ * stokes_) {}

ValueChoice::ValueChoice(const AUVXFile& uvx, const AArray<AStokesMix>& mixes, bool weighted)
    : stokes_(uvx.stokes()),
      points_(PointsOf(uvx)),
      count_(points_ * mixes.count()),
      weighted_(weighted),
      mixes_(mixes.lpArray(), mixes.lpArray() + mixes.count()) {}

ValueChoice::ValueChoice(const AUVXFile& uvx, int point, const AStokesMix& mix,
                         const std::optional<AStokesMix>& reverse, bool weighted)
    : stokes_(uvx.stokes()),
      first_(point),
      points_(1),
      count_(1),
      isSingle_(true),
      weighted_(weighted),
      mixes_{mix},
      reverse_(reverse) {}

const char* ValueChoice::Pick(AUVXGroup& group, const char* stored, AUVXComplex* room) const {
  if (mixes_.empty()) return stored;
  if (isSingle_ && group.ant1 <= group.ant2 && mixes_[0].id == 0) {
    return stored + static_cast<size_t>(first_ * stokes_ + mixes_[0].item1.index) * sizeof(AUVXComplex);
  }
  const size_t bytes = static_cast<size_t>(stokes_) * sizeof(AUVXComplex);
  const bool isReversed = isSingle_ && group.ant1 > group.ant2;
  if (isReversed) std::swap(group.ant1, group.ant2);
  AUVXComplex values[AUVXStokes::kLargestCount];
  AUVXComplex* to = room;
  for (int point = first_; point < first_ + points_; ++point) {
    std::memcpy(static_cast<void*>(values), stored + static_cast<size_t>(point) * bytes, bytes);
    for (const AStokesMix& mix : mixes_) {
      if (!isReversed) {
        *to++ = Combined(mix, values, stokes_, weighted_);
        continue;
      }
      *to = reverse_ ? Combined(*reverse_, values, stokes_, weighted_) : AUVXComplex(0, 0, 0);
      to->im = -to->im;
      ++to;
    }
  }
  return reinterpret_cast<const char*>(room);
}

double ValueChoice::Weight(const char* stored) const {
  constexpr float kLargest = std::numeric_limits<float>::max();
  constexpr int kBytes = sizeof(AUVXComplex);
  int left = points_ * stokes_;
  const char* from = stored + int64{first_} * stokes_ * kBytes;
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

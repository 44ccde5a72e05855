// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "zeltra/ops/ValueChoiceInternal.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

int PointsOf(const AUVXFile& uvx) {
  return std::max(uvx.IFs(), 1) * uvx.channels();
}

bool IsFinite(const AUVXComplex& value) {
  return std::isfinite(value.re) && std::isfinite(value.im) && std::isfinite(value.weight);
}

// Add positive finite weights to four sums side by side, which compilers turn into vectors.
template <int count>
void AddWeights(const char*& from, double (&sums)[4]) {
  AUVXComplex values[count];
  std::memcpy(static_cast<void*>(values), from, sizeof values);
  float weights[count];
  for (int i = 0; i < count; ++i) {
    const float w = values[i].weight;
    weights[i] = (w > 0) & (w <= std::numeric_limits<float>::max()) ? w : 0;
  }
  for (int i = 0; i < count; ++i) sums[i % 4] += double{weights[i]};
  from += sizeof values;
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
  double sums[4] = {};
  int left = points_ * stokes_;
  const char* from = stored + static_cast<size_t>(first_ * stokes_) * sizeof(AUVXComplex);
  for (; left >= 32; left -= 32) AddWeights<32>(from, sums);
  for (; left >= 4; left -= 4) AddWeights<4>(from, sums);
  for (; left > 0; --left) AddWeights<1>(from, sums);
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

}  // namespace zeltra

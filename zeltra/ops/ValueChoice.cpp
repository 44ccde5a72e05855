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

// Copy the values of a frequency point from a record, at any address.
void LoadPoint(const char* stored, int point, int stokes, AUVXComplex* values) {
  const size_t bytes = static_cast<size_t>(stokes) * sizeof(AUVXComplex);
  std::memcpy(static_cast<void*>(values), stored + static_cast<size_t>(point) * bytes, bytes);
}

// Combine clean values of one frequency. A flagged part flags the combination: its weight is negative or 0.
AUVXComplex Combined(const AStokesMix& mix, const AUVXComplex* clean, bool weighted) {
  AUVXComplex value = mix.GetVisible(clean, 0);
  if (!weighted || mix.id == 0) return value;
  const double w1 = std::fabs(double{clean[mix.item1.index].weight});
  const double w2 = std::fabs(double{clean[mix.item2.index].weight});
  // Combinations with positive ids are halves of a sum or difference.
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
    : stokes_(uvx.stokes()), count_(PointsOf(uvx) * stokes_), runs_{{0, PointsOf(uvx)}} {}

ValueChoice::ValueChoice(const AUVXFile& uvx, const std::vector<int>& points, std::vector<PolarisationChoice> mixes,
                         bool weighted)
    : stokes_(uvx.stokes()),
      count_(static_cast<int>(points.size() * mixes.size())),
      weighted_(weighted),
      mixes_(std::move(mixes)) {
  for (const int point : points) {
    if (!runs_.empty() && runs_.back().first + runs_.back().count == point) {
      ++runs_.back().count;
    } else {
      runs_.push_back({point, 1});
    }
  }
  const auto isStored = [](const PolarisationChoice& choice) {
    return choice.mix.id == 0 && choice.mix.item1.IsPresent();
  };
  if (std::all_of(mixes_.begin(), mixes_.end(), isStored)) ListPlaces();
}

void ValueChoice::ListPlaces() {
  for (const Run& run : runs_) {
    for (int point = run.first; point < run.first + run.count; ++point) {
      for (const PolarisationChoice& choice : mixes_) places_.push_back(point * stokes_ + choice.mix.item1.index);
    }
  }
  isOnePiece_ = !places_.empty();
  for (size_t i = 1; i < places_.size(); ++i) isOnePiece_ &= places_[i] == places_[i - 1] + 1;
}

void ValueChoice::TurnBaselines(std::vector<std::optional<PolarisationChoice>> reverse) {
  isTurned_ = true;
  reverse_ = std::move(reverse);
}

const char* ValueChoice::Pick(AUVXGroup& group, const char* stored, AUVXComplex* room) const {
  if (mixes_.empty()) return stored;
  constexpr size_t kBytes = sizeof(AUVXComplex);
  if (isTurned_ && group.ant1 > group.ant2) {
    std::swap(group.ant1, group.ant2);
    PickReversed(stored, room);
  } else if (isOnePiece_) {
    return stored + static_cast<size_t>(places_[0]) * kBytes;
  } else if (!places_.empty()) {
    for (size_t i = 0; i < places_.size(); ++i) {
      std::memcpy(static_cast<void*>(room + i), stored + static_cast<size_t>(places_[i]) * kBytes, kBytes);
    }
  } else {
    AUVXComplex values[AUVXStokes::kLargestCount];
    AUVXComplex* to = room;
    for (const Run& run : runs_) {
      for (int point = run.first; point < run.first + run.count; ++point) {
        LoadPoint(stored, point, stokes_, values);
        for (const PolarisationChoice& choice : mixes_) *to++ = choice.Value(values, stokes_, weighted_);
      }
    }
  }
  return reinterpret_cast<const char*>(room);
}

void ValueChoice::PickReversed(const char* stored, AUVXComplex* to) const {
  AUVXComplex values[AUVXStokes::kLargestCount];
  for (const Run& run : runs_) {
    for (int point = run.first; point < run.first + run.count; ++point) {
      LoadPoint(stored, point, stokes_, values);
      for (const std::optional<PolarisationChoice>& choice : reverse_) {
        *to = choice ? choice->Value(values, stokes_, weighted_) : AUVXComplex(0, 0, 0);
        to->im = -to->im;
        ++to;
      }
    }
  }
}

double ValueChoice::Weight(const char* stored) const {
  constexpr float kLargest = std::numeric_limits<float>::max();
  constexpr int kBytes = sizeof(AUVXComplex);
  // There are four parallel sums, added in a fixed order at the end.
  const Float4 none = {};
  Double2 low = {}, high = {};
  double rest = 0;
  for (const Run& run : runs_) {
    int left = run.count * stokes_;
    const char* from = stored + int64{run.first} * stokes_ * kBytes;
    for (; left >= 4; left -= 4, from += 4 * kBytes) {
      Float4 weights = LoadWeights(from);
      weights = Select((weights > none) & (weights <= All<Float4>(kLargest)), weights, none);
      low = low + Convert<Double2>(Shuffle<0, 1>(weights, weights));
      high = high + Convert<Double2>(Shuffle<2, 3>(weights, weights));
    }
    for (; left > 0; --left, from += kBytes) {
      AUVXComplex value;
      std::memcpy(static_cast<void*>(&value), from, sizeof value);
      if (value.weight > 0 && value.weight <= kLargest) rest += double{value.weight};
    }
  }
  return (low[0] + low[1]) + (high[0] + high[1]) + rest;
}

}  // namespace zeltra

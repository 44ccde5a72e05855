// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <limits>

#include "zeltra/core/Text.h"
#include "zeltra/ops/FourComplexesInternal.h"
#include "zeltra/ops/FrequencyMeansInternal.h"

namespace zeltra {
namespace {

// Sums for four values in parallel.
struct FourSums {
  Double2 re[2] = {}, im[2] = {}, weight[2] = {};
  Float4 counted = {};  // exact, since records have at most 2^20 values
};

ZELTRA_INLINE void AddFour(FourSums& sums, const char* from) {
  const FourComplexes values = LoadComplexes(from);
  const Float4 none = {};
  const auto counts = CountingLanes(values);
  const Float4 re = Select(counts, values.re, none), im = Select(counts, values.im, none);
  const Float4 weight = Select(counts, values.weight, none);
  const Double2 low = Convert<Double2>(Shuffle<0, 1>(weight, weight));
  const Double2 high = Convert<Double2>(Shuffle<2, 3>(weight, weight));
  sums.re[0] = sums.re[0] + low * Convert<Double2>(Shuffle<0, 1>(re, re));
  sums.re[1] = sums.re[1] + high * Convert<Double2>(Shuffle<2, 3>(re, re));
  sums.im[0] = sums.im[0] + low * Convert<Double2>(Shuffle<0, 1>(im, im));
  sums.im[1] = sums.im[1] + high * Convert<Double2>(Shuffle<2, 3>(im, im));
  sums.weight[0] = sums.weight[0] + low;
  sums.weight[1] = sums.weight[1] + high;
  sums.counted = sums.counted + Select(counts, All<Float4>(1), none);
}

float LimitedWeight(double sum) {
  return static_cast<float>(std::min(sum, double{std::numeric_limits<float>::max()}));
}

}  // namespace

FrequencyMeans::FrequencyMeans(const FrequencyChange& change, int stokes, bool needsAll)
    : stokes_(stokes), needsAll_(needsAll) {
  for (const std::vector<int>& part : change.parts) {
    for (int k = 0; k < change.count; ++k) {
      const size_t firstRun = runs_.size();
      const int begin = k * change.step,
                end = begin + change.width;  // on the common axis of a part's IFs
      for (size_t m = 0; m < part.size(); ++m) {
        const int origin = change.isStacked ? 0 : static_cast<int>(m) * change.used;
        const int first = std::max(begin - origin, 0), last = std::min(end - origin, change.used);
        if (first >= last) continue;
        const int point = part[m] * change.channels + change.first + first;
        const bool follows = runs_.size() > firstRun && runs_.back().first + runs_.back().count == point;
        if (follows) runs_.back().count += last - first;
        if (!follows) runs_.push_back({point, last - first});
      }
      int points = 0;
      for (size_t run = firstRun; run < runs_.size(); ++run) points += runs_[run].count;
      places_.push_back({firstRun, runs_.size(), points});
    }
  }
}

void FrequencyMeans::Take(const AUVXComplex* values, AUVXComplex* means) {
  Sums sums[AUVXStokes::kLargestCount];
  for (const Place& place : places_) {
    std::fill_n(sums, stokes_, Sums());
    SumUp(values, place, sums);
    for (int s = 0; s < stokes_; ++s)
      *means++ = sums[s].counted > 0 ? Mean(sums[s], place) : FlaggedMean(values + s, place);
  }
}

void FrequencyMeans::SumUp(const AUVXComplex* values, const Place& place, Sums* sums) const {
  FourSums four;
  const bool fillsFour = 4 % stokes_ == 0;
  for (size_t i = place.firstRun; i < place.endRun; ++i) {
    const AUVXComplex* from = values + static_cast<std::ptrdiff_t>(runs_[i].first) * stokes_;
    const AUVXComplex* const end = from + static_cast<std::ptrdiff_t>(runs_[i].count) * stokes_;
    for (; fillsFour && end - from >= 4; from += 4) AddFour(four, reinterpret_cast<const char*>(from));
    for (int s = 0; from < end; ++from, s = s + 1 < stokes_ ? s + 1 : 0) {
      if (!(from->weight > 0) || !IsFinite(*from)) continue;
      const double weight = from->weight;
      sums[s] = {sums[s].re + weight * double{from->re}, sums[s].im + weight * double{from->im},
                 sums[s].weight + weight, sums[s].counted + 1};
    }
  }
  for (int lane = 0; fillsFour && lane < 4; ++lane) {
    Sums& sum = sums[lane % stokes_];
    sum.re += four.re[lane / 2][lane % 2];
    sum.im += four.im[lane / 2][lane % 2];
    sum.weight += four.weight[lane / 2][lane % 2];
    sum.counted += static_cast<int>(four.counted[lane]);
  }
}

AUVXComplex FrequencyMeans::Mean(const Sums& sums, const Place& place) {
  ++means_;
  const bool isWhole = sums.counted == place.points;
  if (!isWhole) {
    ++partial_;
    points_ += place.points;
    counted_ += sums.counted;
  }
  const float weight = LimitedWeight(sums.weight);
  return AUVXComplex(static_cast<float>(sums.re / sums.weight), static_cast<float>(sums.im / sums.weight),
                     isWhole || !needsAll_ ? weight : -weight);
}

AUVXComplex FrequencyMeans::FlaggedMean(const AUVXComplex* values, const Place& place) {
  Sums weighted, plain;
  for (size_t i = place.firstRun; i < place.endRun; ++i) {
    for (int point = runs_[i].first; point < runs_[i].first + runs_[i].count; ++point) {
      const AUVXComplex& value = values[static_cast<std::ptrdiff_t>(point) * stokes_];
      if (!(value.weight <= 0) && !IsFinite(value)) ++notFinite_;
      if (!std::isfinite(value.re) || !std::isfinite(value.im) || std::isnan(value.weight)) continue;
      const double weight = std::isfinite(value.weight) ? std::fabs(double{value.weight}) : 0;
      weighted.re += weight * double{value.re};
      weighted.im += weight * double{value.im};
      weighted.weight += weight;
      plain.re += double{value.re};
      plain.im += double{value.im};
      plain.weight += 1;
    }
  }
  const Sums& sums = weighted.weight > 0 ? weighted : plain;
  if (sums.weight == 0) return AUVXComplex(0, 0, 0);
  return AUVXComplex(static_cast<float>(sums.re / sums.weight), static_cast<float>(sums.im / sums.weight),
                     0 - LimitedWeight(weighted.weight));
}

std::string FrequencyMeans::Remark() const {
  if (partial_ == 0) return {};
  const auto share = [](int64 part, int64 whole) {
    return RoundedNumber(100.0 * static_cast<double>(part) / static_cast<double>(whole), 3) + " %";
  };
  const std::string means = share(partial_, means_) + " of the means ";
  if (needsAll_) return means + "are flagged, since not all of their values are valid";
  return means + "lack flagged values: " + share(counted_, points_) +
         " of theirs are there, so that their frequencies are not quite those of the channels";
}

std::string FrequencyMeans::NotFiniteRemark() const {
  if (notFinite_ == 0) return {};
  return std::to_string(notFinite_) + " values are not finite, or have such weights; means of only such and flagged " +
         "values are flagged";
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "zeltra/ops/FourComplexesInternal.h"
#include "zeltra/ops/IntervalSumsInternal.h"

namespace zeltra {
namespace {

// The planes of a baseline, starting at some value.
struct Planes {
  double *re, *im, *share, *weight;

  void Advance(int values) { *this = {re + values, im + values, share + values, weight + values}; }
};

// Add a value at any address.
template <bool weighted>
ZELTRA_INLINE void AddOne(Planes& to, const char* from) {
  AUVXComplex value;
  std::memcpy(static_cast<void*>(&value), from, sizeof value);
  if (!(value.weight > 0) || !IsFinite(value)) return;
  const double share = weighted ? double{value.weight} : 1.0;
  *to.re += share * double{value.re};
  *to.im += share * double{value.im};
  *to.share += share;
  if (!weighted) *to.weight += double{value.weight};
}

ZELTRA_INLINE void AddTo(double* plane, Double2 low, Double2 high) {
  Store(plane, Load<Double2>(plane) + low);
  Store(plane + 2, Load<Double2>(plane + 2) + high);
}
ZELTRA_INLINE Double2 Low(Float4 v) {
  return Convert<Double2>(Shuffle<0, 1>(v, v));
}
ZELTRA_INLINE Double2 High(Float4 v) {
  return Convert<Double2>(Shuffle<2, 3>(v, v));
}

// Add four values at any address, each in its own lane, with the same bits as AddOne for each of them.
template <bool weighted>
ZELTRA_INLINE void AddFour(Planes& to, const char* from) {
  const FourComplexes values = LoadComplexes(from);
  const Float4 none = {};
  const auto counts = CountingLanes(values);
  const Float4 re = Select(counts, values.re, none), im = Select(counts, values.im, none);
  const Float4 weight = Select(counts, values.weight, none);
  const Float4 share = weighted ? weight : Select(counts, All<Float4>(1), none);
  const Double2 low = Low(share), high = High(share);
  AddTo(to.re, low * Low(re), high * High(re));
  AddTo(to.im, low * Low(im), high * High(im));
  AddTo(to.share, low, high);
  if constexpr (!weighted) AddTo(to.weight, Low(weight), High(weight));
}

template <bool weighted>
void AddComplex(BaselineSums& sums, int values, const char* from) {
  double* first = sums.planes.data();
  Planes to = {first, first + values, first + 2 * values, first + 3 * values};
  constexpr int kBytes = sizeof(AUVXComplex);
  int left = values;
  for (; left >= 4; left -= 4, to.Advance(4), from += 4 * kBytes) AddFour<weighted>(to, from);
  for (; left > 0; --left, to.Advance(1), from += kBytes) AddOne<weighted>(to, from);
}

void AddAmplitudePhase(BaselineSums& sums, const MeanForm& form, const char* from) {
  const auto values = static_cast<size_t>(form.values);
  double* planes = sums.planes.data();
  for (size_t i = 0; i < values; ++i) {
    AUVXComplex value;
    std::memcpy(static_cast<void*>(&value), from + i * sizeof value, sizeof value);
    if (!(value.weight > 0) || !IsFinite(value)) continue;
    const double share = form.weighted ? value.weight : 1;
    planes[BaselineSums::Real * values + i] += share * value.ampl();
    planes[BaselineSums::Imaginary * values + i] += share * sums.phases[i].Justify(value.phase());
    planes[BaselineSums::Share * values + i] += share;
    if (!form.weighted) planes[BaselineSums::Weight * values + i] += double{value.weight};
  }
}

}  // namespace

// SumPool

SumPool::SumPool(const MeanForm& form, int64 bytes)
    : form_(form), most_(std::max<int64>(bytes / BaselineBytes(form), 1)) {}

int64 SumPool::BaselineBytes(const MeanForm& form) {
  const size_t phase = form.complexMean ? 0 : sizeof(APhJustify);
  const size_t value = static_cast<size_t>(form.planes()) * sizeof(double) + sizeof(AUVXComplex) + phase;
  return static_cast<int64>(sizeof(BaselineSums) + static_cast<size_t>(form.values) * value);
}

std::unique_ptr<BaselineSums> SumPool::Borrow() {
  std::unique_ptr<BaselineSums> sums;
  if (free_.empty()) {
    sums = std::make_unique<BaselineSums>();
  } else {
    sums = std::move(free_.back());
    free_.pop_back();
  }
  ++inUse_;
  const auto values = static_cast<size_t>(form_.values);
  sums->planes.assign(static_cast<size_t>(form_.planes()) * values, 0);
  sums->firsts.resize(values);
  if (!form_.complexMean) sums->phases.assign(values, APhJustify());
  sums->weight = sums->count = 0;
  std::fill_n(sums->weighted, 3, 0.0);
  std::fill_n(sums->plain, 3, 0.0);
  return sums;
}

void SumPool::Return(std::unique_ptr<BaselineSums> sums) {
  --inUse_;
  free_.push_back(std::move(sums));
}

// IntervalSums

IntervalSums::IntervalSums(SumPool& pool) : pool_(pool), places_(kKeys, -1) {}

void IntervalSums::Clear() {
  for (std::unique_ptr<BaselineSums>& baseline : baselines_) {
    places_[KeyOf(baseline->ant1, baseline->ant2)] = -1;
    pool_.Return(std::move(baseline));
  }
  baselines_.clear();
}

BaselineSums& IntervalSums::NewBaseline(const AUVXGroup& group, const char* values) {
  places_[KeyOf(group)] = static_cast<int32_t>(baselines_.size());
  baselines_.push_back(pool_.Borrow());
  BaselineSums& baseline = *baselines_.back();
  baseline.ant1 = group.ant1;
  baseline.ant2 = group.ant2;
  std::memcpy(static_cast<void*>(baseline.firsts.data()), values, baseline.firsts.size() * sizeof(AUVXComplex));
  return baseline;
}

void IntervalSums::Add(const AUVXGroup& group, const char* values, double weight) {
  const int32_t place = places_[KeyOf(group)];
  BaselineSums& sums = place < 0 ? NewBaseline(group, values) : *baselines_[static_cast<size_t>(place)];
  if (std::isfinite(group.u() + group.v() + group.w())) {
    const double coordinates[3] = {group.u(), group.v(), group.w()};
    for (int i = 0; i < 3; ++i) {
      sums.weighted[i] += weight * coordinates[i];
      sums.plain[i] += coordinates[i];
    }
    sums.weight += weight;
    sums.count += 1;
  }

  const MeanForm& form = pool_.form();
  if (!form.complexMean) return AddAmplitudePhase(sums, form, values);
  form.weighted ? AddComplex<true>(sums, form.values, values) : AddComplex<false>(sums, form.values, values);
}

void IntervalSums::MarkPresent(std::vector<bool>& present) const {
  for (const std::unique_ptr<BaselineSums>& baseline : baselines_) {
    present[KeyOf(baseline->ant1, baseline->ant2)] = true;
  }
}

const std::vector<int>& IntervalSums::InOrder() {
  order_.resize(baselines_.size());
  std::iota(order_.begin(), order_.end(), 0);
  const auto isBefore = [this](int a, int b) {
    const BaselineSums &one = *baselines_[static_cast<size_t>(a)], &other = *baselines_[static_cast<size_t>(b)];
    return one.ant1 != other.ant1 ? one.ant1 < other.ant1 : one.ant2 < other.ant2;
  };
  if (!std::is_sorted(order_.begin(), order_.end(), isBefore)) std::sort(order_.begin(), order_.end(), isBefore);
  return order_;
}

void IntervalSums::Mean(int place, AUVXGroup& group, AUVXComplex* values) const {
  const MeanForm& form = pool_.form();
  const BaselineSums& baseline = *baselines_[static_cast<size_t>(place)];
  group.ant1 = baseline.ant1;
  group.ant2 = baseline.ant2;
  const bool isWeighted = form.weighted && baseline.weight > 0;
  const double* coordinates = isWeighted ? baseline.weighted : baseline.plain;
  const double total = isWeighted ? baseline.weight : baseline.count;
  group.uu = static_cast<float>(coordinates[0] / total);
  group.vv = static_cast<float>(coordinates[1] / total);
  group.ww = static_cast<float>(coordinates[2] / total);

  const auto count = static_cast<size_t>(form.values);
  const double *re = baseline.planes.data(), *im = re + count, *shares = im + count, *weights = shares + count;
  for (size_t i = 0; i < count; ++i) {
    const double share = shares[i];
    if (!(share > 0)) {
      values[i] = IsFinite(baseline.firsts[i]) ? baseline.firsts[i] : AUVXComplex(0, 0, 0);
      continue;
    }
    const double first = re[i] / share, second = im[i] / share;
    const double weight = form.weighted ? share : weights[i] / share;
    values[i] = form.complexMean ? AUVXComplex(first, second, weight)
                                 : AUVXComplex(first * std::cos(second), first * std::sin(second), weight);
  }
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/calibration/AGainMeanInfo.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <map>
#include <tuple>
#include <vector>

#include "zeltra/core/Units.h"

namespace zeltra {

template class AArray<AGainMeanInfo>;

namespace {

// Phases over time, to which a straight line is fitted.
class PhaseLine {
 public:
  // Each phase is moved by full turns to within half a turn of the one before.
  void Add(double seconds, double phase) {
    if (!phases_.empty()) phase = phases_.back() + std::remainder(phase - phases_.back(), kTwoPi);
    times_.push_back(seconds);
    phases_.push_back(phase);
  }

  void Fit(double& slope, double& scatter) const {
    const auto n = static_cast<double>(times_.size());
    double meanTime = 0, meanPhase = 0, squares = 0, products = 0, left = 0;
    for (size_t i = 0; i < times_.size(); ++i) {
      meanTime += times_[i] / n;
      meanPhase += phases_[i] / n;
    }
    for (size_t i = 0; i < times_.size(); ++i) {
      squares += (times_[i] - meanTime) * (times_[i] - meanTime);
      products += (times_[i] - meanTime) * (phases_[i] - meanPhase);
    }
    slope = squares > 0 ? products / squares : 0;
    for (size_t i = 0; i < times_.size(); ++i) {
      const double rest = phases_[i] - meanPhase - slope * (times_[i] - meanTime);
      left += rest * rest;
    }
    scatter = times_.empty() ? 0 : std::sqrt(left / n);
  }

 private:
  std::vector<double> times_, phases_;
};

AGainMeanInfo InfoOf(const AGainKey& key, const std::vector<const AGainArrayItem*>& items) {
  AGainMeanInfo info;
  info.antenna = static_cast<uint8_t>(key.antenna);
  info.hand = static_cast<int8_t>(key.hand);
  info.ifIndex = static_cast<int16_t>(key.ifIndex);
  info.items = static_cast<int32_t>(items.size());
  PhaseLine line;
  double sum = 0, snr = 0, squares = 0, drift = 0, scatter = 0;
  for (const AGainArrayItem* item : items) {
    if (!item->isValid()) continue;
    ++info.valid;
    sum += std::abs(item->gain());
    snr += double{item->weight};
    line.Add((item->time - items.front()->time) * kSecondsPerDay, std::arg(item->gain()));
  }
  if (info.valid == 0) return info;
  const double mean = sum / info.valid;
  for (const AGainArrayItem* item : items) {
    const double rest = std::abs(item->gain()) - mean;
    if (item->isValid()) squares += rest * rest;
  }
  line.Fit(drift, scatter);
  info.meanModulus = mean;
  info.modulusScatter = info.valid > 1 ? std::sqrt(squares / (info.valid - 1)) : 0;
  info.phaseDrift = drift;
  info.phaseScatter = scatter;
  info.meanSNR = snr / info.valid;
  return info;
}

// The sums over one interval.
struct GainSums {
  AGainArrayItem first;
  // The weights are the inverse variances: of phases SNR^2, of moduli SNR^2 / |g|^2.
  double weight = 0, modulusWeight = 0, modulus = 0, delay = 0, rate = 0;
  std::complex<double> phasor;

  void Add(const AGainArrayItem& item) {
    if (!item.isValid()) return;
    const double w = double{item.weight} * double{item.weight}, amplitude = std::abs(item.gain());
    weight += w;
    modulusWeight += w / (amplitude * amplitude);
    modulus += w / amplitude;
    phasor += w * item.gain() / amplitude;
    delay += w * item.delay;
    rate += w * item.rate;
  }

  AGainArrayItem Mean() const {
    AGainArrayItem mean = first;
    mean.weight = 0;
    mean.SetGain(0);
    mean.delay = mean.rate = 0;
    if (!(weight > 0)) return mean;
    mean.weight = static_cast<float>(std::sqrt(weight));
    mean.SetGain(std::polar(modulus / modulusWeight, std::arg(phasor)));
    mean.delay = delay / weight;
    mean.rate = rate / weight;
    return mean;
  }
};

// The time that the gains of one interval cover, for all antennas, IFs and hands together, since these are to share
// rows of a table.
struct GainSpan {
  double begin = HUGE_VAL, end = -HUGE_VAL;  // Julian dates

  void Add(const AGainArrayItem& item) {
    const double half = double{item.interval} / 2 / kSecondsPerDay;
    begin = std::min(begin, item.time - half);
    end = std::max(end, item.time + half);
  }
};

}  // namespace

int GetGainMeanInfo(const AGainArray& gains, AArray<AGainMeanInfo>& info) {
  std::map<AGainKey, std::vector<const AGainArrayItem*>> series;
  for (int i = 0; i < gains.count(); ++i) series[KeyOf(gains(i))].push_back(&gains(i));
  info.Free();
  for (const auto& [key, items] : series) info.Add(InfoOf(key, items));
  return info.count();
}

int GainAverrage(const AGainArray& gains, double seconds, double start, AGainArray& averages) {
  using Interval = std::tuple<double, int, int, int, int>;  // number, source, setup, subarray, reference antenna
  std::map<Interval, GainSpan> spans;
  std::map<std::pair<Interval, AGainKey>, GainSums> intervals;
  for (int i = 0; i < gains.count(); ++i) {
    const AGainArrayItem& item = gains(i);
    // A Julian date is good to 0.04 ms: a time as close as that to a bound belongs to the interval that begins there.
    const double number = std::floor(((item.time - start) * kSecondsPerDay + 1e-4) / seconds);
    const Interval interval(number, int{item.source}, int{item.setup}, int{item.subarray}, int{item.reference});
    spans[interval].Add(item);
    const auto [found, isNew] = intervals.try_emplace({interval, KeyOf(item)});
    if (isNew) found->second.first = item;
    found->second.Add(item);
  }
  AGainArray made;
  for (const auto& [place, sums] : intervals) {
    const GainSpan& span = spans[place.first];
    AGainArrayItem mean = sums.Mean();
    mean.time = span.begin + (span.end - span.begin) / 2;
    mean.interval = static_cast<float>((span.end - span.begin) * kSecondsPerDay);
    made.Append(mean);
  }
  made.Sort();
  averages = made;
  return averages.count();
}

}  // namespace zeltra

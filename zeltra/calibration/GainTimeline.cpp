// SPDX-License-Identifier: MIT
#include "zeltra/calibration/GainTimeline.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

// Times are the same if they differ by no more than the rounding of Julian dates in double precision and of tables in
// days.
constexpr double kSameTime = 1e-3;  // s

}  // namespace

uint64_t GainTimeline::PackedKey(int source, int setup, int subarray, const AGainKey& key) {
  uint64_t packed = static_cast<uint16_t>(std::max(source, 0));
  packed = packed << 8 | static_cast<uint8_t>(std::max(setup, 0));
  packed = packed << 16 | static_cast<uint16_t>(std::max(subarray, 0));
  packed = packed << 8 | static_cast<uint8_t>(key.antenna);
  packed = packed << 15 | static_cast<uint64_t>(key.ifIndex & 0x7FFF);
  return packed << 1 | static_cast<uint64_t>(key.hand & 1);
}

GainTimeline::GainTimeline(const AGainArray& gains, double maxGap) : maxGap_(maxGap) {
  std::set<int> subarrays;
  for (int i = 0; i < gains.count(); ++i) {
    const AGainArrayItem& item = gains(i);
    if (!item.isValid()) continue;
    subarrays.insert(item.subarray);
    solutions_.push_back({PackedKey(item.source, item.setup, item.subarray, KeyOf(item)), item.time,
                          double{item.interval} / 2, item.delay, item.rate, item.gain(), item.reference});
  }
  subarrays_.assign(subarrays.begin(), subarrays.end());
  std::stable_sort(solutions_.begin(), solutions_.end(), [](const Solution& a, const Solution& b) {
    return std::pair(a.key, a.time) < std::pair(b.key, b.time);
  });
}

bool GainTimeline::HasSubarray(int subarray) const {
  return std::binary_search(subarrays_.begin(), subarrays_.end(), subarray);
}

// The neighbours among all streams that the moment belongs to: those of its source, of all sources, and so on.
GainTimeline::Neighbours GainTimeline::Find(const AGainKey& key, const GainMoment& moment) const {
  Neighbours found;
  const double latest = moment.time + kSameTime / kSecondsPerDay;
  for (int stream = 0; stream < 8; ++stream) {
    const int source = stream & 1 ? moment.source : 0, setup = stream & 2 ? moment.setup : 0;
    const int subarray = stream & 4 ? moment.subarray : 0;
    const std::pair wanted(PackedKey(source, setup, subarray, key), latest);
    const auto after = std::upper_bound(
        solutions_.begin(), solutions_.end(), wanted,
        [](const auto& sought, const Solution& solution) { return sought < std::pair(solution.key, solution.time); });
    if (after != solutions_.end() && after->key == wanted.first && (!found.after || after->time < found.after->time)) {
      found.after = &*after;
    }
    if (after == solutions_.begin() || (after - 1)->key != wanted.first) continue;
    if (!found.before || (after - 1)->time > found.before->time) found.before = &*(after - 1);
  }
  return found;
}

bool GainTimeline::AreJoined(const Neighbours& pair, const GainMoment& moment) const {
  if (!pair.before || !pair.after) return false;
  const double margin = kSameTime / kSecondsPerDay;
  if (maxGap_ >= 0) return (pair.after->time - pair.before->time - margin) * kSecondsPerDay <= maxGap_;
  return pair.before->time >= moment.scanBegin - margin && pair.after->time <= moment.scanEnd + margin;
}

GainValue GainTimeline::Brought(const Solution& solution, double time, double frequency) {
  if (solution.rate == 0) return {solution.gain, solution.delay, true};
  // A rate turns each frequency by its own amount: the first channel is turned here, and the others by the delay.
  const double moved = solution.rate * (time - solution.time) * kSecondsPerDay;
  return {solution.gain * std::polar(1.0, kTwoPi * std::remainder(frequency * moved, 1.0)), solution.delay + moved,
          true};
}

GainValue GainTimeline::At(const AGainKey& key, const GainMoment& moment, double frequency) const {
  if (!std::isfinite(moment.time)) return {};
  const Neighbours pair = Find(key, moment);
  const auto distance = [&](const Solution* solution) {
    return solution ? std::fabs(moment.time - solution->time) * kSecondsPerDay : INFINITY;
  };
  const auto [before, after] = pair;
  const double since = distance(before), until = distance(after);
  if (since <= kSameTime) return Brought(*before, moment.time, frequency);
  const Solution* nearer = since <= until ? before : after;
  if (AreJoined(pair, moment)) {
    if (before->reference != after->reference) return Brought(*nearer, moment.time, frequency);
    const GainValue a = Brought(*before, moment.time, frequency), b = Brought(*after, moment.time, frequency);
    const double share = since / (since + until);
    const std::complex<double> mean = (1 - share) * a.gain + share * b.gain;
    const double modulus = (1 - share) * std::abs(a.gain) + share * std::abs(b.gain);
    return {std::polar(modulus, std::arg(mean)), (1 - share) * a.delay + share * b.delay, true};
  }
  for (const Solution* solution : {nearer, nearer == before ? after : before}) {
    if (solution && distance(solution) <= solution->half + kSameTime) return Brought(*solution, moment.time, frequency);
  }
  return {};
}

}  // namespace zeltra

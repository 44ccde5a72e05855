// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/Ticks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zeltra/core/Units.h"

namespace zeltra::app {
namespace {

// The smallest step that gives at most `most` marks in the range.
double RoundStep(double range, int most) {
  const double least = range / most;
  const double decade = std::pow(10.0, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * decade >= least) return factor * decade;
  }
  return 10 * decade;
}

double ClockStep(double range, int most) {
  for (const double step : {1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1200, 1800, 3600, 7200, 10800, 21600, 43200}) {
    if (range / step <= most) return step;
  }
  return kSecondsPerDay * RoundStep(range / kSecondsPerDay, most);
}

std::vector<double> Multiples(double low, double high, double step) {
  std::vector<double> values;
  const double margin = 1e-9 * step;
  for (double k = std::ceil((low - margin) / step); k * step <= high + margin; ++k) values.push_back(k * step);
  return values;
}

// 0, then the decades of both signs, then the numbers between them.
std::vector<double> DecadeCandidates(double low, double high, double least) {
  std::vector<double> candidates = {0};
  const double largest = std::max(std::fabs(low), std::fabs(high));
  const double smallest = std::max(low > 0 ? low : 0, std::max(least, largest * 1e-30));
  const int first = static_cast<int>(std::floor(std::log10(smallest)));
  const int last = static_cast<int>(std::floor(std::log10(largest)));
  for (const int factor : {1, 2, 5}) {
    for (int decade = last; decade >= first; --decade) {
      const double value = factor * std::pow(10.0, decade);
      if (value >= smallest * (1 - 1e-9)) candidates.insert(candidates.end(), {value, -value});
    }
  }
  return candidates;
}

bool IsRange(double low, double high) {
  return std::isfinite(high - low) && high > low;
}

}  // namespace

std::vector<Tick> RoundTicks(double low, double high, int most) {
  std::vector<Tick> ticks;
  if (!IsRange(low, high)) return ticks;
  const double step = RoundStep(high - low, most);
  const double largest = std::max(std::fabs(low), std::fabs(high));
  const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
  for (double value : Multiples(low, high, step)) {
    if (std::fabs(value) < step / 2) value = 0;  // no "-0"
    char label[40];
    if (largest < 1e7 && decimals <= 6) {
      std::snprintf(label, sizeof label, "%.*f", decimals, value);
    } else {
      std::snprintf(label, sizeof label, "%.4g", value);
    }
    ticks.push_back({value, label});
  }
  return ticks;
}

std::vector<Tick> DecadeTicks(double low, double high, double least, int most,
                              const std::function<double(double)>& place) {
  std::vector<Tick> ticks;
  if (!IsRange(low, high)) return ticks;
  const double gap = (place(high) - place(low)) / most;
  for (const double value : DecadeCandidates(low, high, least)) {
    const bool isNear = std::any_of(ticks.begin(), ticks.end(), [&](const Tick& tick) {
      return std::fabs(place(tick.value) - place(value)) < gap;
    });
    if (value < low || value > high || isNear) continue;
    char label[40];
    std::snprintf(label, sizeof label, "%g", value);
    ticks.push_back({value, label});
  }
  return ticks.size() > 3 ? ticks : RoundTicks(low, high, most / 2);
}

std::vector<Tick> ClockTicks(double low, double high, int most) {
  std::vector<Tick> ticks;
  if (!IsRange(low, high)) return ticks;
  const double step = ClockStep(high - low, most);
  for (const double value : Multiples(low, high, step)) {
    const auto seconds = std::llround(std::fabs(value));
    char label[80];
    const int used =
        std::snprintf(label, sizeof label, "%s%02lld:%02lld", value < 0 ? "-" : "", seconds / 3600, seconds / 60 % 60);
    if (step < 60) std::snprintf(label + used, sizeof label - static_cast<size_t>(used), ":%02lld", seconds % 60);
    ticks.push_back({value, label});
  }
  return ticks;
}

}  // namespace zeltra::app

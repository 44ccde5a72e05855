// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "zeltra/imaging/MinorCycleInternal.h"
#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {
namespace {

constexpr int kLanes = 4;

}  // namespace

MinorCycle::MinorCycle(const AMatrix<float>& beam, const CleanMask& mask) : beam_(beam) {
  for (int i = 0; i < mask.size(); ++i) {
    int first = mask.size(), last = -1;
    for (int j = 0; j < mask.size(); ++j) {
      if (!mask(i, j)) continue;
      first = std::min(first, j);
      last = j;
    }
    if (last < 0) continue;
    lines_.push_back({i, first, last - first + 1, mask_.size()});
    for (int j = first; j <= last; ++j) mask_.push_back(mask(i, j) ? 1.0f : 0.0f);
  }
  residual_.resize(mask_.size());
}

double MinorCycle::Load(const AMatrix<float>& map, bool isPositive) {
  for (Line& line : lines_) {
    std::copy_n(map.Line(line.number) + line.first, line.count, residual_.begin() + static_cast<ptrdiff_t>(line.start));
    Subtract(line, map.Line(line.number) + line.first, 0);
  }
  const Line* peak = FindPeak(isPositive);
  return peak ? peak->Largest(isPositive) : 0;
}

MinorCycle::Line* MinorCycle::FindPeak(bool isPositive) {
  const auto peak = std::max_element(lines_.begin(), lines_.end(), [isPositive](const Line& a, const Line& b) {
    return a.Largest(isPositive) < b.Largest(isPositive);
  });
  return peak == lines_.end() ? nullptr : &*peak;
}

int MinorCycle::PlaceOf(const Line& line, float value) const {
  const float *left = residual_.data() + line.start, *mask = mask_.data() + line.start;
  int k = 0;
  while (k + 1 < line.count && !(mask[k] * left[k] == value)) ++k;
  return k;
}

// Subtracts the beam times `scale` from a line and finds what is largest there, in one pass over memory: the loop that
// takes nearly all of the time of a minor cycle.
void MinorCycle::Subtract(Line& line, const float* beam, float scale) {
  float *left = residual_.data() + line.start, *mask = mask_.data() + line.start;
  Float4 highest = All<Float4>(0), lowest = All<Float4>(0);
  int k = 0;
  for (; k + kLanes <= line.count; k += kLanes) {
    const Float4 value = zeltra::Load<Float4>(left + k) - scale * zeltra::Load<Float4>(beam + k);
    Store(left + k, value);
    const Float4 masked = value * zeltra::Load<Float4>(mask + k);
    highest = Select(masked > highest, masked, highest);
    lowest = Select(masked < lowest, masked, lowest);
  }
  line.highest = line.lowest = 0;
  const auto compare = [&line](float value) {
    line.highest = std::max(line.highest, value);
    line.lowest = std::min(line.lowest, value);
  };
  for (int lane = 0; lane < kLanes; ++lane) {
    compare(highest[lane]);
    compare(lowest[lane]);
  }
  for (; k < line.count; ++k) {
    left[k] -= scale * beam[k];
    compare(left[k] * mask[k]);
  }
}

MinorCycle::End MinorCycle::Run(const Limits& limits, const Found& found) {
  const int center = beam_.Lines() / 2;
  for (int i = 0; i < limits.iterations; ++i) {
    const Line* peak = FindPeak(limits.isPositive);
    const float largest = peak ? peak->Largest(limits.isPositive) : 0;
    if (!(largest > limits.level)) return AtLevel;
    const bool isNegative = largest != peak->highest;
    if (isNegative && limits.endsAtNegative) return AtNegative;
    const float value = isNegative ? -largest : largest;
    const int peakLine = peak->number, peakElement = peak->first + PlaceOf(*peak, value);
    const double flux = limits.gain * value;
    if (!found(peakLine, peakElement, flux)) return Stopped;
    for (Line& line : lines_) {
      const float* beam = beam_.Line(center + line.number - peakLine) + center + line.first - peakElement;
      Subtract(line, beam, static_cast<float>(flux));
    }
  }
  return AtIterations;
}

}  // namespace zeltra

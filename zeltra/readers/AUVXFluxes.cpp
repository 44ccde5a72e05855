// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXFluxes.h"

#include <cmath>
#include <map>
#include <tuple>

#include "zeltra/core/CancelFlag.h"
#include "zeltra/readers/AUVXFastRead.h"

namespace zeltra {
namespace {

// Running mean and sum of squared differences from it (Welford 1962, Technometrics 4, 419).
struct Amplitudes {
  int64 count = 0;
  double mean = 0.0;
  double squares = 0.0;

  void Add(double amplitude) {
    const double difference = amplitude - mean;
    mean += difference / static_cast<double>(++count);
    squares += difference * (amplitude - mean);
  }

  AUVXFluxItem Result() const {
    return {count, mean, count > 1 ? std::sqrt(squares / static_cast<double>(count - 1)) : 0.0};
  }
};

struct BaseLine {
  AUVXBaseLineItem item;
  std::vector<Amplitudes> amplitudes;  // by polarisation
};

void AddValues(const AUVXVisibility& vis, std::vector<Amplitudes>& amplitudes) {
  const size_t stokes = amplitudes.size();
  size_t s = 0;
  for (int i = 0; i < vis.count(); ++i) {
    const AUVXComplex& value = vis.lpArray()[i];
    // In double precision the squares of finite parts are finite.
    const double amplitude = std::sqrt(value.Re() * value.Re() + value.Im() * value.Im());
    if (value.weight > 0 && std::isfinite(value.weight) && std::isfinite(amplitude)) amplitudes[s].Add(amplitude);
    if (++s == stokes) s = 0;
  }
}

}  // namespace

int AUVXFluxes::Create(AUVXFile& file, CProgressCtrl* progress, const ACancelFlag* cancelFlag) {
  baselines_.Free();
  items_.clear();
  stokes_ = file.stokes();

  // In the order of the baseline list, which takes its items from here.
  std::map<std::tuple<int, int, int>, BaseLine> found;
  AUVXFastRead reader(&file, progress);
  AUVXVisibility vis(file);
  AUVXGroup group;
  int index = 0;
  int records = 0;
  for (; reader.GetUVGVis(group, vis, index); ++records) {
    if (IsSet(cancelFlag)) return 0;
    const AUVXBaseLineItem item(group);
    const auto [entry, isNew] = found.try_emplace({item.source, item.tlsc1, item.tlsc2});
    BaseLine& baseline = entry->second;
    if (isNew) {
      baseline.item = item;
      baseline.amplitudes.resize(static_cast<size_t>(stokes_));
    }
    baseline.item.flag &= item.flag;
    if (group.flag == 0) AddValues(vis, baseline.amplitudes);
  }
  if (records < file.count()) return 0;
  for (const auto& [key, baseline] : found) {
    baselines_.Add(baseline.item);
    for (const Amplitudes& amplitudes : baseline.amplitudes) items_.push_back(amplitudes.Result());
  }
  return 1;
}

}  // namespace zeltra

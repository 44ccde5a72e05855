// Closure phases over time.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "apps/zeltra/plot/Plot.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/ClosureChoice.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra::app {
namespace {

class ClosurePlot {
 public:
  ClosurePlot(AUVXInput& input, const PlotOptions& options) : input_(input), options_(options), data_(input) {}
  AResult Run(std::string& svg);

 private:
  AResult LookUp();
  AResult ForEachPoint(const PlotTaker& take);
  std::string NameOf(int key) const;

  AUVXInput& input_;
  const PlotOptions options_;
  SelectedVisibilities data_;
  ClosureOptions closure_;
  int antenna_ = -1;
  std::optional<double> midnight_;  // before the first closure phase, a Julian date
};

AResult ClosurePlot::Run(std::string& svg) {
  if (AResult result = LookUp(); !result) return result;
  const PlotPoints points = [this](const PlotTaker& take) { return ForEachPoint(take); };
  PlotSurvey survey;
  if (AResult result = survey.Look(points); !result) return result;
  if (survey.count == 0) {
    return AResult::Fail(input_.path() + ": antenna " + AntennaName(data_.contents(), antenna_) +
                         " has no triangle with valid visibilities on all sides");
  }
  const PlotSeries series(survey, [this](int key) { return NameOf(key); });
  Chart chart(TimeAxis(survey.x, *midnight_, data_.contents().timeScale()), PhaseAxis("Closure phase"), series.names());
  AResult result = points([&](const PlotPoint& point) { chart.Add(series(point.key), point.x, point.y); });
  if (!result) return result;
  const AUVXFreqs frequencies(input_.uvx(), data_.contents().scans().FreqSelForSrc(data_.source().id));
  std::string note = Grouped(survey.count) + " closure phases of " + Grouped(static_cast<int64>(survey.counts.size())) +
                     " triangles with " + AntennaName(data_.contents(), antenna_) + ", IF " +
                     std::to_string(closure_.selection.IFs[0] + 1) + ", channel " +
                     std::to_string(closure_.selection.channels[0] + 1);
  note += closure_.interval > 0 ? ", averages over " + RoundedText(closure_.interval) + " s" : ", every time stamp";
  svg = chart.Draw(PlotTitle(data_, frequencies(closure_.selection.channels[0], closure_.selection.IFs[0]), *midnight_),
                   note);
  return AResult::Ok();
}

AResult ClosurePlot::LookUp() {
  const UVXSelection& selection = options_.selection;
  if (selection.stokes.size() > 1) return AResult::Fail(input_.path() + ": closure phases are of one polarisation");
  JobOptions& job = closure_;
  job = options_;
  closure_.selection = selection;
  if (!options_.antenna.empty()) closure_.selection.antennas = {options_.antenna};
  for (std::vector<int>* places : {&closure_.selection.IFs, &closure_.selection.channels}) {
    if (places->empty()) *places = {0};
  }
  closure_.interval = options_.interval;
  if (AResult result = SettleClosure(data_, closure_); !result) return result;
  return data_.contents().FindAntenna(closure_.selection.antennas.front(), antenna_);
}

AResult ClosurePlot::ForEachPoint(const PlotTaker& take) {
  return ClosurePhases(input_, closure_, [&](const AClosurePhase& closure) {
    if (!midnight_) midnight_ = MidnightBefore(closure.time);
    const int key = (closure.antennas[0] << 16) + (closure.antennas[1] << 8) + closure.antennas[2];
    take({key, (closure.time - *midnight_) * kSecondsPerDay, closure.phase * kDegreesPerRadian});
    return AResult::Ok();
  });
}

std::string ClosurePlot::NameOf(int key) const {
  std::string name;
  for (const int antenna : {key >> 16, key >> 8 & 0xFF, key & 0xFF}) {
    if (!name.empty()) name += '-';
    name += AntennaName(data_.contents(), antenna);
  }
  return name;
}

}  // namespace

AResult PlotClosure(AUVXInput& input, const PlotOptions& options, std::string& svg) {
  return ClosurePlot(input, options).Run(svg);
}

}  // namespace zeltra::app

// Closure phases over time.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "apps/zeltra/plot/Plot.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra::app {
namespace {

// The antenna that most records of a source name, whose triangles are the most telling ones; -1 if there is none.
AResult BusiestAntenna(SelectedVisibilities& data, const JobOptions& options, int& antenna) {
  std::vector<int64> counts(256);
  AResult result = data.ForEach(options, "Counting baselines...", [&](const SelectedVisibility& visibility) {
    ++counts[static_cast<uint8_t>(visibility.group->ant1)];
    ++counts[static_cast<uint8_t>(visibility.group->ant2)];
  });
  // The table may lack antennas, which cannot be asked for.
  for (int i = 0; i < 256; ++i) {
    if (data.contents().antennas().IndexForID(i) < 0) counts[static_cast<size_t>(i)] = 0;
  }
  const auto most = std::max_element(counts.begin(), counts.end());
  antenna = *most > 0 ? static_cast<int>(most - counts.begin()) : -1;
  return result;
}

class ClosurePlot {
 public:
  ClosurePlot(AUVXInput& input, const PlotOptions& options) : input_(input), options_(options), data_(input) {}
  AResult Run(std::string& svg);

 private:
  AResult LookUp();
  AResult ForEachPoint(const PlotTaker& take);
  std::string NameOf(int key) const;

  AUVXInput& input_;
  PlotOptions options_;
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
  Chart chart(TimeAxis(survey.x, *midnight_), PhaseAxis("Closure phase"), series.names());
  AResult result = points([&](const PlotPoint& point) { chart.Add(series(point.key), point.x, point.y); });
  if (!result) return result;
  const AUVXFreqs frequencies(input_.uvx(), data_.contents().scans().FreqSelForSrc(data_.source().id));
  std::string note = Grouped(survey.count) + " closure phases of " + Grouped(static_cast<int64>(survey.counts.size())) +
                     " triangles with " + AntennaName(data_.contents(), antenna_) + ", IF " +
                     std::to_string(closure_.IF) + ", channel " + std::to_string(closure_.channel);
  note += closure_.interval > 0 ? ", averages over " + RoundedText(closure_.interval) + " s" : ", every time stamp";
  svg = chart.Draw(PlotTitle(data_, frequencies(closure_.channel, closure_.IF), *midnight_), note);
  return AResult::Ok();
}

AResult ClosurePlot::LookUp() {
  UVXSelection& selection = options_.selection;
  selection.IF = std::max(selection.IF, 0);
  selection.channel = std::max(selection.channel, 0);
  if (selection.stokes.size() > 1) return AResult::Fail(input_.path() + ": closure phases are of one polarisation");
  if (AResult result = data_.Select(selection, SelectedVisibilities::ParallelHands); !result) return result;
  if (selection.stokes.empty()) {
    // Antennas shift the phases of the two hands differently, so that closure holds for each hand alone.
    selection.stokes = {data_.mixes()(0).asShortString()};
    if (AResult result = data_.Select(selection, SelectedVisibilities::ParallelHands); !result) return result;
  }
  if (options_.antenna.empty()) {
    if (AResult result = BusiestAntenna(data_, options_, antenna_); !result) return result;
    if (antenna_ < 0) return data_.NothingValid();
  } else if (AResult result = data_.contents().FindAntenna(options_.antenna, antenna_); !result) {
    return result;
  }
  JobOptions& job = closure_;
  job = options_;
  // As it was named: the number of one source may be the name of another.
  closure_.source = selection.source;
  closure_.antenna = std::to_string(antenna_);
  closure_.stokes = selection.stokes.front();
  closure_.IF = selection.IF;
  closure_.channel = selection.channel;
  closure_.interval = options_.interval;
  return AResult::Ok();
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

// Closure phases over time.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <optional>
#include <vector>

#include "apps/zeltra/plot/Plot.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/ClosureChoice.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra::app {
namespace {

// The key of the closure phases of a model, beyond those of three antennas.
constexpr int kModel = 1 << 24;

class ClosurePlot {
 public:
  ClosurePlot(AUVXInput& input, AUVXInput* model, const PlotOptions& options)
      : input_(input), model_(model), options_(options), data_(input) {}
  AResult Run(std::string& svg);

 private:
  AResult LookUp();
  AResult ForEachPoint(const PlotTaker& take);
  std::string Averaged() const;
  std::string NameOf(int key) const;

  AUVXInput& input_;
  AUVXInput* const model_;  // may be null
  const PlotOptions options_;
  SelectedVisibilities data_;
  ClosureOptions closure_;
  std::vector<int> IFs_, channels_;
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
  Chart chart(TimeAxis(survey.x, *midnight_, data_.contents().timeScale()), PhaseAxis("Closure phase", survey.y),
              series.names());
  const bool hasModel = survey.counts.count(kModel) > 0;
  if (hasModel) chart.PutOnTop(series(kModel));
  AResult result = points([&](const PlotPoint& point) {
    chart.AddBar(series(point.key), point.x, point.y - point.error, point.y + point.error);
    chart.Add(series(point.key), point.x, point.y);
  });
  if (!result) return result;
  const AUVXFreqs frequencies(input_.uvx(), data_.contents().scans().FreqSelForSrc(data_.source().id));
  const int IF = IFs_.front(), channel = channels_.front();
  const int64 ofModel = hasModel ? survey.counts.at(kModel) : 0;
  const int64 triangles = std::ssize(survey.counts) - (hasModel ? 1 : 0);
  const std::string note = Grouped(survey.count - ofModel) + " closure phases of " + Grouped(triangles) +
                           " triangles with " + AntennaName(data_.contents(), antenna_) + ", " + Averaged();
  svg = chart.Draw(PlotTitle(data_, frequencies(channel, IF), *midnight_), note);
  return AResult::Ok();
}

AResult ClosurePlot::LookUp() {
  JobOptions& job = closure_;
  job = options_;
  closure_.selection = options_.selection;
  closure_.interval = options_.interval;
  if (AResult result = SettleClosure(data_, closure_); !result) return result;
  const auto places = [](const std::vector<int>& chosen, int count) {
    std::vector<int> all(static_cast<size_t>(count));
    std::iota(all.begin(), all.end(), 0);
    return chosen.empty() ? all : chosen;
  };
  IFs_ = places(closure_.selection.IFs, std::max(input_.uvx().IFs(), 1));
  channels_ = places(closure_.selection.channels, input_.uvx().channels());
  return data_.contents().FindAntenna(closure_.selection.antennas.front(), antenna_);
}

// What the closure phases are averaged over.
std::string ClosurePlot::Averaged() const {
  const auto part = [](const std::string& name, const std::vector<int>& places) {
    std::string text = places.size() == 1 ? name : std::to_string(places.size());
    text += ' ';
    return places.size() == 1 ? text.append(std::to_string(places[0] + 1)) : text.append(name).append("s");
  };
  const size_t hands = data_.polarisations().size();
  std::string text = IFs_.size() * channels_.size() * hands > 1 ? "means of " : "";
  text += part("IF", IFs_) + ", " + part("channel", channels_);
  if (hands > 1) text += ", " + std::to_string(hands) + " polarisations";
  return text +
         (closure_.interval > 0 ? "; averages over " + RoundedText(closure_.interval) + " s" : "; each time stamp");
}

AResult ClosurePlot::ForEachPoint(const PlotTaker& take) {
  AResult result = FormClosures(input_, closure_, [&](const AClosure& closure) {
    if (!midnight_) midnight_ = MidnightBefore(closure.time);
    const int key = (closure.antennas[0] << 16) + (closure.antennas[1] << 8) + closure.antennas[2];
    take({key, (closure.time - *midnight_) * kSecondsPerDay, closure.value * kDegreesPerRadian,
          closure.sigma * kDegreesPerRadian});
    return AResult::Ok();
  });
  if (!result || !model_ || !midnight_) return result;
  return FormClosures(*model_, closure_, [&](const AClosure& closure) {
    take({kModel, (closure.time - *midnight_) * kSecondsPerDay, closure.value * kDegreesPerRadian});
    return AResult::Ok();
  });
}

std::string ClosurePlot::NameOf(int key) const {
  if (key == kModel) return "model";
  std::string name;
  for (const int antenna : {key >> 16, key >> 8 & 0xFF, key & 0xFF}) {
    if (!name.empty()) name += '-';
    name += AntennaName(data_.contents(), antenna);
  }
  return name;
}

}  // namespace

AResult PlotClosure(AUVXInput& input, AUVXInput* model, const PlotOptions& options, std::string& svg) {
  return ClosurePlot(input, model, options).Run(svg);
}

}  // namespace zeltra::app

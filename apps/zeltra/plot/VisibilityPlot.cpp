// Plots of visibilities: u, v coverage, amplitudes, phases.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <optional>

#include "apps/zeltra/plot/Plot.h"

#include "zeltra/core/Units.h"

namespace zeltra::app {
namespace {

constexpr double kHeadRoom = 1.04, kFootRoom = 0.02;

// The key of what is flagged.
constexpr int kFlagged = -1;

// A unit of lengths in the u, v plane.
struct LengthUnit {
  const char* name;
  double wavelengths;
};

LengthUnit UnitFor(double wavelengths) {
  if (wavelengths >= 2e9) return {"Gλ", 1e9};
  if (wavelengths >= 1e6) return {"Mλ", 1e6};
  if (wavelengths >= 1e3) return {"kλ", 1e3};
  return {"λ", 1};
}

ChartAxis LengthAxis(const std::string& title, double low, double high) {
  const LengthUnit unit = UnitFor(high);
  ChartAxis axis = {title + " (" + unit.name + ")", low, high,
                    RoundTicks(low / unit.wavelengths, high / unit.wavelengths, 8)};
  for (Tick& tick : axis.ticks) tick.value *= unit.wavelengths;
  return axis;
}

// Points in wavelengths, seconds, degrees, and the unit of the visibilities.
// An axis has a length even where all values are 0.
double OrOne(double largest) {
  return largest > 0 ? largest : 1;
}

class VisibilityPlot {
 public:
  VisibilityPlot(AUVXInput& input, const PlotOptions& options) : options_(options), data_(input) {}
  AResult Run(std::string& svg);

 private:
  int KeyOf(const SelectedVisibility& visibility) const;
  PlotPoint PointOf(const SelectedVisibility& visibility) const;
  AResult ForEachPoint(const PlotTaker& take);
  std::string NameOf(int key) const;
  ChartAxis Across() const;
  ChartAxis Up() const;

  const PlotOptions options_;
  SelectedVisibilities data_;
  std::optional<int> antenna_;
  ValueRange frequencies_;
  std::optional<double> midnight_;  // before the first visibility, a Julian date
  PlotSurvey survey_;
};

AResult VisibilityPlot::Run(std::string& svg) {
  if (AResult result = data_.Select(options_.selection, SelectedVisibilities::ParallelHands); !result) return result;
  if (options_.selection.antennas.size() == 1) {
    int number = 0;
    if (AResult result = data_.contents().FindAntenna(options_.selection.antennas[0], number); !result) return result;
    antenna_ = number;
  }
  const PlotPoints points = [this](const PlotTaker& take) { return ForEachPoint(take); };
  if (AResult result = survey_.Look(points); !result) return result;
  if (survey_.count == 0) return data_.NothingValid(options_, ": --flagged shows them");
  const PlotSeries series(survey_, [this](int key) { return NameOf(key); });
  const bool isUV = options_.kind == PlotKind::UV;
  Chart chart(Across(), Up(), series.names(), isUV);
  AResult result = points([&](const PlotPoint& point) {
    chart.Add(series(point.key), point.x, point.y);
    if (isUV) chart.Add(series(point.key), -point.x, -point.y);
  });
  if (!result) return result;
  const std::string note = Grouped(survey_.count) + " visibilities" + (isUV ? " and their conjugates" : "") +
                           "; those that fall on one spot are drawn once";
  svg = chart.Draw(PlotTitle(data_, (frequencies_.low + frequencies_.high) / 2, *midnight_), note);
  return AResult::Ok();
}

// The other antenna where one is chosen, else the polarisation, which has no place of its own in the u, v plane.
int VisibilityPlot::KeyOf(const SelectedVisibility& visibility) const {
  if (visibility.isFlagged) return kFlagged;
  if (antenna_) {
    const int first = static_cast<uint8_t>(visibility.group->ant1),
              second = static_cast<uint8_t>(visibility.group->ant2);
    return first == *antenna_ ? second : first;
  }
  return options_.kind == PlotKind::UV ? 0 : visibility.stokes;
}

std::string VisibilityPlot::NameOf(int key) const {
  if (key == kFlagged) return "flagged";
  if (antenna_) return AntennaName(data_.contents(), *antenna_) + "-" + AntennaName(data_.contents(), key);
  return data_.polarisations()[static_cast<size_t>(key)].name;
}

PlotPoint VisibilityPlot::PointOf(const SelectedVisibility& visibility) const {
  const int key = KeyOf(visibility);
  if (options_.kind == PlotKind::UV) return {key, visibility.u, visibility.v};
  const double x = options_.overTime ? (visibility.group->date - *midnight_) * kSecondsPerDay
                                     : std::hypot(visibility.u, visibility.v);
  const AUVXComplex& value = visibility.value;
  return {key, x, options_.kind == PlotKind::Amplitude ? value.ampl() : value.phase() * kDegreesPerRadian};
}

AResult VisibilityPlot::ForEachPoint(const PlotTaker& take) {
  return data_.ForEach(options_, "Reading visibilities...", [&](const SelectedVisibility& visibility) {
    if (!std::isfinite(visibility.group->date)) return;
    if (!midnight_) midnight_ = MidnightBefore(visibility.group->date);
    const PlotPoint point = PointOf(visibility);
    // The amplitude of finite parts may be too large for a float, a finite date too far away to count in seconds.
    if (!std::isfinite(point.x) || !std::isfinite(point.y)) return;
    frequencies_.Add(visibility.frequency);
    take(point);
  });
}

ChartAxis VisibilityPlot::Across() const {
  if (options_.kind == PlotKind::UV) {
    const double longest = OrOne(std::max({-survey_.x.low, survey_.x.high, -survey_.y.low, survey_.y.high}));
    return LengthAxis("u", -kHeadRoom * longest, kHeadRoom * longest);
  }
  if (options_.overTime) return TimeAxis(survey_.x, *midnight_, data_.contents().timeScale());
  const double longest = OrOne(survey_.x.high);
  return LengthAxis("uv distance", -kFootRoom * longest, kHeadRoom * longest);
}

ChartAxis VisibilityPlot::Up() const {
  if (options_.kind == PlotKind::UV) {
    ChartAxis axis = Across();
    axis.title[0] = 'v';
    return axis;
  }
  if (options_.kind == PlotKind::Phase) return PhaseAxis("Phase");
  const double largest = OrOne(survey_.y.high);
  const double low = -kFootRoom * largest, high = kHeadRoom * largest;
  const std::string unit = data_.unit();
  return {unit.empty() ? "Amplitude" : "Amplitude (" + PlainText(unit) + ")", low, high, RoundTicks(low, high, 8)};
}

}  // namespace

AResult PlotVisibilities(AUVXInput& input, const PlotOptions& options, std::string& svg) {
  return VisibilityPlot(input, options).Run(svg);
}

}  // namespace zeltra::app

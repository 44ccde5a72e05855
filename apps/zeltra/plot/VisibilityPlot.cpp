// Plots of visibilities: u, v coverage, amplitudes, phases.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <optional>

#include "apps/zeltra/plot/Plot.h"

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra::app {
namespace {

constexpr double kHeadRoom = 1.04, kFootRoom = 0.02, kLogRoom = 0.04;

// The keys of flagged visibilities, and of those of a model, which follow all others.
constexpr int kFlagged = -1, kModel = 256;
// Those of residuals.
constexpr int kReal = 0, kImaginary = 1;

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
                    RoundTicks(low / unit.wavelengths, high / unit.wavelengths, 10)};
  for (Tick& tick : axis.ticks) tick.value *= unit.wavelengths;
  return axis;
}

// An axis has a length even if all values are 0.
double OrOne(double largest) {
  return largest > 0 ? largest : 1;
}

// An axis of decimal logarithms, labelled with the numbers themselves.
ChartAxis LogAxis(const std::string& title, const ValueRange& logarithms) {
  const double margin = std::max(kLogRoom * (logarithms.high - logarithms.low), 0.01);
  ChartAxis axis = {title, logarithms.low - margin, logarithms.high + margin, {}};
  axis.ticks =
      DecadeTicks(std::pow(10, axis.low), std::pow(10, axis.high), 0, 14, [](double x) { return std::log10(x); });
  for (Tick& tick : axis.ticks) tick.value = std::log10(tick.value);
  return axis;
}

// Points in wavelengths, seconds, degrees, and the unit of the visibilities or its decimal logarithm.
class VisibilityPlot {
 public:
  VisibilityPlot(AUVXInput& input, AUVXInput* model, const PlotOptions& options) : options_(options), data_(input) {
    if (model) model_.emplace(*model);
  }
  AResult Run(std::string& svg);

 private:
  int KeyOf(const SelectedVisibility& visibility) const;
  double AcrossOf(const SelectedVisibility& visibility) const;
  PlotPoint PointOf(const SelectedVisibility& visibility) const;
  AResult ForEachPoint(const PlotTaker& take);
  void Take(const SelectedVisibility& visibility, const PlotTaker& take);
  void Pass(const PlotPoint& point, const PlotTaker& take) const;
  std::string NameOf(int key) const;
  std::string Note() const;
  ChartAxis Across() const;
  ChartAxis Up() const;

  const PlotOptions options_;
  SelectedVisibilities data_;
  std::optional<SelectedVisibilities> model_;
  std::optional<int> antenna_;
  ValueRange frequencies_;
  std::optional<double> midnight_;  // before the first visibility, a Julian date
  PlotSurvey survey_;
  int64 zeros_ = 0;  // which a logarithmic axis cannot show
};

AResult VisibilityPlot::Run(std::string& svg) {
  for (SelectedVisibilities* data : {&data_, model_ ? &*model_ : nullptr}) {
    if (!data) continue;
    if (AResult result = data->Select(options_.selection, SelectedVisibilities::ParallelHands); !result) return result;
  }
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
  if (survey_.counts.count(kModel)) chart.PutOnTop(series(kModel));
  AResult result = points([&](const PlotPoint& point) {
    chart.Add(series(point.key), point.x, point.y);
    if (isUV) chart.Add(series(point.key), -point.x, -point.y);
  });
  if (!result) return result;
  svg = chart.Draw(PlotTitle(data_, (frequencies_.low + frequencies_.high) / 2, *midnight_), Note());
  return AResult::Ok();
}

std::string VisibilityPlot::Note() const {
  const bool isResidual = options_.kind == PlotKind::Residual;
  const int64 ofData = survey_.count - (survey_.counts.count(kModel) ? survey_.counts.at(kModel) : 0);
  std::string note = isResidual ? "Data minus model of " + Grouped(ofData / 2) : Grouped(ofData);
  if (options_.interval == 0) note += " visibilities";
  if (options_.interval > 0) note += " averages over " + RoundedText(options_.interval) + " s";
  if (options_.interval < 0) note += " averages of each time stamp";
  if (options_.kind == PlotKind::UV) note += " and their conjugates";
  note += "; those at the same place are drawn once";
  return note + (zeros_ > 0 ? "; " + Grouped(zeros_) + " of amplitude 0 are not shown" : "");
}

// The other antenna, if one is chosen, else the polarisation, which has no position of its own in the u, v plane.
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
  if (key == kModel) return "model";
  if (options_.kind == PlotKind::Residual) return key == kReal ? "real" : "imaginary";
  if (antenna_) return AntennaName(data_.contents(), *antenna_) + "-" + AntennaName(data_.contents(), key);
  return data_.polarisations()[static_cast<size_t>(key)].name;
}

double VisibilityPlot::AcrossOf(const SelectedVisibility& visibility) const {
  return options_.overTime ? (visibility.group->date - *midnight_) * kSecondsPerDay
                           : std::hypot(visibility.u, visibility.v);
}

PlotPoint VisibilityPlot::PointOf(const SelectedVisibility& visibility) const {
  const int key = KeyOf(visibility);
  if (options_.kind == PlotKind::UV) return {key, visibility.u, visibility.v};
  const double x = AcrossOf(visibility);
  if (options_.kind == PlotKind::Phase) return {key, x, visibility.value.phase() * kDegreesPerRadian};
  const double amplitude = visibility.value.ampl();
  return {key, x, options_.isLogarithmic ? std::log10(amplitude) : amplitude};
}

AResult VisibilityPlot::ForEachPoint(const PlotTaker& take) {
  zeros_ = 0;
  const auto forEach = [&](SelectedVisibilities& data, const PlotTaker& taker) {
    const auto visit = [&](const SelectedVisibility& visibility) { Take(visibility, taker); };
    return options_.interval != 0 ? data.ForEachMean(options_, options_.interval, visit)
                                  : data.ForEach(options_, "Reading visibilities...", visit);
  };
  AResult result = forEach(data_, take);
  if (!result || !model_) return result;
  return forEach(*model_, [&take](PlotPoint point) {
    point.key = kModel;
    take(point);
  });
}

void VisibilityPlot::Take(const SelectedVisibility& visibility, const PlotTaker& take) {
  if (!std::isfinite(visibility.group->date)) return;
  if (!midnight_) midnight_ = MidnightBefore(visibility.group->date);
  frequencies_.Add(visibility.frequency);
  if (options_.kind == PlotKind::Residual) {
    const double x = AcrossOf(visibility);
    Pass({visibility.isFlagged ? kFlagged : kReal, x, visibility.value.re}, take);
    return Pass({visibility.isFlagged ? kFlagged : kImaginary, x, visibility.value.im}, take);
  }
  zeros_ += options_.isLogarithmic && visibility.value.re == 0 && visibility.value.im == 0;
  Pass(PointOf(visibility), take);
}

// Finite parts may have an amplitude too large for a float, and a finite date may be too far away to count in seconds.
void VisibilityPlot::Pass(const PlotPoint& point, const PlotTaker& take) const {
  if (std::isfinite(point.x) && std::isfinite(point.y)) take(point);
}

ChartAxis VisibilityPlot::Across() const {
  if (options_.kind == PlotKind::UV) {
    const double longest = OrOne(std::max({-survey_.x.low, survey_.x.high, -survey_.y.low, survey_.y.high}));
    return LengthAxis("u", -kHeadRoom * longest, kHeadRoom * longest);
  }
  if (options_.overTime) return TimeAxis(survey_.x, *midnight_, data_.contents().timeScale());
  const double longest = OrOne(survey_.x.high);
  // Dots of antennas at one site would be on the frame.
  const double room = kFootRoom * longest;
  return LengthAxis("uv distance", survey_.x.low < room ? -room : 0, kHeadRoom * longest);
}

ChartAxis VisibilityPlot::Up() const {
  if (options_.kind == PlotKind::UV) {
    ChartAxis axis = Across();
    axis.title[0] = 'v';
    return axis;
  }
  if (options_.kind == PlotKind::Phase) return PhaseAxis("Phase");
  const bool isResidual = options_.kind == PlotKind::Residual;
  const std::string unit = data_.unit(), name = isResidual ? "Data minus model" : "Amplitude";
  const std::string title = unit.empty() ? name : name + " (" + PlainText(unit) + ")";
  if (isResidual) {
    const double high = kHeadRoom * OrOne(std::max(-survey_.y.low, survey_.y.high));
    return {title, -high, high, RoundTicks(-high, high, 8)};
  }
  if (options_.isLogarithmic) return LogAxis(title, survey_.y);
  const double high = kHeadRoom * OrOne(survey_.y.high);
  return {title, 0, high, RoundTicks(0, high, 8)};
}

}  // namespace

AResult PlotVisibilities(AUVXInput& input, AUVXInput* model, const PlotOptions& options, std::string& svg) {
  return VisibilityPlot(input, model, options).Run(svg);
}

}  // namespace zeltra::app

// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/GainPlot.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "apps/zeltra/plot/Plot.h"
#include "apps/zeltra/plot/SVG.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra::app {
namespace {

constexpr double kRoom = 0.04;

struct GainPoint {
  int antenna;
  double seconds, modulus, degrees;
};

ChartAxis ModulusAxis(const ValueRange& moduli) {
  const double room = std::max(kRoom * (moduli.high - moduli.low), 0.01 * moduli.high);
  const double low = std::max(moduli.low - room, 0.0), high = moduli.high + room;
  return {"Amplitude of the gain", low, high, RoundTicks(low, high, 8)};
}

}  // namespace

AResult PlotGains(const AGains& gains, int ifIndex, int hand, std::string& svg) {
  std::vector<GainPoint> points;
  double midnight = 0;
  for (int i = 0; i < gains.list.count(); ++i) {
    const AGainArrayItem& item = gains.list(i);
    if (!item.isValid() || item.ifIndex != ifIndex || item.hand != hand) continue;
    if (points.empty()) midnight = MidnightBefore(item.time);
    points.push_back({item.antenna, (item.time - midnight) * kSecondsPerDay, std::abs(item.gain()),
                      std::arg(item.gain()) * kDegreesPerRadian});
  }
  const std::string of = "IF " + std::to_string(ifIndex + 1) + ", " + HandName(gains.header, hand);
  if (points.empty()) return AResult::Fail(gains.label + ": has no solution of " + of);
  PlotSurvey survey;
  AResult looked = survey.Look([&](const PlotTaker& take) {
    for (const GainPoint& point : points) take({point.antenna, point.seconds, point.modulus});
    return AResult::Ok();
  });
  if (!looked) return looked;
  const PlotSeries series(survey, [&](int antenna) { return PlainText(gains.AntennaName(antenna)); });
  const ChartAxis times =
      TimeAxis(survey.x, midnight, PlainText(FieldText(gains.header.timeScale, sizeof gains.header.timeScale)));
  Chart moduli(times, ModulusAxis(survey.y), series.names());
  Chart phases(times, PhaseAxis("Phase of the gain"), series.names());
  for (const GainPoint& point : points) {
    moduli.Add(series(point.antenna), point.seconds, point.modulus);
    phases.Add(series(point.antenna), point.seconds, point.degrees);
  }
  const double frequency =
      gains.frequencies.empty() ? gains.header.freq0 : gains.frequencies[static_cast<size_t>(ifIndex)].start;
  const std::string note =
      Grouped(survey.count) + " solutions of " + Grouped(static_cast<int64>(survey.counts.size())) + " antennas, " + of;
  svg = SVG::Stacked(moduli.Draw(PictureTitle("Gains", HandName(gains.header, hand), frequency, midnight), note),
                     phases.Draw("", ""));
  return AResult::Ok();
}

}  // namespace zeltra::app

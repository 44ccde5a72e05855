// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"

namespace zeltra::app {

AResult PlotSurvey::Look(const PlotPoints& points) {
  return points([this](const PlotPoint& point) {
    x.Add(point.x);
    y.Add(point.y - point.error);
    y.Add(point.y + point.error);
    ++counts[point.key];
    ++count;
  });
}

PlotSeries::PlotSeries(const PlotSurvey& survey, const std::function<std::string(int key)>& name) {
  std::vector<std::pair<int64, int>> byCount;
  for (const auto& [key, count] : survey.counts) byCount.push_back({-count, key});
  std::sort(byCount.begin(), byCount.end());
  for (size_t i = 0; i < byCount.size() && i < Chart::kColours; ++i) series_[byCount[i].second] = 0;
  for (auto& [key, series] : series_) {
    series = names_.size();
    names_.push_back(name(key));
  }
  if (byCount.size() <= Chart::kColours) return;
  names_.push_back("others");
  for (size_t i = Chart::kColours; i < byCount.size(); ++i) series_[byCount[i].second] = Chart::kColours;
}

ChartAxis TimeAxis(const ValueRange& seconds, double midnight, const std::string& timeScale) {
  const double margin = std::max(0.02 * (seconds.high - seconds.low), 1.0);
  const double low = seconds.low - margin, high = seconds.high + margin;
  return {"Time on " + DateText(midnight) + " (hours and minutes, " + timeScale + ")", low, high,
          ClockTicks(low, high, 9)};
}

ChartAxis PhaseAxis(const std::string& title) {
  ChartAxis axis = {title + " (degrees)", -180, 180, {}};
  for (int degrees = -180; degrees <= 180; degrees += 60)
    axis.ticks.push_back({1.0 * degrees, std::to_string(degrees)});
  return axis;
}

ChartAxis PhaseAxis(const std::string& title, const ValueRange& degrees) {
  for (const double step : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0}) {
    const double half = step / 2, low = half * std::floor(degrees.low / half);
    const double high = std::max(half * std::ceil(degrees.high / half), low + step);
    if (high - low > 9 * step || low < -180 || high > 180) continue;
    return {title + " (degrees)", low, high, RoundTicks(low, high, 10)};
  }
  return PhaseAxis(title);
}

std::string PlotTitle(const SelectedVisibilities& data, double frequency, double julianDate) {
  return PictureTitle(data.source().Name(), data.PolarisationNames(), frequency, julianDate);
}

std::string PictureTitle(const std::string& source, const std::string& polarisations, double frequency,
                         double julianDate) {
  char number[40];
  std::snprintf(number, sizeof number, frequency < 1e9 ? "%.5g MHz" : "%.5g GHz",
                frequency / (frequency < 1e9 ? 1e6 : 1e9));
  std::string title;
  for (const std::string& part : {PlainText(source), polarisations, std::string(number), DateText(julianDate)}) {
    if (!part.empty()) title += (title.empty() ? "" : " · ") + part;
  }
  return title;
}

std::string AntennaName(const AUVXContents& contents, int number) {
  return PlainText(contents.AntennaName(number));
}

std::string RoundedText(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", number);
  return text;
}

std::string Grouped(int64 number) {
  std::string digits = std::to_string(number);
  for (size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, 1, ' ');
  return digits;
}

}  // namespace zeltra::app

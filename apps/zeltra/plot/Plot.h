// The plots that people look at first.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_PLOT_H_
#define ZELTRA_APPS_PLOT_PLOT_H_

#include <functional>
#include <map>
#include <string>

#include "apps/zeltra/TablePrinter.h"
#include "apps/zeltra/plot/Chart.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/SelectedVisibilities.h"

namespace zeltra::app {

enum class PlotKind { UV, Amplitude, Phase, Closure };

struct PlotOptions : JobOptions {
  PlotKind kind = PlotKind::UV;
  UVXSelection selection;
  bool overTime = false;       ///< amplitude and phase over time, not over the distance from the u, v origin
  bool isLogarithmic = false;  ///< the axis of amplitudes
  double interval =
      0;  ///< seconds that are averaged; negative: every time stamp; 0: nothing, which closure does not take
};

/// A point of a plot; points of one key belong together.
struct PlotPoint {
  int key;
  double x, y;
  double error = 0;  ///< standard deviation of y
};

/// Gives all points of a plot, as often as asked: first to see their ranges, then to draw them. So nothing is kept of
/// them, and files may be of any size.
using PlotTaker = std::function<void(const PlotPoint&)>;
using PlotPoints = std::function<AResult(const PlotTaker& take)>;

/// What a first look at all points tells.
struct PlotSurvey {
  ValueRange x, y;              ///< y with its errors
  std::map<int, int64> counts;  ///< of each key
  int64 count = 0;

  AResult Look(const PlotPoints& points);
};

/// Which series of a chart the points of a key belong to. Of more keys than there are colours the most frequent ones
/// have their own; the others share the grey one.
class PlotSeries {
 public:
  /// @param name  names the series of a key
  PlotSeries(const PlotSurvey& survey, const std::function<std::string(int key)>& name);

  const std::vector<std::string>& names() const { return names_; }
  size_t operator()(int key) const { return series_.at(key); }

 private:
  std::vector<std::string> names_;
  std::map<int, size_t> series_;
};

/// An axis of seconds since `midnight`, a Julian date, which it names.
ChartAxis TimeAxis(const ValueRange& seconds, double midnight, const std::string& timeScale);
/// An axis of degrees from -180 to 180.
ChartAxis PhaseAxis(const std::string& title);
/// An axis of degrees that begins and ends at round numbers around these, within -180 and 180.
ChartAxis PhaseAxis(const std::string& title, const ValueRange& degrees);

/// What stands above a plot: source, polarisations, frequency and date, as far as they are known.
std::string PlotTitle(const SelectedVisibilities& data, double frequency, double julianDate);
std::string PictureTitle(const std::string& source, const std::string& polarisations, double frequency,
                         double julianDate);

/// The name of an antenna, or its number where it has none, in ASCII.
std::string AntennaName(const AUVXContents& contents, int number);

/// A number with its thousands apart.
std::string Grouped(int64 number);
/// A number with as many digits as it needs, six at most.
std::string RoundedText(double number);

AResult PlotVisibilities(AUVXInput& input, const PlotOptions& options, std::string& svg);
AResult PlotClosure(AUVXInput& input, const PlotOptions& options, std::string& svg);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PLOT_H_

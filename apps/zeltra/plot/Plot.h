// The standard plots of visibilities.
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

enum class PlotKind { UV, Amplitude, Phase, Closure, Residual };

struct PlotOptions : JobOptions {
  PlotKind kind = PlotKind::UV;
  UVXSelection selection;
  std::string model;           ///< as VisibilityModel::Open accepts it; empty: none
  bool overTime = false;       ///< visibilities over time, not over the distance from the u, v origin
  bool isLogarithmic = false;  ///< whether the axis of amplitudes is
  /// Seconds to average over; negative: each time stamp; 0: no averaging, which closure does not accept.
  double interval = 0;
};

/// A point of a plot; points with the same key form a series.
struct PlotPoint {
  int key;
  double x, y;
  double error = 0;  ///< standard deviation of y
};

/// Gives all points of a plot, as often as needed: first to find their ranges, then to draw them. So none are kept, and
/// files may be of any size.
using PlotTaker = std::function<void(const PlotPoint&)>;
using PlotPoints = std::function<AResult(const PlotTaker& take)>;

/// What a first pass over all points finds.
struct PlotSurvey {
  ValueRange x, y;              ///< y with its errors
  std::map<int, int64> counts;  ///< per key
  int64 count = 0;

  AResult Look(const PlotPoints& points);
};

/// Assigns the points of each key to a series of a chart. If there are more keys than colours, the most frequent keys
/// get their own; the others share the grey one.
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
/// An axis of degrees whose ends are round numbers around these, within -180 and 180.
ChartAxis PhaseAxis(const std::string& title, const ValueRange& degrees);

/// The title of a plot: source, polarisations, frequency and date, as far as known.
std::string PlotTitle(const SelectedVisibilities& data, double frequency, double julianDate);
std::string PictureTitle(const std::string& source, const std::string& polarisations, double frequency,
                         double julianDate);

/// The name of an antenna, or its number if it has none, in ASCII.
std::string AntennaName(const AUVXContents& contents, int number);

/// A number with its thousands separated.
std::string Grouped(int64 number);
/// A number with as many digits as it needs, six at most.
std::string RoundedText(double number);

/// @param model  a file with the same records, the visibilities of a model, which form one more series; may be null
AResult PlotVisibilities(AUVXInput& input, AUVXInput* model, const PlotOptions& options, std::string& svg);
AResult PlotClosure(AUVXInput& input, AUVXInput* model, const PlotOptions& options, std::string& svg);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PLOT_H_

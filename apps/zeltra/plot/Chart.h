// A chart of points with two axes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_CHART_H_
#define ZELTRA_APPS_PLOT_CHART_H_

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "apps/zeltra/plot/PlaceSet.h"
#include "apps/zeltra/plot/Ticks.h"
#include "zeltra/platform/Types.h"

namespace zeltra::app {

class SVG;

/// An axis from `low` to `high`, low < high.
struct ChartAxis {
  std::string title;
  double low = 0;
  double high = 1;
  std::vector<Tick> ticks;
};

/// The range of the numbers added.
struct ValueRange {
  double low = 1e300;
  double high = -1e300;

  void Add(double value) {
    if (value < low) low = value;
    if (value > high) high = value;
  }
};

/// Draws points as they are added, without keeping them: only the places that pixels can distinguish are remembered,
/// however many points there are. A crowded chart is drawn with fewer dots, which never lie closer than their width,
/// and keeps outliers. The fewer dots, the larger they are. Series that coincide all remain visible.
class Chart {
 public:
  /// A series of points is drawn in one colour and named in the legend.
  /// @param names     of the series
  /// @param isSquare  whether the plot is as wide as it is high
  Chart(const ChartAxis& x, const ChartAxis& y, const std::vector<std::string>& names, bool isSquare = false);

  /// The most series with colours of their own; one more may follow, which is grey and drawn below them.
  static constexpr int kColours = 10;

  /// Draw a series in black above all others, such as a model over data.
  void PutOnTop(size_t series) { onTop_ = series; }
  void Add(size_t series, double x, double y);
  /// Add an error bar, from `low` to `high`; bars are drawn below all points.
  void AddBar(size_t series, double x, double low, double high);

  /// The drawing as an SVG file.
  /// @param title  above the plot
  /// @param note   small print below the title
  std::string Draw(const std::string& title, const std::string& note) const;

 private:
  struct Series {
    std::string name;
    PlaceSet places;  // line by line
    PlaceSet bars;    // column by column; as large as `places`, or empty
  };

  static constexpr size_t kLayers = 4;
  using Layers = std::array<std::string, kLayers>;

  bool IsLegendDrawn() const { return series_.size() > 1; }
  size_t Columns() const;
  size_t Lines() const;
  size_t Marked() const;
  size_t Step(size_t marked) const;
  size_t Coloured() const { return std::min<size_t>(series_.size(), kColours); }
  const char* ColourOf(size_t series) const;
  double Aside(size_t series) const;
  Layers Paths(const Series& series, size_t step) const;
  std::string BarPath(const PlaceSet& bars) const;
  void DrawDots(SVG& svg) const;

  ChartAxis x_, y_;
  std::vector<Series> series_;
  int width_, height_;  // of the plot, pixels
  size_t onTop_ = std::string::npos;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_CHART_H_

// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/Chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "apps/zeltra/plot/SVG.h"

namespace zeltra::app {
namespace {

constexpr int kPlotWidth = 800, kPlotHeight = 520, kPlotSide = 640;
constexpr int kLeft = 90, kTop = 70, kBottom = 65, kRight = 30;
constexpr int kLetter = 9;  // pixels, the width of a letter of a legend
// Places are half a pixel apart, or that times a power of two in a crowded chart.
constexpr int kPlacesPerPixel = 2;
constexpr size_t kCrowd = 60000;
constexpr double kSmallestDot = 2, kLargestDot = 5;  // pixels
constexpr double kSpread = 2;                        // pixels between the dots of the first and the last series
constexpr double kBar = 0.6;                         // pixels, the width of an error bar
constexpr double kHalfPlace = 0.5 / kPlacesPerPixel;
constexpr const char* kGrid = "#e0e0e0";
constexpr const char* kSmallPrint = "#555555";
constexpr const char* kOnTop = "#000000";
constexpr double kOnTopShare = 0.6;  // of the width of other dots, which show around them

// Ten colours that are distinguishable with colour blindness too (M. A. Petroff: Accessible Color Sequences for Data
// Visualization, arXiv:2107.02270, 2021), and a grey for the rest.
constexpr const char* kPalette[Chart::kColours + 1] = {"#3f90da", "#ffa90e", "#bd1f01", "#94a4a2", "#832db6", "#a96b59",
                                                       "#e76300", "#b9ac70", "#717581", "#92dadd", "#cccccc"};

// The layer for dots at a place: the upper bits of a product with a large odd number.
size_t LayerOf(size_t column, size_t line) {
  return static_cast<std::uint32_t>(line * 4099U + column) * 2654435769U >> 30;
}

// The number of the place, of `count`, that a share from 0 to 1 of an axis falls on.
size_t Place(double share, size_t count) {
  return std::min(static_cast<size_t>(share * static_cast<double>(count)), count - 1);
}

}  // namespace

Chart::Chart(const ChartAxis& x, const ChartAxis& y, const std::vector<std::string>& names, bool isSquare)
    : x_(x), y_(y), width_(isSquare ? kPlotSide : kPlotWidth), height_(isSquare ? kPlotSide : kPlotHeight) {
  for (const std::string& name : names) series_.push_back({name, PlaceSet(Columns() * Lines()), PlaceSet()});
}

void Chart::Add(size_t series, double x, double y) {
  const double right = (x - x_.low) / (x_.high - x_.low), up = (y - y_.low) / (y_.high - y_.low);
  if (!(right >= 0 && right <= 1 && up >= 0 && up <= 1)) return;
  const size_t column = Place(right, Columns()), line = Place(1 - up, Lines());
  series_[series].places.Add(line * Columns() + column);
}

void Chart::AddBar(size_t series, double x, double low, double high) {
  const double right = (x - x_.low) / (x_.high - x_.low), scale = y_.high - y_.low;
  if (!(right >= 0 && right <= 1 && high >= y_.low && low <= y_.high)) return;
  PlaceSet& bars = series_[series].bars;
  if (bars.size() == 0) bars = PlaceSet(Columns() * Lines());
  const size_t column = Place(right, Columns()) * Lines();
  const size_t top = Place(std::clamp((y_.high - high) / scale, 0.0, 1.0), Lines());
  const size_t bottom = Place(std::clamp((y_.high - low) / scale, 0.0, 1.0), Lines());
  for (size_t line = top; line <= bottom; ++line) bars.Add(column + line);
}

size_t Chart::Columns() const {
  return static_cast<size_t>(width_) * kPlacesPerPixel;
}

size_t Chart::Lines() const {
  return static_cast<size_t>(height_) * kPlacesPerPixel;
}

size_t Chart::Marked() const {
  size_t marked = 0;
  for (const Series& series : series_) marked += series.places.Count();
  return marked;
}

// How many places make up one dot, along each axis.
size_t Chart::Step(size_t marked) const {
  size_t step = 1;
  for (size_t crowd = kCrowd; marked > crowd && static_cast<double>(step) < kSmallestDot * kPlacesPerPixel; crowd *= 4)
    step *= 2;
  return step;
}

// The paths of a series, one per layer.
Chart::Layers Chart::Paths(const Series& series, size_t step) const {
  const PlaceSet& places = series.places;
  const size_t columns = Columns();
  PlaceSet dots(places.size());
  for (size_t place = places.Next(0); place < places.size(); place = places.Next(place + 1)) {
    const size_t column = place % columns, line = place / columns;
    dots.Add((line - line % step) * columns + column - column % step);
  }
  Layers paths;
  for (size_t dot = dots.Next(0); dot < dots.size(); dot = dots.Next(dot + 1)) {
    const size_t column = dot % columns, line = dot / columns;
    std::string& path = paths[LayerOf(column, line)];
    path.append("M").append(std::to_string(column)).append(" ").append(std::to_string(line)).append("h0");
  }
  return paths;
}

const char* Chart::ColourOf(size_t series) const {
  return series == onTop_ ? kOnTop : kPalette[std::min<size_t>(series, kColours)];
}

// How far the dots and bars of a series are shifted, so that those at one place are seen side by side.
double Chart::Aside(size_t series) const {
  if (Coloured() < 2 || series >= Coloured() || series == onTop_) return 0;
  return kSpread * (static_cast<double>(series) / static_cast<double>(Coloured() - 1) - 0.5);
}

// Where series coincide, all of them must show: dots are drawn in layers, each dot in a pseudo-random layer that
// depends on its place, and the series take turns at being on top of a layer.
void Chart::DrawDots(SVG& svg) const {
  const size_t marked = Marked(), coloured = Coloured();
  const size_t step = Step(marked);
  const double dot = std::clamp(7 - std::log10(static_cast<double>(marked + 1)), kSmallestDot, kLargestDot);
  const double middle = kTop + static_cast<double>(step) / 2 / kPlacesPerPixel;
  std::vector<Layers> paths;
  for (const Series& series : series_) paths.push_back(Paths(series, step));
  const auto draw = [&](size_t i, size_t layer) {
    if (paths[i][layer].empty()) return;
    svg.Dots(middle - kTop + kLeft + Aside(i), middle, 1.0 / kPlacesPerPixel, paths[i][layer], ColourOf(i),
             i == onTop_ ? kOnTopShare * dot : dot);
  };
  for (size_t layer = 0; layer < kLayers && series_.size() > coloured; ++layer) draw(coloured, layer);
  for (size_t layer = 0; layer < kLayers; ++layer) {
    for (size_t i = 0; i < coloured; ++i) {
      if (const size_t next = (i + layer) % coloured; next != onTop_) draw(next, layer);
    }
  }
  for (size_t layer = 0; layer < kLayers && onTop_ < series_.size(); ++layer) draw(onTop_, layer);
}

// The lines of the bars, column by column.
std::string Chart::BarPath(const PlaceSet& bars) const {
  std::string path;
  size_t end = 0;
  for (size_t place = bars.Next(0); place < bars.size(); place = bars.Next(end)) {
    const size_t column = place / Lines(), bottom = (column + 1) * Lines();
    end = place;
    while (end < bottom && bars.Has(end)) ++end;
    path.append("M").append(std::to_string(column)).append(" ").append(std::to_string(place % Lines()));
    path.append("v").append(std::to_string(end - place));
  }
  return path;
}

std::string Chart::Draw(const std::string& title, const std::string& note) const {
  size_t longest = 0;
  for (const Series& series : series_) longest = std::max(longest, series.name.size());
  const int legend = IsLegendDrawn() ? 35 + static_cast<int>(longest) * kLetter : 0;
  const int right = kLeft + width_, bottom = kTop + height_;
  SVG svg(right + kRight + legend, bottom + kBottom);
  svg.Text(kLeft, 30, title, SVG::Start, 17);
  svg.Text(kLeft, 54, note, SVG::Start, 12, kSmallPrint);
  for (const Tick& tick : x_.ticks) {
    const double x = kLeft + (tick.value - x_.low) / (x_.high - x_.low) * width_;
    svg.Line(x, kTop, x, bottom, kGrid);
    svg.Text(x, bottom + 20, tick.label, SVG::Middle);
  }
  for (const Tick& tick : y_.ticks) {
    const double y = bottom - (tick.value - y_.low) / (y_.high - y_.low) * height_;
    svg.Line(kLeft, y, right, y, kGrid);
    svg.Text(kLeft - 8, y + 5, tick.label, SVG::End);
  }
  for (size_t i = series_.size(); i-- > 0;) {
    const std::string bars = BarPath(series_[i].bars);
    if (bars.empty()) continue;
    svg.Dots(kLeft + kHalfPlace + Aside(i), kTop, 1.0 / kPlacesPerPixel, bars, ColourOf(i), kBar);
  }
  DrawDots(svg);
  svg.Frame(kLeft, kTop, width_, height_);
  svg.Text(kLeft + width_ / 2.0, bottom + 48, x_.title, SVG::Middle);
  svg.TextUpward(25, kTop + height_ / 2.0, y_.title);
  for (size_t i = 0; i < series_.size() && IsLegendDrawn(); ++i) {
    const double y = kTop + 12 + 22 * static_cast<double>(i);
    svg.Disc(right + 20, y, 5, ColourOf(i));
    svg.Text(right + 32, y + 5, series_[i].name);
  }
  return svg.Finish();
}

}  // namespace zeltra::app

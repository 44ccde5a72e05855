// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/ImagePicture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "apps/zeltra/plot/Canvas.h"
#include "apps/zeltra/plot/Ticks.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Units.h"

namespace zeltra::app {
namespace {

constexpr int kLeastSide = 512, kMostSide = 2048;
constexpr Colour kBlack = {0, 0, 0}, kWhite = {255, 255, 255};

// Green 2011, eqs. 1 and 2, with his default parameters: start 0.5, -1.5 rotations, hue 1, gamma 1.
Colour CubeHelix(double fraction) {
  fraction = fraction > 0 ? std::min(fraction, 1.0) : 0.0;  // what is not a number too
  const double angle = 2 * kPi * (0.5 / 3 + 1 - 1.5 * fraction);
  const double swing = fraction * (1 - fraction) / 2;
  const auto level = [&](double cosine, double sine) {
    const double value = fraction + swing * (cosine * std::cos(angle) + sine * std::sin(angle));
    return static_cast<std::uint8_t>(std::lround(255 * std::clamp(value, 0.0, 1.0)));
  };
  return {level(-0.14861, 1.78277), level(-0.29227, -0.90649), level(1.97294, 0.0)};
}

class Picture {
 public:
  explicit Picture(const DirtyImage& image);
  std::string Draw();

 private:
  float Pixel(int x, int y) const;
  double XOf(double east) const;
  double YOf(double north) const;
  void DrawPixels();
  void DrawAxes();
  void DrawBar();
  void DrawBeam();
  void DrawTitle();

  const DirtyImage& image_;
  const int size_;
  const int bin_;   // pixels of the image in one of the picture
  const int zoom_;  // pixels of the picture for one of the image
  const int side_;  // of the image in the picture
  const int text_;  // scale of text
  const int left_, top_;
  const AngleUnit unit_;
  float least_ = 0, greatest_ = 0;
  Canvas canvas_;
};

int Margin(int text, int letters) {
  return Canvas::WidthOf(std::string(static_cast<size_t>(letters), '0'), text);
}

Picture::Picture(const DirtyImage& image)
    : image_(image),
      size_(image.map.Lines()),
      bin_((size_ + kMostSide - 1) / kMostSide),
      zoom_(std::max(kLeastSide / size_, 1)),
      side_(size_ / bin_ * zoom_),
      text_(std::max(side_ / 400, 2)),
      left_(Margin(text_, 9)),
      top_(Canvas::HeightOf(text_) * 5),
      unit_(AngleUnitFor(size_ / 2 * image.cell)),
      canvas_(left_ + side_ + Margin(text_, 17), top_ + side_ + Canvas::HeightOf(text_) * 6) {
  const auto [least, greatest] =
      std::minmax_element(image.map.Line(0), image.map.Line(0) + static_cast<std::ptrdiff_t>(size_) * size_);
  least_ = *least;
  greatest_ = *greatest;
}

std::string Picture::Draw() {
  DrawPixels();
  DrawBeam();
  DrawAxes();
  DrawBar();
  DrawTitle();
  return canvas_.PNG();
}

// The mean of the image's pixels at a place of the picture, counted from the upper left corner of the image.
float Picture::Pixel(int x, int y) const {
  const int line0 = ((side_ - 1 - y) / zoom_) * bin_, element0 = x / zoom_ * bin_;
  double sum = 0;
  for (int i = 0; i < bin_; ++i) {
    for (int j = 0; j < bin_; ++j) sum += image_.map(line0 + i, element0 + j);
  }
  return static_cast<float>(sum / bin_ / bin_);
}

// Where the centre of a pixel that lies so far east, or north, is drawn.
double Picture::XOf(double east) const {
  return left_ + (size_ / 2 - east / image_.cell + 0.5) * zoom_ / bin_;
}
double Picture::YOf(double north) const {
  return top_ + side_ - (size_ / 2 + north / image_.cell + 0.5) * zoom_ / bin_;
}

void Picture::DrawPixels() {
  const double range = greatest_ > least_ ? greatest_ - least_ : 1.0;
  for (int y = 0; y < side_; y += zoom_) {
    for (int x = 0; x < side_; x += zoom_) {
      canvas_.Fill(left_ + x, top_ + y, zoom_, zoom_, CubeHelix((Pixel(x, y) - least_) / range));
    }
  }
}

void Picture::DrawAxes() {
  const int gap = 2 * text_, tick = 3 * text_, height = Canvas::HeightOf(text_);
  canvas_.Frame(left_ - text_, top_ - text_, side_ + 2 * text_, side_ + 2 * text_, text_, kBlack);
  const double half = size_ / 2.0 * image_.cell / unit_.radians;
  for (const Tick& mark : RoundTicks(-half, half, 7)) {
    const int x = static_cast<int>(XOf(mark.value * unit_.radians));
    const int y = static_cast<int>(YOf(mark.value * unit_.radians));
    const int width = Canvas::WidthOf(mark.label, text_);
    if (x >= left_ && x < left_ + side_) {
      canvas_.Fill(x - text_ / 2, top_ + side_ + text_, text_, tick, kBlack);
      canvas_.Text(x - width / 2, top_ + side_ + text_ + tick + gap, text_, mark.label, kBlack);
    }
    if (y >= top_ && y < top_ + side_) {
      canvas_.Fill(left_ - text_ - tick, y - text_ / 2, tick, text_, kBlack);
      canvas_.Text(left_ - text_ - tick - gap - width, y - height / 2, text_, mark.label, kBlack);
    }
  }
  const std::string across = std::string("Relative right ascension (") + unit_.name + ")";
  const std::string up = std::string("Relative declination (") + unit_.name + ")";
  canvas_.Text(left_ + (side_ - Canvas::WidthOf(across, text_)) / 2, top_ + side_ + height * 7 / 2, text_, across,
               kBlack);
  canvas_.TextUpward(text_ * 3, top_ + (side_ + Canvas::WidthOf(up, text_)) / 2, text_, up, kBlack);
}

void Picture::DrawBar() {
  const int height = Canvas::HeightOf(text_), x = left_ + side_ + 3 * height, width = 2 * height;
  for (int y = 0; y < side_; ++y) canvas_.Fill(x, top_ + y, width, 1, CubeHelix(1 - (y + 0.5) / side_));
  canvas_.Frame(x - text_, top_ - text_, width + 2 * text_, side_ + 2 * text_, text_, kBlack);
  for (const Tick& mark : RoundTicks(least_, greatest_, 9)) {
    const double part = (mark.value - least_) / (static_cast<double>(greatest_) - least_);
    const int y = top_ + static_cast<int>((1 - part) * (side_ - 1));
    canvas_.Fill(x + width + text_, y - text_ / 2, 3 * text_, text_, kBlack);
    canvas_.Text(x + width + 6 * text_, y - height / 2, text_, mark.label, kBlack);
  }
  canvas_.Text(x, top_ - 2 * height, text_, image_.unit, kBlack);
}

// The ellipse of half power in the lower left corner, unless it fills the picture.
void Picture::DrawBeam() {
  const double major = image_.shape.major / 2, minor = image_.shape.minor / 2;
  const double scale = zoom_ / image_.cell / bin_;
  if (!(major > 0) || major * scale > side_ / 4.0) return;
  const double margin = major * scale + 6 * text_;
  const double x0 = left_ + margin, y0 = top_ + side_ - margin;
  const double angle = image_.shape.angle * kPi / 180;
  const int steps = static_cast<int>(20 * major * scale) + 100;
  for (int k = 0; k < steps; ++k) {
    const double turn = 2 * kPi * k / steps;
    const double along = major * std::cos(turn) * scale, across = minor * std::sin(turn) * scale;
    const double east = along * std::sin(angle) + across * std::cos(angle);
    const double north = along * std::cos(angle) - across * std::sin(angle);
    canvas_.Fill(static_cast<int>(x0 - east), static_cast<int>(y0 - north), text_, text_, kWhite);
  }
}

void Picture::DrawTitle() {
  char frequency[40];
  std::snprintf(frequency, sizeof frequency, "%.4g %s", image_.frequency / (image_.frequency < 1e9 ? 1e6 : 1e9),
                image_.frequency < 1e9 ? "MHz" : "GHz");
  std::string title = image_.source;
  for (const std::string& part : {image_.stokes.asShortString(), std::string(frequency), DateText(image_.dateObs)}) {
    if (!part.empty()) title += (title.empty() ? "" : "   ") + part;
  }
  canvas_.Text(left_, Canvas::HeightOf(text_) * 3 / 2, text_, title, kBlack);
}

}  // namespace

std::string ImagePicture(const DirtyImage& image) {
  return Picture(image).Draw();
}

}  // namespace zeltra::app

// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/PictureArguments.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "apps/zeltra/plot/Contours.h"
#include "apps/zeltra/plot/PalettePNG.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "apps/zeltra/plot/Plot.h"
#include "apps/zeltra/plot/SVG.h"
#include "apps/zeltra/plot/Ticks.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/jobs/ImageText.h"

namespace zeltra::app {
namespace {

constexpr int kMostPixels = 2048;
// A PNG file has two pixels for one of the drawing, and a whole number of them per pixel of the image.
constexpr int kLeastSide = 512;
constexpr double kLeft = 90, kTop = 55, kBottom = 62, kNoteHeight = 18;
constexpr double kBarGap = 24, kBarWidth = 20, kBarLetter = 9;
constexpr double kTick = 5;
constexpr double kContourStep = 3;  // times the rms
constexpr size_t kMostListed = 8;   // levels of contours

// Green 2011, eqs. 1 and 2, with his default parameters: start 0.5, -1.5 rotations, hue 1, gamma 1.
Colour CubeHelix(double fraction) {
  const double angle = 2 * kPi * (0.5 / 3 + 1 - 1.5 * fraction);
  const double swing = fraction * (1 - fraction) / 2;
  const auto level = [&](double cosine, double sine) {
    const double value = fraction + swing * (cosine * std::cos(angle) + sine * std::sin(angle));
    return static_cast<std::uint8_t>(std::lround(255 * std::clamp(value, 0.0, 1.0)));
  };
  return {level(-0.14861, 1.78277), level(-0.29227, -0.90649), level(1.97294, 0.0)};
}

Palette CubeHelixPalette() {
  Palette palette;
  for (size_t i = 0; i < palette.size(); ++i) palette[i] = CubeHelix(static_cast<double>(i) / 255);
  return palette;
}

// The colour of a value, from 0 to 1.
struct ColourScale {
  double low = 0, high = 1;
  double softening = 0;  // of the inverse hyperbolic sine; 0: linear

  double Stretched(double value) const { return softening > 0 ? std::asinh(value / softening) : value; }
  double operator()(double value) const {
    const double part = (Stretched(value) - Stretched(low)) / (Stretched(high) - Stretched(low));
    return part > 0 ? std::min(part, 1.0) : 0.0;  // NaN too
  }
  std::vector<Tick> Ticks() const {
    if (softening == 0) return RoundTicks(low, high, 9);
    return DecadeTicks(low, high, softening, 16, [this](double value) { return Stretched(value); });
  }
};

class Picture {
 public:
  Picture(const DirtyImage& image, const PictureOptions& options, const ComponentModel* model);
  std::string Draw();

 private:
  void TakePixels();
  void SettleScale();
  void SettleLevels();
  std::vector<std::string> Notes() const;
  std::string WithUnit(double value) const;
  double XOf(double east) const;
  double YOf(double north) const;
  bool DrawPixels(SVG& svg) const;
  void DrawContours(SVG& svg) const;
  void DrawComponents(SVG& svg) const;
  void DrawBeam(SVG& svg) const;
  void DrawAxes(SVG& svg) const;
  bool DrawBar(SVG& svg) const;

  const DirtyImage& image_;
  const PictureOptions options_;
  const ComponentModel* const model_;
  const int bin_;       // pixels of the image per pixel of the picture
  const int pixels_;    // of a line of the picture
  const double side_;   // of the picture in the drawing
  const double scale_;  // of the drawing, per pixel of the image
  const AngleUnit unit_;
  const std::string brightness_;  // its unit
  const Palette palette_ = CubeHelixPalette();
  std::vector<float> values_;  // line by line from the north, each from the east
  ValueRange range_;
  ColourScale colours_;
  std::vector<int> levels_;  // of contours, in steps
};

Picture::Picture(const DirtyImage& image, const PictureOptions& options, const ComponentModel* model)
    : image_(image),
      options_(options),
      model_(options.components ? model : nullptr),
      bin_((image.map.Lines() + kMostPixels - 1) / kMostPixels),
      pixels_(image.map.Lines() / bin_),
      side_((2 * kLeastSide + pixels_ - 1) / pixels_ * pixels_ / 2.0),
      scale_(side_ / pixels_ / bin_),
      unit_(AngleUnitFor(image.map.Lines() / 2 * image.cell)),
      brightness_(PlainText(image.unit)) {}

std::string Picture::Draw() {
  TakePixels();
  SettleScale();
  SettleLevels();
  const std::vector<std::string> notes = Notes();
  size_t longest = 0;
  for (const Tick& tick : colours_.Ticks()) longest = std::max(longest, tick.label.size());
  const double width = kLeft + side_ + kBarGap + kBarWidth + kBarLetter * static_cast<double>(longest) + 45;
  const double foot = kTop + side_ + kBottom;
  SVG svg(static_cast<int>(width), static_cast<int>(foot + kNoteHeight * static_cast<double>(notes.size()) + 4));
  svg.Text(kLeft, 32, PictureTitle(image_.source, image_.polarisation, image_.frequency, image_.dateObs), SVG::Start,
           17);
  if (!DrawPixels(svg) || !DrawBar(svg)) return {};
  DrawContours(svg);
  DrawComponents(svg);
  DrawBeam(svg);
  DrawAxes(svg);
  svg.TextUpward(width - 14, kTop + side_ / 2, brightness_);
  for (size_t i = 0; i < notes.size(); ++i) {
    svg.Text(kLeft, foot + kNoteHeight * static_cast<double>(i) + 8, notes[i], SVG::Start, 12, "#555555");
  }
  return svg.Finish();
}

void Picture::TakePixels() {
  for (int y = pixels_ - 1; y >= 0; --y) {
    for (int x = 0; x < pixels_; ++x) {
      double sum = 0;
      for (int i = 0; i < bin_ * bin_; ++i) sum += image_.map(y * bin_ + i / bin_, x * bin_ + i % bin_);
      values_.push_back(static_cast<float>(sum / bin_ / bin_));
      range_.Add(values_.back());
    }
  }
}

void Picture::SettleScale() {
  colours_.low = options_.clip ? options_.clip->low : range_.low;
  colours_.high = options_.clip ? options_.clip->high : range_.high;
  if (!(colours_.high > colours_.low)) colours_.high = colours_.low + std::max(std::fabs(colours_.low), 1.0);
  if (options_.isCompressed) colours_.softening = image_.rms;
}

void Picture::SettleLevels() {
  const double step = kContourStep * image_.rms;
  if (!options_.contours || !(step > 0)) return;
  if (range_.low < -step) levels_.push_back(-1);
  for (int level = 1; level * step < range_.high && level < 1 << 30; level *= 2) levels_.push_back(level);
}

std::string Picture::WithUnit(double value) const {
  return RoundedNumber(value, 4) + (brightness_.empty() ? "" : " " + brightness_);
}

// The small print below the picture.
std::vector<std::string> Picture::Notes() const {
  std::vector<std::string> notes = {image_.shape.major > 0 ? "beam " + BeamText(image_.shape) : "no beam"};
  if (options_.contours) {
    const std::string step = WithUnit(kContourStep * image_.rms);
    std::string list;
    for (size_t i = 0; i < levels_.size(); ++i) {
      if (levels_.size() <= kMostListed || i < kMostListed - 2 || i + 1 == levels_.size()) {
        list += (i == 0 ? "" : ", ") + std::to_string(levels_[i]);
      } else if (i + 2 == levels_.size()) {
        list += ", ...";
      }
    }
    notes.push_back(list.empty() ? "no contours: nothing reaches 3 times the rms, " + step
                                 : "contours at " + list + " times " + step + ", which is 3 times the rms");
  }
  if (colours_.softening > 0) {
    notes.push_back("colours by asinh: linear below the rms of " + WithUnit(image_.rms) + ", logarithmic above");
  }
  const auto below = std::count_if(values_.begin(), values_.end(), [&](float v) { return v < colours_.low; });
  const auto above = std::count_if(values_.begin(), values_.end(), [&](float v) { return v > colours_.high; });
  if (below > 0) notes.push_back(Grouped(below) + " pixels lie below the colours, down to " + WithUnit(range_.low));
  if (above > 0) notes.push_back(Grouped(above) + " pixels lie above the colours, up to " + WithUnit(range_.high));
  return notes;
}

// Where the centre of a pixel this far east, or north, is drawn.
double Picture::XOf(double east) const {
  return kLeft + (image_.map.Lines() / 2 - east / image_.cell + 0.5) * scale_;
}
double Picture::YOf(double north) const {
  return kTop + side_ - (image_.map.Lines() / 2 + north / image_.cell + 0.5) * scale_;
}

bool Picture::DrawPixels(SVG& svg) const {
  std::vector<std::uint8_t> bytes;
  for (const float value : values_) bytes.push_back(static_cast<std::uint8_t>(std::lround(255 * colours_(value))));
  const std::string png = PalettePNG(pixels_, bytes, palette_);
  if (!png.empty()) svg.Image(kLeft, kTop, side_, side_, png);
  return !png.empty();
}

void Picture::DrawContours(SVG& svg) const {
  const double pixel = side_ / pixels_;
  for (const int level : levels_) {
    const double value = level * kContourStep * image_.rms;
    std::string path;
    for (const auto& contour : Contours(values_, pixels_, value)) {
      char text[60];
      for (size_t i = 0; i < contour.size(); ++i) {
        std::snprintf(text, sizeof text, "%c%.1f %.1f", i == 0 ? 'M' : 'L', kLeft + (contour[i].column + 0.5) * pixel,
                      kTop + (contour[i].line + 0.5) * pixel);
        path += text;
      }
    }
    svg.Outline(path, colours_(value) > 0.6 ? "#000000" : "#ffffff", level < 0);
  }
}

// A cross for each component, and the half-power ellipse of a Gaussian.
void Picture::DrawComponents(SVG& svg) const {
  constexpr double kArm = 3;
  if (!model_) return;
  for (const ModelComponent& c : model_->components()) {
    const double x = XOf(c.x), y = YOf(c.y);
    if (x < kLeft || x > kLeft + side_ || y < kTop || y > kTop + side_) continue;
    const char* colour = c.flux < 0 ? "#ff3030" : "#30c0ff";
    svg.Line(x - kArm, y, x + kArm, y, colour);
    svg.Line(x, y - kArm, x, y + kArm, colour);
    const double major = c.major / 2 / image_.cell * scale_;
    if (c.isGaussian) svg.Ellipse(x, y, major * c.ratio, major, -c.angle * kDegreesPerRadian, colour, 1);
  }
}

// The half-power ellipse in the lower left corner, unless it fills the picture.
void Picture::DrawBeam(SVG& svg) const {
  const double major = image_.shape.major / 2 / image_.cell * scale_;
  const double minor = image_.shape.minor / 2 / image_.cell * scale_;
  if (!(major > 0) || major > side_ / 4) return;
  const double x = kLeft + major + 10, y = kTop + side_ - major - 10;
  // A dark rim, in case the corner is bright.
  svg.Ellipse(x, y, minor, major, -image_.shape.angle, "#000000", 3.5);
  svg.Ellipse(x, y, minor, major, -image_.shape.angle, "#ffffff", 1.5);
}

void Picture::DrawAxes(SVG& svg) const {
  const double right = kLeft + side_, bottom = kTop + side_;
  svg.Frame(kLeft, kTop, side_, side_);
  const double half = image_.map.Lines() / 2 * image_.cell / unit_.radians;
  for (const Tick& tick : RoundTicks(-half, half, 7)) {
    const double x = XOf(tick.value * unit_.radians), y = YOf(tick.value * unit_.radians);
    if (x >= kLeft && x <= right) {
      svg.Line(x, bottom, x, bottom + kTick, "#000000");
      svg.Text(x, bottom + 20, tick.label, SVG::Middle);
    }
    if (y >= kTop && y <= bottom) {
      svg.Line(kLeft - kTick, y, kLeft, y, "#000000");
      svg.Text(kLeft - kTick - 4, y + 5, tick.label, SVG::End);
    }
  }
  const std::string unit = std::string(" (") + unit_.name + ")";
  svg.Text(kLeft + side_ / 2, bottom + 44, "Relative right ascension" + unit, SVG::Middle);
  svg.TextUpward(25, kTop + side_ / 2, "Relative declination" + unit);
}

bool Picture::DrawBar(SVG& svg) const {
  const double x = kLeft + side_ + kBarGap;
  std::vector<std::uint8_t> bytes;
  for (int i = 255; i >= 0; --i) bytes.push_back(static_cast<std::uint8_t>(i));
  const std::string png = PalettePNG(1, bytes, palette_);
  if (png.empty()) return false;
  svg.Image(x, kTop, kBarWidth, side_, png);
  svg.Frame(x, kTop, kBarWidth, side_);
  for (const Tick& tick : colours_.Ticks()) {
    const double y = kTop + (1 - colours_(tick.value)) * side_;
    svg.Line(x + kBarWidth, y, x + kBarWidth + kTick, y, "#000000");
    svg.Text(x + kBarWidth + kTick + 4, y + 5, tick.label);
  }
  return true;
}

}  // namespace

AResult ParseClip(const std::string& text, PictureOptions& picture) {
  const size_t comma = text.find(',');
  PictureOptions::Range clip = {};
  const bool isRange = comma != text.npos && strToVal(text.substr(0, comma), clip.low) &&
                       strToVal(text.substr(comma + 1), clip.high) && clip.low < clip.high;
  if (!isRange) return AResult::Fail("'" + text + "' is not two numbers, the smaller one first, as in -0.01,0.5");
  picture.clip = clip;
  return AResult::Ok();
}

PictureDrawer DrawerOf(const PictureOptions& options) {
  return [&options](const DirtyImage& image, const ComponentModel* components, const std::string& name,
                    std::string& picture) {
    picture = ImagePicture(image, options, components);
    if (picture.empty()) return AResult::Fail(name + ": there is no memory for the picture");
    return FinishPicture(name, picture);
  };
}

std::string ImagePicture(const DirtyImage& image, const PictureOptions& options, const ComponentModel* model) {
  return Picture(image, options, model).Draw();
}

}  // namespace zeltra::app

// SPDX-License-Identifier: MIT
#include "zeltra/imaging/FitImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <vector>

#include "zeltra/calibration/FitUVX.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/numeric/AGaussFit.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

constexpr double kFourLn2 = 4 * std::numbers::ln2;
constexpr int kMostRounds = 100;
constexpr int kMovingRounds = 10;  // after these the pixels of a component stay, so that rounds converge
// Relative changes of peaks, and changes of places and widths in beams, that end a fit; pixels are floats.
constexpr double kSettled = 1e-6;
constexpr size_t kMostComponents = 1000;
constexpr double kEdge = 0.1;  // of the peak, where the pixels of a component end
// Squares of widths below this fraction of the beam's are rounding.
constexpr double kNoWidth = 1e-6;
constexpr double kNormalMAD = 1.4826;  // standard deviation of normal numbers over their median modulus

constexpr double kUnknown = std::numeric_limits<double>::infinity();

// A Gaussian as the image shows it: widths and places in radians, the angle from north through east.
struct Shown {
  double peak = 0, x = 0, y = 0, major = 0, minor = 0, angle = 0;
};

// Second moments of an ellipse, as squares of full widths.
struct Moments {
  double xx, xy, yy;

  Moments(double major, double minor, double angle) {
    const double s = std::sin(angle), c = std::cos(angle), a = major * major, b = minor * minor;
    xx = a * s * s + b * c * c, xy = (a - b) * s * c, yy = a * c * c + b * s * s;
  }
  double Mean() const { return (xx + yy) / 2; }
  double Half() const { return std::hypot((xx - yy) / 2, xy); }
  double Angle() const { return std::atan2(2 * xy, yy - xx) / 2; }
};

// The value of a Gaussian at a place, over its peak.
class Falloff {
 public:
  explicit Falloff(const Shown& g) : x_(g.x), y_(g.y) {
    const Moments m(g.major, g.minor, g.angle);
    const double determinant = m.xx * m.yy - m.xy * m.xy;
    a_ = m.yy / determinant, b_ = -m.xy / determinant, c_ = m.xx / determinant;
  }
  double operator()(double x, double y) const {
    x -= x_, y -= y_;
    return std::exp(-kFourLn2 * (a_ * x * x + 2 * b_ * x * y + c_ * y * y));
  }

 private:
  double x_, y_, a_, b_, c_;
};

struct Pixel {
  int line, element;
};

class ImageFitter {
 public:
  ImageFitter(const FITSImage& image, const JobOptions& options, ImageFit& fit)
      : image_(image), options_(options), fit_(fit), rest_(image.pixels) {}

  AResult Run(const ComponentModel& start);

 private:
  AResult Begin(const ComponentModel& start);
  AResult TakePeak();
  AResult FitOne(size_t k, double& change);
  void Add(const Shown& shown, double sign);
  std::vector<Pixel> PixelsOf(const Shown& shown) const;
  void ForEachPixelNear(const Shown& shown, double least, const std::function<void(int, int, double)>& visit) const;
  double RMS() const;
  void TakeOut(const Shown& shown);

  const FITSImage& image_;
  const JobOptions& options_;
  ImageFit& fit_;
  AMatrix<float> rest_;  // the image without the components
  std::vector<Shown> shown_;
  std::vector<std::vector<Pixel>> pixels_;
};

AResult ImageFitter::Run(const ComponentModel& start) {
  if (rest_.Lines() == 0) return AResult::Fail("there is not enough memory for its pixels");
  if (AResult result = Begin(start); !result) return result;
  SendProgressText(options_.progress, "Fitting components...");
  for (const Shown& shown : shown_) Add(shown, -1);
  for (double change = 1; change > kSettled && fit_.rounds < kMostRounds; ++fit_.rounds) {
    change = 0;
    for (size_t k = 0; k < shown_.size(); ++k) {
      if (IsCancelled(options_)) return AResult::Cancel("the fit was cancelled");
      if (AResult result = FitOne(k, change); !result) return result;
    }
  }
  if (fit_.rounds == kMostRounds) {
    fit_.sky.remarks.push_back("the fit has not converged after " + std::to_string(kMostRounds) +
                               " rounds, as components overlap: a fit to the visibilities takes them together");
  }
  fit_.rms = RMS();
  fit_.unit = image_.unit;
  for (const Shown& shown : shown_) TakeOut(shown);
  return AResult::Ok();
}

// The components of the start as the beam shows them.
AResult ImageFitter::Begin(const ComponentModel& start) {
  if (start.components().empty()) return TakePeak();
  if (start.components().size() > kMostComponents)
    return AResult::Fail("more than " + std::to_string(kMostComponents) + " components are more than a fit takes");
  const ABeamShape& beam = image_.beam;
  const Moments b(beam.major, beam.minor, beam.angle * kRadiansPerDegree);
  for (const ModelComponent& c : start.components()) {
    Moments m(c.isGaussian ? c.major : 0, c.isGaussian ? c.major * c.ratio : 0, c.angle);
    m.xx += b.xx, m.xy += b.xy, m.yy += b.yy;
    Shown g = {0, c.x, c.y, std::sqrt(m.Mean() + m.Half()), std::sqrt(m.Mean() - m.Half()), m.Angle()};
    g.peak = c.flux * beam.major * beam.minor / (g.major * g.minor);
    shown_.push_back(g);
  }
  pixels_.resize(shown_.size());
  return AResult::Ok();
}

AResult ImageFitter::TakePeak() {
  Shown g = {0, 0, 0, image_.beam.major, image_.beam.minor, image_.beam.angle * kRadiansPerDegree};
  for (int i = 0; i < rest_.Lines(); ++i) {
    for (int j = 0; j < rest_.LineLength(); ++j) {
      const float value = rest_.Line(i)[j];
      if (!(value > g.peak) || !std::isfinite(value)) continue;
      g.peak = value, g.x = image_.East(j), g.y = image_.North(i);
    }
  }
  if (g.peak == 0) return AResult::Fail("has no pixel above 0");
  shown_ = {g};
  pixels_.resize(1);
  return AResult::Ok();
}

// Visit the pixels where a Gaussian is at least `least` times its peak, with its value there over the peak.
void ImageFitter::ForEachPixelNear(const Shown& shown, double least,
                                   const std::function<void(int, int, double)>& visit) const {
  const Falloff falloff(shown);
  const double radius = shown.major * std::sqrt(std::log(1 / least) / kFourLn2);
  const auto range = [radius](double at, double center, double step, int count) {
    const double middle = center + at / step, half = std::min(radius / std::fabs(step), 1e9);
    return std::pair(static_cast<int>(std::clamp<double>(std::floor(middle - half), 0, count)),
                     static_cast<int>(std::clamp<double>(std::ceil(middle + half) + 1, 0, count)));
  };
  const auto [firstLine, endLine] = range(shown.y, image_.line, image_.lineHeight, rest_.Lines());
  const auto [first, end] = range(shown.x, image_.element, image_.elementWidth, rest_.LineLength());
  for (int i = firstLine; i < endLine; ++i) {
    for (int j = first; j < end; ++j) {
      const double share = falloff(image_.East(j), image_.North(i));
      if (share >= least) visit(i, j, share);
    }
  }
}

void ImageFitter::Add(const Shown& shown, double sign) {
  ForEachPixelNear(shown, 1e-9, [&](int i, int j, double share) {
    rest_.Line(i)[j] += static_cast<float>(sign * shown.peak * share);
  });
}

std::vector<Pixel> ImageFitter::PixelsOf(const Shown& shown) const {
  std::vector<Pixel> pixels;
  ForEachPixelNear(shown, kEdge, [&](int i, int j, double) {
    if (std::isfinite(rest_(i, j))) pixels.push_back({i, j});
  });
  return pixels;
}

AResult ImageFitter::FitOne(size_t k, double& change) {
  Shown& shown = shown_[k];
  Add(shown, 1);
  if (fit_.rounds < kMovingRounds) pixels_[k] = PixelsOf(shown);
  const double unit = image_.beam.major;  // numbers around 1 suit the fit
  std::vector<double> x, y, z;
  for (const Pixel& pixel : pixels_[k]) {
    x.push_back(image_.East(pixel.element) / unit);
    y.push_back(image_.North(pixel.line) / unit);
    z.push_back(rest_(pixel.line, pixel.element));
  }
  AGaussFit gauss;
  if (!gauss.Fit(x.data(), y.data(), z.data(), nullptr, static_cast<int>(z.size()), false)) {
    return AResult::Fail("component " + std::to_string(k + 1) + " finds no Gaussian among the " +
                         std::to_string(z.size()) + " pixels around it");
  }
  const auto value = [&](AGaussFit::Parameter parameter) { return gauss.Value(parameter); };
  const Shown next = {value(AGaussFit::Peak),         value(AGaussFit::X) * unit,     value(AGaussFit::Y) * unit,
                      value(AGaussFit::Major) * unit, value(AGaussFit::Minor) * unit, value(AGaussFit::Angle)};
  change = std::max({change, std::fabs(next.peak / shown.peak - 1), std::fabs(next.x - shown.x) / unit,
                     std::fabs(next.y - shown.y) / unit, std::fabs(next.major - shown.major) / unit,
                     std::fabs(next.minor - shown.minor) / unit});
  shown = next;
  Add(shown, -1);
  return AResult::Ok();
}

double ImageFitter::RMS() const {
  std::vector<float> moduli;
  for (int i = 0; i < rest_.Lines(); ++i) {
    for (int j = 0; j < rest_.LineLength(); ++j) {
      if (std::isfinite(rest_(i, j))) moduli.push_back(std::fabs(rest_(i, j)));
    }
  }
  const auto middle = moduli.begin() + std::ssize(moduli) / 2;
  std::nth_element(moduli.begin(), middle, moduli.end());
  return kNormalMAD * *middle;
}

// The error of a number, from its square and the error of that.
double RootError(double square, double error) {
  square = std::max(square, 0.0);
  return std::sqrt(square + error) - std::sqrt(square);
}

// Errors of a Gaussian as shown (Condon 1997, equations 20, 21, 41). Those of axes and angle are independent.
struct ShownErrors {
  double flux, x, y, major, minor, angle;

  ShownErrors(const Shown& g, const ABeamShape& beam, double rms) {
    const double noise = beam.major * beam.minor, area = g.major * g.minor;
    const auto relative = [&](double forMajor, double forMinor) {
      const double snr2 = area / (4 * noise) * std::pow(1 + noise / (g.major * g.major), forMajor) *
                          std::pow(1 + noise / (g.minor * g.minor), forMinor) * g.peak * g.peak / (rms * rms);
      return std::sqrt(2 / snr2);
    };
    const double ofPeak = relative(1.5, 1.5), ofMajor = relative(2.5, 0.5), ofMinor = relative(0.5, 2.5);
    const double flux2 = ofPeak * ofPeak + noise / area * (ofMajor * ofMajor + ofMinor * ofMinor);
    flux = std::fabs(g.peak) * area / noise * std::sqrt(flux2);
    major = ofMajor * g.major, minor = ofMinor * g.minor;
    const double along = major / std::sqrt(2 * kFourLn2), across = minor / std::sqrt(2 * kFourLn2);
    const double s = std::sin(g.angle), c = std::cos(g.angle);
    x = std::hypot(along * s, across * c), y = std::hypot(along * c, across * s);
    angle = std::sqrt(2.0) * ofMinor * area / (g.major * g.major - g.minor * g.minor);
  }
};

// Squares of the axes without the beam, which may be negative, their ratio, and the angle.
std::array<double, 4> Deconvolved(double major, double minor, double angle, const ABeamShape& beam) {
  const Moments b(beam.major, beam.minor, beam.angle * kRadiansPerDegree);
  Moments m(major, minor, angle);
  m.xx -= b.xx, m.xy -= b.xy, m.yy -= b.yy;
  const double large = m.Mean() + m.Half(), small = m.Mean() - m.Half();
  return {large, small, small / large, m.Angle()};
}

void ImageFitter::TakeOut(const Shown& g) {
  const ABeamShape& beam = image_.beam;
  const ShownErrors errors(g, beam, fit_.rms);
  std::array<double, 4> found = Deconvolved(g.major, g.minor, g.angle, beam), error = {};
  // The angle of a circle may have any error, but the shape does not change with it.
  const double turn = std::min(errors.angle, 0.5);
  const std::array<double, 4> changed[] = {Deconvolved(g.major + errors.major, g.minor, g.angle, beam),
                                           Deconvolved(g.major, g.minor + errors.minor, g.angle, beam),
                                           Deconvolved(g.major, g.minor, g.angle + turn, beam)};
  for (const std::array<double, 4>& one : changed) {
    for (size_t i = 0; i < 3; ++i) error[i] = std::hypot(error[i], one[i] - found[i]);
    error[3] = std::hypot(error[3], std::remainder(one[3] - found[3], kPi));
  }
  ModelComponent c;
  c.flux = g.peak * g.major * g.minor / (beam.major * beam.minor);
  c.x = g.x, c.y = g.y;
  c.free = ModelComponent::FreeFlux | ModelComponent::FreeX | ModelComponent::FreeY;
  ComponentErrors e = {errors.flux, errors.x, errors.y, 0, kUnknown, kUnknown};
  const double least = kNoWidth * beam.minor * beam.minor;
  e.major = RootError(found[0], error[0]);
  const auto number = std::to_string(fit_.sky.errors.size() + 1);
  if (found[0] > least) {
    c.isGaussian = true;
    c.major = std::sqrt(found[0]);
    c.ratio = found[1] > least ? std::sqrt(found[2]) : 0;
    c.angle = found[3];
    c.free |= ModelComponent::FreeMajor | ModelComponent::FreeRatio | ModelComponent::FreeAngle;
    e.ratio = RootError(found[2], error[2]);
    e.angle = error[3];
  }
  if (found[0] < error[0]) {
    fit_.sky.remarks.push_back("component " + number + " is not resolved: its major axis is below " +
                               AngleText(c.major + e.major, 3));
  }
  fit_.sky.model.components().push_back(c);
  fit_.sky.errors.push_back(e);
}

}  // namespace

AResult FitImage(const FITSImage& image, const ComponentModel& start, const JobOptions& options, ImageFit& fit) {
  fit = {};
  return ImageFitter(image, options, fit).Run(start);
}

AResult FitImage(const std::string& path, const std::string& model, const std::string& to, const JobOptions& options,
                 ImageFit& fit) {
  if (!options.overwrite && PathExists(to)) return AResult::Fail(to + ": exists already and is not replaced unasked");
  if (IsSameFile(to, path)) return AResult::Fail(to + ": is the file that is read");
  ComponentModel start;
  if (!model.empty()) {
    if (AResult result = start.Open(model); !result) return result;
  }
  FITSImage image;
  if (AResult result = image.Read(path); !result) return result;
  AResult result = FitImage(image, start, options, fit);
  if (result.code() == AResult::Failed) return AResult::Fail(path + ": " + result.message());
  return result ? WriteWholeFile(to, ModelText(fit.sky), options.overwrite, options.sync) : result;
}

}  // namespace zeltra

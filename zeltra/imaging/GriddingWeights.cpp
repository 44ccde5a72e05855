// SPDX-License-Identifier: MIT
#include "zeltra/imaging/GriddingWeights.h"

#include <algorithm>
#include <cmath>

#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"

namespace zeltra {
namespace {

constexpr char kRobust[] = "robust=";

}  // namespace

AResult strToScheme(const std::string& text, WeightingOptions& options) {
  if (text == "natural" || text == "uniform") {
    options.scheme = text == "natural" ? WeightingOptions::Natural : WeightingOptions::Uniform;
    return AResult::Ok();
  }
  options.scheme = WeightingOptions::Robust;
  const size_t length = sizeof kRobust - 1;
  if (!text.starts_with(kRobust) || !strToVal(text.substr(length), options.robustness)) {
    return AResult::Fail("\"" + text + "\" is not one of natural, uniform, robust=R");
  }
  return CheckWeighting(options);
}

std::string schemeToStr(const WeightingOptions& options) {
  if (options.scheme == WeightingOptions::Robust) return kRobust + valToStr(options.robustness);
  return options.scheme == WeightingOptions::Natural ? "natural" : "uniform";
}

AResult strToTaper(const std::string& text, WeightingOptions& options) {
  const size_t comma = text.find(',');
  if (comma == text.npos) return AResult::Fail("\"" + text + "\" is not a taper like 0.5,100M");
  if (AResult result = strToVal(text.substr(0, comma), options.taper); !result) return result;
  if (AResult result = strToVal(text.substr(comma + 1), kThousands, options.taperRadius); !result) return result;
  if (options.taper == 0) return AResult::Fail("the V of a taper is above 0");
  return CheckWeighting(options);
}

std::string taperToStr(const WeightingOptions& options) {
  return options.taper > 0 ? valToStr(options.taper) + "," + valToStr(options.taperRadius) : "";
}

AResult CheckWeighting(const WeightingOptions& options) {
  // Written so that NaN fails.
  if (!(std::fabs(options.robustness) <= 5)) return AResult::Fail("the robustness is a number from -5 to 5");
  if (!(options.power >= 0 && options.power <= 2)) return AResult::Fail("the power of weights is from 0 to 2");
  if (!(options.taper >= 0 && options.taper < 1)) return AResult::Fail("the V of a taper is from 0 to below 1");
  if (options.taper == 0 || (options.taperRadius > 0 && std::isfinite(options.taperRadius))) return AResult::Ok();
  return AResult::Fail("the radius of a taper is above 0");
}

int64 GriddingWeights::Bytes(const WeightingOptions& options, int size) {
  return options.scheme == WeightingOptions::Natural ? 0 : int64{size} * size * static_cast<int64>(sizeof(double));
}

int GriddingWeights::Create(const WeightingOptions& options, int size, double cell) {
  options_ = options;
  squaresPerWavelength_ = size * cell;
  decay_ = options.taper > 0 ? std::log(options.taper) / options.taperRadius / options.taperRadius : 0;
  return isDensityNeeded() ? density_.reSize(size, size) : 1;
}

double GriddingWeights::Tapered(double u, double v, double weight) const {
  if (options_.power != 1) weight = std::pow(weight, options_.power);
  return decay_ < 0 ? weight * std::exp(decay_ * (u * u + v * v)) : weight;
}

int GriddingWeights::Square(double wavelengths) const {
  const int size = density_.Lines();
  const double place = std::clamp(wavelengths * squaresPerWavelength_, -size / 2.0, size / 2.0);
  const int square = static_cast<int>(std::lround(place));
  return square < 0 ? square + size : square;
}

void GriddingWeights::Add(double u, double v, double weight) {
  const double w = Tapered(u, v, weight);
  density_(Square(v), Square(u)) += w;
  density_(Square(-v), Square(-u)) += w;
}

void GriddingWeights::Clear() {
  std::fill(density_.Line(0), density_.Line(density_.Lines()), 0.0);
}

void GriddingWeights::Add(const GriddingWeights& other) {
  const double* added = other.density_.Line(0);
  for (double* w = density_.Line(0); w < density_.Line(density_.Lines()); ++w, ++added) *w += *added;
}

int GriddingWeights::Store(AFile& f) const {
  return density_.Lines() == 0 || density_.Store(f);
}

int GriddingWeights::Load(AFile& f) {
  const int size = density_.Lines();
  return size == 0 || (density_.Load(f) && density_.Lines() == size && density_.LineLength() == size);
}

void GriddingWeights::Settle() {
  if (options_.scheme != WeightingOptions::Robust) return;
  double sum = 0, squares = 0;
  for (int i = 0; i < density_.Lines(); ++i) {
    for (const double* w = density_.Line(i); w < density_.Line(i + 1); ++w) {
      sum += *w;
      squares += *w * *w;
    }
  }
  const double f = 5 * std::pow(10.0, -options_.robustness);
  spread_ = squares > 0 ? f * f * sum / squares : 0;
}

double GriddingWeights::operator()(double u, double v, double weight) const {
  const double w = Tapered(u, v, weight);
  // A taper may reduce a weight, and all others in its square, to 0.
  if (options_.scheme == WeightingOptions::Natural || !(w > 0)) return w;
  const double density = density_(Square(v), Square(u));
  return options_.scheme == WeightingOptions::Uniform ? w / density : w / (1 + density * spread_);
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ModelPrediction.h"

#include <algorithm>
#include <cmath>

#include "zeltra/core/Units.h"
#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {
namespace {

// Visibilities that are worked on together: their numbers stay in the processor's inner cache while all components are
// added.
constexpr int kBlock = 64;
constexpr int kLanes = 4;

template <int kTerms>
ZELTRA_INLINE Double4 Polynomial(Double4 x, const double (&terms)[kTerms]) {
  Double4 sum = All<Double4>(terms[kTerms - 1]);
  for (int i = kTerms - 2; i >= 0; --i) sum = sum * x + All<Double4>(terms[i]);
  return sum;
}

// Add flux x (cosine, sine) of angles in half turns, below 2^50, to re and im: good to 6e-16 of the flux. The system's
// own functions take many times as long, and their last bits differ between systems.
ZELTRA_INLINE void AddWave(Double4 flux, Double4 halves, double* re, double* im) {
  // Interpolation of sqrt(2) sin(pi r / 2) / r and sqrt(2) cos(pi r / 2) in r^2, at Chebyshev points and at Radau
  // points, one of which is 0. Both are of half the angle, which takes fewer terms than the whole angle.
  constexpr double kSine[] = {2.221441469079183,     -0.9135311874994271,    0.1127023928582841,
                              -0.006621000189652891, 0.00022689805134235255, -5.089250235931372e-06,
                              7.967585563362772e-08};
  constexpr double kCosine[] = {1.4142135623730951,    -1.744716049909713,    0.3587428584333937,
                                -0.029505417428961782, 0.0013000300066413875, -3.5638792400672036e-05,
                                6.589173855971754e-07};
  // Adding 1.5 x 2^52 shifts the fraction out: what remains is the nearest whole number, odd where the last bit is set.
  constexpr double kShift = 6755399441055744;
  const Double4 shifted = halves + All<Double4>(kShift);
  const Double4 r = halves - (shifted - All<Double4>(kShift)), square = r * r;
  const Double4 sine = r * Polynomial(square, kSine), cosine = Polynomial(square, kCosine);
  // The rest of the angle has the cosine 1 - sine^2 and the sine sine * cosine; each half turn changes the sign.
  const Double4 amplitude = NegativeWhereOdd(flux, shifted);
  const Double4 product = amplitude * sine;
  Store(re, Load<Double4>(re) + (amplitude - product * sine));
  Store(im, Load<Double4>(im) + product * cosine);
}

}  // namespace

struct ModelPrediction::Block {
  double u[kBlock] = {}, v[kBlock] = {}, frequency[kBlock] = {};
  double re[kBlock] = {}, im[kBlock] = {};
  int lanes = 0;
};

ModelPrediction::ModelPrediction(const ComponentModel& model) {
  for (const ModelComponent& component : model.components()) {
    const bool isPoint = !component.isGaussian && component.spectralIndex == 0;
    (isPoint ? points_ : others_).push_back(component);
  }
  for (const ModelComponent& component : others_) {
    const double scale = component.isGaussian ? kPi * kPi / (4 * std::log(2.0)) : 0;
    const double major = scale * component.major * component.major, minor = major * component.ratio * component.ratio;
    const double sine = std::sin(component.angle), cosine = std::cos(component.angle);
    shapes_.push_back({major * sine * sine + minor * cosine * cosine, 2 * (major - minor) * sine * cosine,
                       major * cosine * cosine + minor * sine * sine});
  }
}

void ModelPrediction::Predict(const double* u, const double* v, const double* frequency, int n,
                              std::complex<double>* values) const {
  for (int first = 0; first < n; first += kBlock) {
    Block block;
    const int count = std::min(kBlock, n - first);
    std::copy_n(u + first, count, block.u);
    std::copy_n(v + first, count, block.v);
    std::copy_n(frequency + first, count, block.frequency);
    block.lanes = (count + kLanes - 1) / kLanes * kLanes;
    for (const ModelComponent& component : points_) AddPoint(component, block);
    for (size_t i = 0; i < others_.size(); ++i) AddOther(others_[i], shapes_[i], block);
    for (int i = 0; i < count; ++i) values[first + i] = {block.re[i], block.im[i]};
  }
}

void ModelPrediction::AddPoint(const ModelComponent& component, Block& block) const {
  const double x = 2 * component.x, y = 2 * component.y;
  const auto flux = All<Double4>(component.flux);
  for (int i = 0; i < block.lanes; i += kLanes)
    AddWave(flux, Load<Double4>(block.u + i) * x + Load<Double4>(block.v + i) * y, block.re + i, block.im + i);
}

void ModelPrediction::AddOther(const ModelComponent& component, const Gaussian& shape, Block& block) const {
  double flux[kBlock];
  for (int i = 0; i < block.lanes; ++i) {
    const double u = block.u[i], v = block.v[i];
    flux[i] = component.flux * std::exp(-(shape.uu * u * u + shape.uv * u * v + shape.vv * v * v));
    if (component.spectralIndex != 0)
      flux[i] *= std::pow(block.frequency[i] / component.frequency, component.spectralIndex);
  }
  const double x = 2 * component.x, y = 2 * component.y;
  for (int i = 0; i < block.lanes; i += kLanes) {
    const Double4 halves = Load<Double4>(block.u + i) * x + Load<Double4>(block.v + i) * y;
    AddWave(Load<Double4>(flux + i), halves, block.re + i, block.im + i);
  }
}

}  // namespace zeltra

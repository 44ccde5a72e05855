// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ModelPrediction.h"

#include <algorithm>
#include <cmath>

#include "zeltra/core/Units.h"
#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {
namespace {

// Visibilities that are worked on together: their numbers stay in the nearest cache while components pass.
constexpr int kBlock = 64;
constexpr int kLanes = 4;

// The nearest whole number, of numbers below 2^51: adding this one shifts the fraction out.
ZELTRA_INLINE Double4 Rounded(Double4 x) {
  constexpr double kShift = 6755399441055744;  // 1.5 x 2^52
  return (x + All<Double4>(kShift)) - All<Double4>(kShift);
}

template <int kTerms>
ZELTRA_INLINE Double4 Polynomial(Double4 x, const double (&terms)[kTerms]) {
  Double4 sum = All<Double4>(terms[kTerms - 1]);
  for (int i = kTerms - 2; i >= 0; --i) sum = sum * x + All<Double4>(terms[i]);
  return sum;
}

// Sine and cosine of angles in turns, good to 2.5e-16. Interpolation at Chebyshev's points of sin(2 pi r) / r and
// cos(2 pi r) in r^2, r being what is left of the angle when half turns are taken away. Functions of the system's own
// take four times as long, and have other last bits elsewhere.
ZELTRA_INLINE void SineCosine(Double4 turns, Double4& sine, Double4& cosine) {
  constexpr double kSine[] = {6.283185307179586,  -41.341702240399755, 81.60524927607362,
                              -76.70585975282492, 42.058693925428685,  -15.0946416761179,
                              3.8199280942271643, -0.7177337921413454, 0.10089695501646812};
  constexpr double kCosine[] = {1.0,
                                -19.739208802178705,
                                64.93939402266395,
                                -85.45681720598061,
                                60.24464131316041,
                                -26.426254066690255,
                                7.903462492085097,
                                -1.7132184107005932,
                                0.2719458494999813};
  const Double4 halves = 0.5 * Rounded(2 * turns);
  const Double4 r = turns - halves, square = r * r;
  const Double4 odd = halves - Rounded(halves);  // 0, or half a turn up or down, which changes the sign
  const Double4 sign = All<Double4>(1) - 8 * (odd * odd);
  sine = sign * (r * Polynomial(square, kSine));
  cosine = sign * Polynomial(square, kCosine);
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
  for (int i = 0; i < block.lanes; i += kLanes) {
    const Double4 turns = Load<Double4>(block.u + i) * component.x + Load<Double4>(block.v + i) * component.y;
    Double4 sine, cosine;
    SineCosine(turns, sine, cosine);
    Store(block.re + i, Load<Double4>(block.re + i) + component.flux * cosine);
    Store(block.im + i, Load<Double4>(block.im + i) + component.flux * sine);
  }
}

void ModelPrediction::AddOther(const ModelComponent& component, const Gaussian& shape, Block& block) const {
  double flux[kBlock];
  for (int i = 0; i < block.lanes; ++i) {
    const double u = block.u[i], v = block.v[i];
    flux[i] = component.flux * std::exp(-(shape.uu * u * u + shape.uv * u * v + shape.vv * v * v));
    if (component.spectralIndex != 0)
      flux[i] *= std::pow(block.frequency[i] / component.frequency, component.spectralIndex);
  }
  for (int i = 0; i < block.lanes; i += kLanes) {
    const Double4 turns = Load<Double4>(block.u + i) * component.x + Load<Double4>(block.v + i) * component.y;
    Double4 sine, cosine;
    SineCosine(turns, sine, cosine);
    Store(block.re + i, Load<Double4>(block.re + i) + Load<Double4>(flux + i) * cosine);
    Store(block.im + i, Load<Double4>(block.im + i) + Load<Double4>(flux + i) * sine);
  }
}

}  // namespace zeltra

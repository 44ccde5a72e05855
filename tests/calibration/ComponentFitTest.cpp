// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ComponentFit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr unsigned kAll = 63;

// Positions and widths in mas, angles in degrees.
ModelComponent Gaussian(double flux, double x, double y, double major, double ratio, double angle, unsigned free) {
  ModelComponent c;
  c.flux = flux;
  c.x = x * kRadiansPerMas, c.y = y * kRadiansPerMas, c.major = major * kRadiansPerMas;
  c.ratio = ratio, c.angle = angle * kRadiansPerDegree;
  c.isGaussian = major > 0;
  c.free = free;
  return c;
}

// Visibilities of a sum of components, by formulas that are written out here.
class Observation {
 public:
  explicit Observation(std::vector<ModelComponent> sky) : sky_(std::move(sky)) {}

  VisibilityList Draw(int count, double noise) {
    VisibilityList list;
    std::uniform_real_distribution<double> place(-2e8, 2e8);
    std::normal_distribution<double> error(0, noise);
    for (int i = 0; i < count; ++i) {
      const double u = place(random_), v = place(random_);
      list.u.push_back(u);
      list.v.push_back(v);
      list.frequency.push_back(8e9);
      list.value.push_back(At(u, v) + std::complex<double>(error(random_), error(random_)));
      list.weight.push_back(0.25 / (noise * noise));  // a quarter of the true weight
    }
    return list;
  }

 private:
  std::complex<double> At(double u, double v) const {
    std::complex<double> sum;
    for (const ModelComponent& c : sky_) {
      const double p = (u * std::sin(c.angle) + v * std::cos(c.angle)) * c.major;
      const double q = (u * std::cos(c.angle) - v * std::sin(c.angle)) * c.major * c.ratio;
      const double phase = 2 * kPi * (u * c.x + v * c.y);
      sum += c.flux * std::exp(-kPi * kPi / (4 * std::log(2.0)) * (p * p + q * q)) * std::polar(1.0, phase);
    }
    return sum;
  }

  std::vector<ModelComponent> sky_;
  std::mt19937_64 random_{7};
};

ComponentFit Fitted(VisibilityList list, const std::vector<ModelComponent>& start, int threads = 1) {
  ComponentModel model;
  model.components() = start;
  JobOptions options;
  options.threads = threads;
  ComponentFit fit;
  const AResult result = FitComponents(list, model, options, fit);
  EXPECT_TRUE(result) << result.message();
  return fit;
}

// The numbers of all components in a row.
template <typename Components>
std::vector<double> Numbers(const Components& components) {
  std::vector<double> numbers;
  for (const auto& c : components) numbers.insert(numbers.end(), {c.flux, c.x, c.y, c.major, c.ratio, c.angle});
  return numbers;
}

TEST(ComponentFit, HasErrorsThatAreThoseOfItsScatter) {
  const std::vector<ModelComponent> sky = {Gaussian(1, 0.1, -0.2, 0.5, 0.6, 30, kAll),
                                           Gaussian(0.4, 1.5, 0.8, 0.4, 1, 0, 15)};
  Observation observation(sky);
  const std::vector<double> truth = Numbers(sky);
  constexpr int kFits = 500;
  std::vector<double> sums(truth.size()), squares(truth.size());
  for (int i = 0; i < kFits; ++i) {
    const ComponentFit fit = Fitted(observation.Draw(100, 0.05), sky);
    const std::vector<double> values = Numbers(fit.model.components()), errors = Numbers(fit.errors);
    for (size_t k = 0; k < truth.size(); ++k) {
      const double pull = errors[k] > 0 ? (values[k] - truth[k]) / errors[k] : 0;
      sums[k] += pull / kFits;
      squares[k] += pull * pull / kFits;
    }
  }
  for (size_t k = 0; k < 10; ++k) {
    EXPECT_NEAR(sums[k], 0, 0.1) << k;
    EXPECT_NEAR(std::sqrt(squares[k] - sums[k] * sums[k]), 1, 0.1) << k;
  }
  EXPECT_EQ(squares[10] + squares[11], 0) << "ratio and angle of a circle are not fitted";
}

TEST(ComponentFit, ComesFromAfarToWhatIsThere) {
  const std::vector<ModelComponent> sky = {Gaussian(1, 0, 0, 0.6, 0.4, -50, 0), Gaussian(0.5, 2, -1, 0, 1, 0, 0)};
  Observation observation(sky);
  const VisibilityList list = observation.Draw(10000, 1e-9);
  const std::vector<ModelComponent> start = {Gaussian(0.7, 0.1, 0.1, 0.3, 1, 0, kAll),
                                             Gaussian(0.7, 1.7, -0.8, 0, 1, 0, kAll)};
  const ComponentFit fit = Fitted(list, start, 1), threaded = Fitted(list, start, 3);
  EXPECT_EQ(fit.parameters, 9) << "a point has no shape";
  EXPECT_LT(fit.iterations, 15) << "wrong derivatives come there too, but slowly";
  const std::vector<double> found = Numbers(fit.model.components()), truth = Numbers(sky);
  for (size_t k = 0; k < truth.size(); ++k)
    EXPECT_NEAR(found[k], truth[k], 1e-9 * (k % 6 > 0 && k % 6 < 4 ? 1e-9 : 1)) << k;
  EXPECT_EQ(Numbers(threaded.model.components()), found);
  EXPECT_EQ(Numbers(threaded.errors), Numbers(fit.errors));
}

TEST(ComponentFit, NamesWhatTheDataDoNotDetermine) {
  Observation observation({Gaussian(1, 0, 0, 0, 1, 0, 0)});
  const std::vector<ModelComponent> twins(2, Gaussian(0.4, 0, 0, 0, 1, 0, ModelComponent::FreeFlux));
  const ComponentFit fit = Fitted(observation.Draw(1000, 0.01), twins);
  EXPECT_THAT(fit.remarks, testing::ElementsAre("the data do not determine flux of component 2"));
  EXPECT_NEAR(fit.model.Flux(), 1, 0.01);
  EXPECT_TRUE(std::isinf(fit.errors[1].flux));
  EXPECT_NEAR(fit.errors[0].flux, 0.01 / std::sqrt(2000 / 2), 2e-5) << "of a point: sigma / sqrt N";
}

TEST(ComponentFit, RefusesWhatIsNoFit) {
  Observation observation({Gaussian(1, 0, 0, 0, 1, 0, 0)});
  VisibilityList list = observation.Draw(10, 0.01);
  ComponentFit fit;
  ComponentModel model;
  model.components().assign(1000000, Gaussian(1, 0, 0, 0.1, 0.5, 0, kAll));
  EXPECT_THAT(FitComponents(list, model, {}, fit).message(), testing::HasSubstr("more than 1000 numbers"));
  model.components().resize(4);
  EXPECT_THAT(FitComponents(list, model, {}, fit).message(), testing::HasSubstr("10 visibilities are too few for 24"));
  model.components().assign(1, Gaussian(1, 0, 0, 0, 1, 0, ModelComponent::FreeMajor));
  EXPECT_THAT(FitComponents(list, model, {}, fit).message(), testing::HasSubstr("no number is free"));
}

}  // namespace
}  // namespace zeltra

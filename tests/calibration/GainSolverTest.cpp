// SPDX-License-Identifier: MIT
#include "zeltra/calibration/GainSolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "zeltra/calibration/ModelPrediction.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

using Complex = std::complex<double>;

// Antennas that observe a source without symmetry, so that a baseline taken the wrong way round does not fit.
class Array {
 public:
  explicit Array(int antennas, double sigma = 0, int seed = 1) : random_(static_cast<unsigned>(seed)), sigma_(sigma) {
    model_.components().resize(3);
    const double sky[3][3] = {{1, 0, 0}, {0.5, 3, 1}, {0.3, -1, 4}};
    for (size_t i = 0; i < 3; ++i) {
      ModelComponent& component = model_.components()[i];
      component.flux = sky[i][0];
      component.x = sky[i][1] * kRadiansPerMas;
      component.y = sky[i][2] * kRadiansPerMas;
    }
    for (int i = 0; i < antennas; ++i) {
      gains.push_back(std::polar(Uniform(0.5, 2), i == 0 ? 0 : Uniform(-3, 3)));
      places_.emplace_back(Uniform(-1e8, 1e8), Uniform(-1e8, 1e8));
    }
  }

  double Uniform(double least, double greatest) {
    return std::uniform_real_distribution<double>(least, greatest)(random_);
  }
  std::vector<BaselineProducts> Observe(int times = 4) {
    std::vector<BaselineProducts> baselines;
    for (size_t a = 0; a < gains.size(); ++a) {
      for (size_t b = a + 1; b < gains.size(); ++b) {
        baselines.push_back({static_cast<int>(a), static_cast<int>(b)});
        for (int i = 0; i < times; ++i) AddVisibility(baselines.back(), places_[a] - places_[b]);
      }
    }
    return baselines;
  }
  std::vector<Complex> gains;

 private:
  void AddVisibility(BaselineProducts& to, Complex place) {
    const double u = place.real() + Uniform(-1e7, 1e7), v = place.imag() + Uniform(-1e7, 1e7), frequency = 1e9;
    Complex model;
    ModelPrediction(model_).Predict(&u, &v, &frequency, 1, &model);
    std::normal_distribution<double> noise(0, sigma_ > 0 ? sigma_ : 1);
    const Complex error = sigma_ > 0 ? Complex(noise(random_), noise(random_)) : Complex(0);
    const Complex value =
        gains[static_cast<size_t>(to.first)] * model * std::conj(gains[static_cast<size_t>(to.second)]) + error;
    // Without noise the data are exact to rounding. Weights differ, so that a test fails if they are ignored.
    const double weight = (sigma_ > 0 ? 1 / (sigma_ * sigma_) : 1e20) * (sigma_ > 0 ? 1 : Uniform(0.5, 2));
    to.product += weight * value * std::conj(model);
    to.model += weight * std::norm(model);
    to.data += weight * std::norm(value);
    ++to.count;
  }

  std::mt19937 random_;
  const double sigma_;
  ComponentModel model_;
  std::vector<Complex> places_;
};

TEST(ModelPrediction, IsGoodToTheLastBitsNearAndFarFromTheCentre) {
  ComponentModel model;
  model.components().resize(1);
  model.components()[0].flux = model.components()[0].x = 1;
  for (const double u : {0.0, 0.125, 0.25, -0.25, 0.3, -0.49, 0.5, 0.75, 1e6 + 0.9, -1e6 - 0.4}) {
    Complex value;
    ModelPrediction(model).Predict(&u, &u, &u, 1, &value);
    EXPECT_LT(std::abs(value - std::polar(1.0, kTwoPi * (u - std::round(u)))), 1e-15) << u;
  }
}

TEST(GainSolver, FindsTheGainsThatWerePutIn) {
  for (const int antennas : {4, 6, 10, 20}) {
    Array array(antennas);
    const auto solved = GainSolver(antennas, {.mode = GainMode::Complex, .minAntennas = 4}).Solve(array.Observe());
    const Complex turn = std::polar(1.0, -std::arg(solved[0].gain));
    for (size_t i = 0; i < solved.size(); ++i) {
      EXPECT_EQ(solved[i].fault, GainFault::None);
      EXPECT_LT(std::abs(turn * solved[i].gain - array.gains[i]), 1e-10) << i << " of " << antennas;
    }
    for (Complex& gain : array.gains) gain /= std::abs(gain);
    const auto phases = GainSolver(antennas, {}).Solve(array.Observe());
    const Complex back = std::polar(1.0, -std::arg(phases[0].gain));
    for (size_t i = 0; i < phases.size(); ++i) EXPECT_LT(std::abs(back * phases[i].gain - array.gains[i]), 1e-10);
  }
}

// For ten antennas the formal errors are 8 % too small, since they take the gains of the other antennas as known.
// Amplitudes are tested because they do not depend on the reference antenna.
TEST(GainSolver, TellsErrorsThatAreThoseOfTheNoise) {
  constexpr int kAntennas = 10, kTrials = 400;
  double squares = 0, formal = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    Array array(kAntennas, 0.1, trial);
    const auto solved = GainSolver(kAntennas, {.mode = GainMode::Complex, .minAntennas = 4}).Solve(array.Observe());
    for (size_t i = 0; i < kAntennas; ++i) {
      const double modulus = std::abs(solved[i].gain), error = modulus / solved[i].snr;
      squares += std::pow((modulus - std::abs(array.gains[i])) / error, 2);
      formal += 1;
    }
  }
  EXPECT_NEAR(std::sqrt(squares / formal), 1.08, 0.05);
}

TEST(GainSolver, LeavesOutABaselineThatIsFarOff) {
  Array array(10, 0.05);
  std::vector<BaselineProducts> baselines = array.Observe();
  baselines[7].product += baselines[7].model * Complex(3, -4);
  const auto error = [&](bool robust) {
    const auto solved =
        GainSolver(10, {.mode = GainMode::Complex, .minAntennas = 4, .robust = robust}).Solve(baselines);
    double worst = 0;
    for (size_t i = 0; i < 10; ++i)
      worst = std::max(worst, std::fabs(std::abs(solved[i].gain) - std::abs(array.gains[i])));
    return worst;
  };
  EXPECT_GT(error(false), 0.2);
  EXPECT_LT(error(true), 0.1);
}

TEST(GainSolver, TellsWhyThereIsNoGain) {
  Array array(6);
  const std::vector<BaselineProducts> all = array.Observe();
  const auto faults = [](const std::vector<BaselineProducts>& baselines, const GainSolver::Options& options) {
    std::vector<GainFault> list;
    for (const SolvedGain& gain : GainSolver(6, options).Solve(baselines)) list.push_back(gain.fault);
    return list;
  };
  const auto between = [&all](std::initializer_list<std::pair<int, int>> pairs) {
    std::vector<BaselineProducts> kept;
    for (const BaselineProducts& b : all) {
      if (std::find(pairs.begin(), pairs.end(), std::pair(b.first, b.second)) != pairs.end()) kept.push_back(b);
    }
    return kept;
  };
  using enum GainFault;
  using Faults = std::vector<GainFault>;
  EXPECT_EQ(faults(between({{0, 1}}), {}), (Faults{TooFewAntennas, TooFewAntennas, NoData, NoData, NoData, NoData}));
  EXPECT_EQ(faults(between({{0, 1}, {1, 2}, {0, 2}, {3, 4}}), {}),
            (Faults{None, None, None, NotConnected, NotConnected, NoData}));
  const GainSolver::Options complex = {.mode = GainMode::Complex, .minAntennas = 4};
  EXPECT_EQ(faults(between({{0, 1}, {1, 2}, {2, 3}, {0, 3}}), complex),
            (Faults{Undetermined, Undetermined, Undetermined, Undetermined, NoData, NoData}));
  EXPECT_EQ(faults(all, {.mode = GainMode::Complex, .minAntennas = 4, .snr = 1e15}), Faults(6, LowSNR));
}

}  // namespace
}  // namespace zeltra

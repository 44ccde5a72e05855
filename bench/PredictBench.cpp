// Measure the prediction of visibilities from components: predict_bench [COMPONENTS] [VISIBILITIES]
//
// Prints nanoseconds of wall-clock time for each component and visibility, on one thread and on two that share the
// visibilities, and of a loop over the functions of the system.
// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

#include "bench/BenchSupport.h"
#include "zeltra/calibration/ModelPrediction.h"
#include "zeltra/core/Units.h"

namespace {

using namespace zeltra;

struct Places {
  std::vector<double> u, v, frequency;
  std::vector<std::complex<double>> values;
};

void Predict(const ModelPrediction& prediction, Places& places, int threads) {
  const size_t share = places.u.size() / static_cast<size_t>(threads);
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    const size_t first = share * static_cast<size_t>(i);
    workers.emplace_back([&, first] {
      prediction.Predict(&places.u[first], &places.v[first], &places.frequency[first], static_cast<int>(share),
                         &places.values[first]);
    });
  }
  for (std::thread& worker : workers) worker.join();
}

void PredictPlainly(const ComponentModel& model, Places& places) {
  for (size_t i = 0; i < places.u.size(); ++i) {
    std::complex<double> sum;
    for (const ModelComponent& c : model.components())
      sum += std::polar(c.flux, kTwoPi * (places.u[i] * c.x + places.v[i] * c.y));
    places.values[i] = sum;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int components = argc > 1 ? std::atoi(argv[1]) : 500, visibilities = argc > 2 ? std::atoi(argv[2]) : 50000;
  std::mt19937 random(1);
  std::uniform_real_distribution<double> any(-1, 1);
  ComponentModel model;
  for (int i = 0; i < components; ++i) {
    ModelComponent& component = model.components().emplace_back();
    component.flux = any(random);
    component.x = 1e-8 * any(random);
    component.y = 1e-8 * any(random);
  }
  Places places;
  for (int i = 0; i < visibilities; ++i) {
    places.u.push_back(4e8 * any(random));
    places.v.push_back(4e8 * any(random));
  }
  places.frequency.assign(places.u.size(), 1e9);
  places.values.resize(places.u.size());
  const ModelPrediction prediction(model);
  const double count = static_cast<double>(components) * visibilities;
  const auto print = [count](const char* name, double seconds) {
    std::printf("%-24s %6.2f ns\n", name, seconds / count * 1e9);
  };
  print("one thread", bench::Seconds([&] { Predict(prediction, places, 1); }));
  print("two threads", bench::Seconds([&] { Predict(prediction, places, 2); }));
  print("functions of the system", bench::Seconds([&] { PredictPlainly(model, places); }));
}

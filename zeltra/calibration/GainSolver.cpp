// SPDX-License-Identifier: MIT
#include "zeltra/calibration/GainSolver.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace zeltra {
namespace {

using Complex = std::complex<double>;

constexpr int kMostIterations = 1000;
constexpr double kRelativeChange = 1e-12;
// As a fraction of every antenna's formal error. Changes shrink by a constant factor each time, so the remaining error
// is some ten times larger.
constexpr double kChangeOfError = 1e-3;
// Bounds of robust passes, in units of the rms.
constexpr double kRobustBounds[] = {7, 5, 4, 3.5, 3, 2.8, 2.6, 2.4, 2.2, 2.5};

// A baseline as one of its antennas sees it.
struct Link {
  int other;
  Complex product;  // sum w V conj(M) of the baseline from the antenna to the other
  double model;
};

// Antennas of one component of the graph of baselines, and whether it has a loop of an odd number of them.
struct Component {
  std::vector<int> antennas;
  bool isOdd = false;
};

std::vector<Component> Components(const std::vector<std::vector<Link>>& links) {
  std::vector<Component> components;
  std::vector<int> colour(links.size(), -1);
  for (size_t first = 0; first < links.size(); ++first) {
    if (colour[first] >= 0 || links[first].empty()) continue;
    Component component;
    component.antennas.push_back(static_cast<int>(first));
    colour[first] = 0;
    for (size_t i = 0; i < component.antennas.size(); ++i) {
      const int antenna = component.antennas[i];
      for (const Link& link : links[antenna]) {
        if (colour[link.other] < 0) {
          colour[link.other] = 1 - colour[antenna];
          component.antennas.push_back(link.other);
        } else if (colour[link.other] == colour[antenna]) {
          component.isOdd = true;
        }
      }
    }
    components.push_back(component);
  }
  return components;
}

Complex UnitOf(Complex z) {
  const double length = std::abs(z);
  return length > 0 ? z / length : Complex(1);
}

}  // namespace

BaselineProducts& BaselineProducts::operator+=(const BaselineProducts& other) {
  product += other.product;
  model += other.model;
  data += other.data;
  count += other.count;
  return *this;
}

struct GainSolver::Work {
  std::vector<BaselineProducts> baselines;
  std::vector<std::vector<Link>> links;  // of each antenna
  std::vector<int> solved;               // antennas of the component that is solved
  std::vector<Complex> gains;
  std::vector<double> errors;  // of each part of a gain

  void SetLinks(size_t antennas);
  void SetErrors();
  void Start(const std::vector<SolvedGain>& known);
  double ResidualSquare(const BaselineProducts& baseline) const;
};

void GainSolver::Work::SetLinks(size_t antennas) {
  links.assign(antennas, {});
  for (const BaselineProducts& baseline : baselines) {
    if (!(baseline.model > 0) || baseline.first == baseline.second) continue;
    links[baseline.first].push_back({baseline.second, baseline.product, baseline.model});
    links[baseline.second].push_back({baseline.first, std::conj(baseline.product), baseline.model});
  }
}

void GainSolver::Work::SetErrors() {
  errors.assign(links.size(), 0);
  for (const int p : solved) {
    double sum = 0;
    for (const Link& link : links[p]) sum += link.model * std::norm(gains[link.other]);
    errors[p] = 1 / std::sqrt(sum);
  }
}

// Initial gains. Where none is known: the modulus that fits all baselines, and the phase that the baseline to the
// antenna with the most weight gives.
void GainSolver::Work::Start(const std::vector<SolvedGain>& known) {
  double product = 0, model = 0;
  std::vector<double> weights(links.size());
  for (const int p : solved) {
    for (const Link& link : links[p]) {
      product += std::abs(link.product);
      model += link.model;
      weights[p] += link.model;
    }
  }
  const double modulus = product > 0 ? std::sqrt(product / model) : 1;
  const auto best = std::max_element(weights.begin(), weights.end()) - weights.begin();
  gains.assign(links.size(), modulus);
  const auto isKnown = [&known](size_t p) { return p < known.size() && known[p].fault == GainFault::None; };
  for (size_t p = 0; p < known.size(); ++p) {
    if (isKnown(p)) gains[p] = known[p].gain;
  }
  const Complex towards = UnitOf(gains[best]);
  for (const Link& link : links[best]) {
    if (!isKnown(link.other)) gains[link.other] = modulus * towards * UnitOf(std::conj(link.product));
  }
}

// The squared residual of the baseline's mean, in units of its variance.
double GainSolver::Work::ResidualSquare(const BaselineProducts& baseline) const {
  const Complex gain = gains[baseline.first] * std::conj(gains[baseline.second]);
  return std::norm(baseline.product / baseline.model - gain) * baseline.model;
}

// @return whether it has converged
bool GainSolver::Iterate(Work& work) const {
  std::vector<Complex> next = work.gains, even = work.gains;
  for (int iteration = 1; iteration <= kMostIterations; ++iteration) {
    for (const int p : work.solved) {
      Complex numerator = 0;
      double denominator = 0;
      for (const Link& link : work.links[p]) {
        numerator += link.product * work.gains[link.other];
        denominator += link.model * std::norm(work.gains[link.other]);
      }
      next[p] = denominator > 0 ? numerator / denominator : Complex(0);
      if (options_.mode == GainMode::Phase) next[p] = UnitOf(next[p]);
    }
    if (iteration % 2 == 0) {
      for (const int p : work.solved) {
        next[p] = (next[p] + work.gains[p]) / 2.0;
        if (options_.mode == GainMode::Phase) next[p] = UnitOf(next[p]);
      }
    }
    std::swap(work.gains, next);
    if (iteration % 2 != 0) continue;
    work.SetErrors();
    double change = 0, length = 0;
    bool isNegligible = true;
    for (const int p : work.solved) {
      const double moved = std::norm(work.gains[p] - even[p]);
      change += moved;
      length += std::norm(work.gains[p]);
      isNegligible &= moved <= kChangeOfError * kChangeOfError * work.errors[p] * work.errors[p];
    }
    if (!std::isfinite(change) || !(length > 0)) return false;
    if (isNegligible || change <= kRelativeChange * kRelativeChange * length) return true;
    even = work.gains;
  }
  return false;
}

// Baselines left out in one pass may come back in the next. A bad one may be what kept the gains from converging.
bool GainSolver::SolveRobustly(Work& work, bool hasConverged) const {
  const std::vector<BaselineProducts> all = work.baselines;
  for (const double bound : kRobustBounds) {
    double sum = 0;
    for (const BaselineProducts& baseline : work.baselines) sum += work.ResidualSquare(baseline);
    const double most = bound * bound * sum / static_cast<double>(work.baselines.size());
    std::vector<BaselineProducts> kept;
    std::copy_if(all.begin(), all.end(), std::back_inserter(kept),
                 [&](const BaselineProducts& baseline) { return work.ResidualSquare(baseline) <= most; });
    Work pass = work;
    pass.baselines = kept;
    pass.SetLinks(work.links.size());
    const std::vector<Component> components = Components(pass.links);
    const bool isWhole = components.size() == 1 && components[0].antennas.size() == work.solved.size() &&
                         (components[0].isOdd || options_.mode == GainMode::Phase);
    if (!isWhole) break;
    hasConverged = Iterate(pass);
    work = pass;
  }
  return hasConverged;
}

std::vector<SolvedGain> GainSolver::Solve(const std::vector<BaselineProducts>& baselines,
                                          const std::vector<SolvedGain>& start) const {
  std::vector<SolvedGain> gains(antennas_);
  Work work;
  std::copy_if(
      baselines.begin(), baselines.end(), std::back_inserter(work.baselines), [](const BaselineProducts& baseline) {
        return baseline.model > 0 && baseline.first != baseline.second && std::isfinite(std::norm(baseline.product));
      });
  work.SetLinks(antennas_);
  std::vector<Component> components = Components(work.links);
  const auto largest =
      std::max_element(components.begin(), components.end(),
                       [](const Component& a, const Component& b) { return a.antennas.size() < b.antennas.size(); });
  if (largest == components.end()) return gains;
  const auto fail = [&gains](const std::vector<int>& antennas, GainFault fault) {
    for (const int p : antennas) gains[p].fault = fault;
  };
  for (const Component& component : components) fail(component.antennas, GainFault::NotConnected);
  const bool isEnough = static_cast<int>(largest->antennas.size()) >= options_.minAntennas;
  if (!isEnough) fail(largest->antennas, GainFault::TooFewAntennas);
  const bool isDetermined = largest->isOdd || options_.mode == GainMode::Phase;
  if (isEnough && !isDetermined) fail(largest->antennas, GainFault::Undetermined);
  if (!isEnough || !isDetermined) return gains;
  work.solved = largest->antennas;
  std::erase_if(work.baselines, [&](const BaselineProducts& baseline) {
    return std::find(work.solved.begin(), work.solved.end(), baseline.first) == work.solved.end();
  });
  work.Start(start);
  bool hasConverged = Iterate(work);
  if (options_.robust) hasConverged = SolveRobustly(work, hasConverged);
  if (!hasConverged) {
    fail(work.solved, GainFault::NotConverged);
    return gains;
  }
  work.SetErrors();
  for (const int p : work.solved) {
    const double modulus = std::abs(work.gains[p]);
    gains[p].gain = options_.mode == GainMode::Amplitude ? Complex(modulus) : work.gains[p];
    gains[p].snr = modulus / work.errors[p];
    gains[p].fault = gains[p].snr >= options_.snr ? GainFault::None : GainFault::LowSNR;
  }
  return gains;
}

}  // namespace zeltra

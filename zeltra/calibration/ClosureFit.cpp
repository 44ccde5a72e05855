// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ClosureFit.h"

#include <algorithm>
#include <cmath>
#include <deque>

#include "zeltra/calibration/ProductWalkInternal.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr double kLeastSignal = 3;

// A baseline as an equation: phase = theta_first - theta_second, with a weight.
struct PhaseEquation {
  int first, second;
  double phase;   // radians
  double weight;  // s^2
};

double Wrapped(double phase) {
  return std::remainder(phase, kTwoPi);
}

// A tree of baselines for each connected group of antennas, which grows from the strongest antenna to its neighbours,
// and so on; and the phases of antennas that turn the phases of these baselines to 0.
class PhaseTree {
 public:
  PhaseTree(const std::vector<PhaseEquation>& equations, int antennas)
      : equations_(equations), of_(static_cast<size_t>(antennas)), phases_(of_.size()), isReached_(of_.size()) {
    std::vector<double> strength(of_.size());
    for (size_t i = 0; i < equations.size(); ++i) {
      for (const int antenna : {equations[i].first, equations[i].second}) {
        of_[static_cast<size_t>(antenna)].push_back(i);
        strength[static_cast<size_t>(antenna)] += equations[i].weight;
      }
    }
    std::vector<size_t> order(of_.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return strength[a] > strength[b]; });
    for (const size_t root : order) {
      if (!isReached_[root] && !of_[root].empty()) Grow(root);
    }
  }

  // Those that are not the root of a group, in the order in which they were reached.
  const std::vector<int>& leaves() const { return leaves_; }
  double Left(const PhaseEquation& e) const {
    return Wrapped(e.phase - phases_[static_cast<size_t>(e.first)] + phases_[static_cast<size_t>(e.second)]);
  }

 private:
  void Grow(size_t root) {
    isReached_[root] = true;
    std::deque<size_t> next = {root};
    for (; !next.empty(); next.pop_front()) {
      const size_t from = next.front();
      for (const size_t i : of_[from]) {
        const PhaseEquation& e = equations_[i];
        const bool isForward = static_cast<size_t>(e.first) == from;
        const auto to = static_cast<size_t>(isForward ? e.second : e.first);
        if (isReached_[to]) continue;
        isReached_[to] = true;
        phases_[to] = phases_[from] + (isForward ? -e.phase : e.phase);
        leaves_.push_back(static_cast<int>(to));
        next.push_back(to);
      }
    }
  }

  const std::vector<PhaseEquation>& equations_;
  std::vector<std::vector<size_t>> of_;  // equations of each antenna
  std::vector<double> phases_;
  std::vector<bool> isReached_;
  std::vector<int> leaves_;
};

// Solves the positive definite system a x = b in place of b, by Cholesky's factors.
void SolveDefinite(std::vector<double>& a, std::vector<double>& b) {
  const size_t n = b.size();
  for (size_t j = 0; j < n; ++j) {
    for (size_t k = 0; k < j; ++k) {
      for (size_t i = j; i < n; ++i) a[i * n + j] -= a[i * n + k] * a[j * n + k];
    }
    const double root = std::sqrt(a[j * n + j]);
    for (size_t i = j; i < n; ++i) a[i * n + j] /= root;
  }
  for (size_t i = 0; i < n; ++i) {
    for (size_t k = 0; k < i; ++k) b[i] -= a[i * n + k] * b[k];
    b[i] /= a[i * n + i];
  }
  for (size_t i = n; i-- > 0;) {
    for (size_t k = i + 1; k < n; ++k) b[i] -= a[k * n + i] * b[k];
    b[i] /= a[i * n + i];
  }
}

}  // namespace

void AddClosures(const std::vector<BaselineProducts>& baselines, int antennas, ClosureFit& fit) {
  std::vector<PhaseEquation> equations;
  for (const BaselineProducts& baseline : baselines) {
    const double square = std::norm(baseline.product) / baseline.model;
    if (!(square > kLeastSignal * kLeastSignal) || !std::isfinite(square)) continue;
    equations.push_back({baseline.first, baseline.second, std::arg(baseline.product), square});
  }
  const PhaseTree tree(equations, antennas);
  const size_t unknowns = tree.leaves().size();
  std::vector<int> columns(static_cast<size_t>(antennas), -1);  // -1: the root of a group, whose phase stays
  for (size_t i = 0; i < unknowns; ++i) columns[static_cast<size_t>(tree.leaves()[i])] = static_cast<int>(i);
  std::vector<double> normal(unknowns * unknowns), phases(unknowns);
  for (const PhaseEquation& e : equations) {
    const int p = columns[static_cast<size_t>(e.first)], q = columns[static_cast<size_t>(e.second)];
    const auto at = [&](int i, int j) -> double& {
      return normal[static_cast<size_t>(i) * unknowns + static_cast<size_t>(j)];
    };
    const double left = e.weight * tree.Left(e);
    if (p >= 0) at(p, p) += e.weight, phases[static_cast<size_t>(p)] += left;
    if (q >= 0) at(q, q) += e.weight, phases[static_cast<size_t>(q)] -= left;
    if (p >= 0 && q >= 0) at(p, q) -= e.weight, at(q, p) -= e.weight;
  }
  SolveDefinite(normal, phases);
  const auto phaseOf = [&](int antenna) {
    const int column = columns[static_cast<size_t>(antenna)];
    return column < 0 ? 0 : phases[static_cast<size_t>(column)];
  };
  for (const PhaseEquation& e : equations) {
    const double left = tree.Left(e) - phaseOf(e.first) + phaseOf(e.second);
    fit.chi2 += e.weight * left * left;
  }
  fit.closures += static_cast<int64>(equations.size() - unknowns);
}

AResult FitClosures(AUVXInput& from, const IntervalOptions& options, const ComponentModel& components,
                    ClosureFit& fit) {
  fit = {};
  ProductWalk walk(from, options);
  VisibilityModel model(from);
  AResult result = walk.Open();
  if (result) result = model.Use(components);
  if (result) {
    result = walk.Run(model, [&fit](const ProductInterval& interval) {
      for (const std::vector<BaselineProducts>& group : interval.groups) {
        AddClosures(group, static_cast<int>(interval.antennas.size()), fit);
      }
    });
  }
  return from.Settle(result);
}

}  // namespace zeltra

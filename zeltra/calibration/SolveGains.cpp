// SPDX-License-Identifier: MIT
#include "zeltra/calibration/SolveGains.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "zeltra/calibration/FindGains.h"
#include "zeltra/calibration/ProductWalkInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"

namespace zeltra {
namespace {

using Complex = std::complex<double>;

// Minimum length of an interval, seconds, so that the times of its records lie within it despite rounding.
constexpr double kShortest = 0.01;
constexpr std::string_view kGainEnding = ".gain";

// The sums from which chi^2 of one hand and IF is computed.
struct ChiSums {
  double data = 0, product = 0, model = 0;  // with the gains
  double rawProduct = 0, rawModel = 0;      // without
  int64 count = 0;

  double Before() const { return data - 2 * rawProduct + rawModel; }
  double After() const { return data - 2 * product + model; }
};

class Solver {
 public:
  Solver(AUVXInput& from, const SolveOptions& options, AGains& gains, SolveReport& report)
      : from_(from),
        contents_(from.contents()),
        options_(options),
        model_(from),
        header_(gains.header),
        gains_(gains.list),
        report_(report) {}

  AResult Run();

 private:
  // Gains of one interval are adjacent in the list.
  struct Span {
    int first, end;
  };

  AResult FindReferences();
  AResult OpenModel();
  void SolveInterval(const ProductInterval& interval);
  std::vector<SolvedGain> SolveGroup(size_t group, const std::vector<BaselineProducts>& baselines,
                                     const std::vector<int>& antennas);
  void Keep(const ProductInterval::Head& head, size_t group, const std::vector<int>& antennas,
            const std::vector<SolvedGain>& solved);
  void AddChi(size_t group, const std::vector<BaselineProducts>& baselines, const std::vector<SolvedGain>& solved);
  std::vector<int> ReferenceOrder() const;
  const AGainArrayItem* FindReference(int first, int end, const std::vector<int>& order, int current) const;
  void Refer();
  void Normalize();
  void Report();
  size_t SharedGroup(size_t group) const;
  bool isNormalized() const;
  GainSolver::Options SolverOptions() const;

  AUVXInput& from_;
  const AUVXContents& contents_;
  const SolveOptions options_;
  VisibilityModel model_;
  ProductValues values_;
  std::vector<int> references_;
  std::vector<std::map<int, SolvedGain>> last_;  // of each group, by antenna
  std::vector<ChiSums> chi_;                     // of each group
  std::vector<Span> spans_;
  int64 visibilities_ = 0;  // that are valid
  bool hasModel_ = false;   // for any of them
  AGainFileHdr& header_;
  AGainArray& gains_;
  SolveReport& report_;
};

AResult Solver::Run() {
  gains_.Free();
  report_ = {};
  ProductWalk walk(from_, options_);
  if (AResult result = walk.Open(); !result) return result;
  values_ = walk.values();
  if (AResult result = FindReferences(); !result) return result;
  if (AResult result = OpenModel(); !result) return result;
  last_.resize(values_.groups());
  chi_.resize(values_.groups());
  SendProgressText(options_.progress, "Solving for gains...");
  AResult result = walk.Run(model_, [this](const ProductInterval& interval) { SolveInterval(interval); });
  if (!result) return result;
  if (visibilities_ == 0) {
    return AResult::Fail(from_.path() + ": has no valid visibility of two antennas" +
                         (model_.isFile() ? " that the model has too" : "") + ", so there are no gains to solve for");
  }
  if (!hasModel_) return AResult::Fail(options_.model + ": the model is 0, or not finite, for all visibilities");
  header_.mode = options_.mode == GainMode::Phase ? 0 : 1;
  header_.normalised = isNormalized() ? 1 : 0;
  Refer();
  Normalize();
  Report();
  gains_.Sort();
  return AResult::Ok();
}

AResult Solver::OpenModel() {
  return options_.components.components().empty() ? model_.Open(options_.model, options_)
                                                  : model_.Use(options_.components);
}

AResult Solver::FindReferences() {
  for (const std::string& word : options_.references) {
    int number;
    if (AResult result = contents_.FindAntenna(word, number); !result) return result;
    references_.push_back(number);
  }
  return AResult::Ok();
}

GainSolver::Options Solver::SolverOptions() const {
  const int least = options_.mode == GainMode::Phase ? 3 : 4;
  return {options_.mode, options_.minAntennas > 0 ? options_.minAntennas : least, options_.snr, options_.robust};
}

// The group whose gains this one uses: its own, or the first of those that are solved together.
size_t Solver::SharedGroup(size_t group) const {
  const size_t hands = values_.hands.size();
  return (options_.IFsTogether ? 0 : group / hands * hands) + (options_.handsTogether ? 0 : group % hands);
}

void Solver::SolveInterval(const ProductInterval& interval) {
  const size_t groups = values_.groups();
  std::vector<std::vector<BaselineProducts>> shared(groups);
  for (size_t group = 0; group < groups; ++group) {
    std::vector<BaselineProducts>& sums = shared[SharedGroup(group)];
    if (sums.empty()) {
      sums = interval.groups[group];
    } else {
      for (size_t i = 0; i < sums.size(); ++i) sums[i] += interval.groups[group][i];
    }
  }
  spans_.push_back({gains_.count(), 0});
  std::vector<std::vector<SolvedGain>> solved(groups);
  for (size_t group = 0; group < groups; ++group) {
    const size_t from = SharedGroup(group);
    solved[group] = from == group ? SolveGroup(group, shared[group], interval.antennas) : solved[from];
    AddChi(group, interval.groups[group], solved[group]);
    Keep(interval.head, group, interval.antennas, solved[group]);
  }
  spans_.back().end = gains_.count();
  ++report_.intervals;
}

std::vector<SolvedGain> Solver::SolveGroup(size_t group, const std::vector<BaselineProducts>& baselines,
                                           const std::vector<int>& antennas) {
  std::vector<SolvedGain> start;
  for (const int antenna : antennas) start.push_back(last_[group][antenna]);
  std::vector<SolvedGain> solved =
      GainSolver(static_cast<int>(antennas.size()), SolverOptions()).Solve(baselines, start);
  for (size_t i = 0; i < antennas.size(); ++i) {
    if (solved[i].fault == GainFault::None) last_[group][antennas[i]] = solved[i];
  }
  return solved;
}

void Solver::Keep(const ProductInterval::Head& head, size_t group, const std::vector<int>& antennas,
                  const std::vector<SolvedGain>& solved) {
  const size_t hands = values_.hands.size();
  for (size_t i = 0; i < antennas.size(); ++i) {
    AGainArrayItem item;
    item.time = head.begin + (head.end - head.begin) / 2;
    item.interval =
        static_cast<float>(std::max<double>((head.end - head.begin) * kSecondsPerDay + kShortest, head.integration));
    item.source = static_cast<int16_t>(head.source);
    item.setup = static_cast<int8_t>(head.setup);
    item.subarray = static_cast<int16_t>(head.subarray);
    item.antenna = static_cast<uint8_t>(antennas[i]);
    item.ifIndex = static_cast<int16_t>(values_.IFs[group / hands]);
    item.hand = static_cast<int8_t>(HandOf(contents_.header().stokes(values_.hands[group % hands])));
    const bool isGood = solved[i].fault == GainFault::None;
    item.weight = isGood ? static_cast<float>(solved[i].snr) : 0;
    if (isGood) item.SetGain(solved[i].gain);
    gains_.Append(item);
    ++report_.antennas[antennas[i]][solved[i].fault];
  }
}

void Solver::AddChi(size_t group, const std::vector<BaselineProducts>& baselines,
                    const std::vector<SolvedGain>& solved) {
  ChiSums& chi = chi_[group];
  for (const BaselineProducts& baseline : baselines) {
    visibilities_ += baseline.count;
    hasModel_ |= baseline.model > 0 && std::isfinite(baseline.model);
    const SolvedGain &a = solved[baseline.first], &b = solved[baseline.second];
    if (a.fault != GainFault::None || b.fault != GainFault::None) {
      report_.unsolved += baseline.count;
      continue;
    }
    const Complex gain = a.gain * std::conj(b.gain);
    chi.data += baseline.data;
    chi.rawProduct += baseline.product.real();
    chi.rawModel += baseline.model;
    chi.product += (std::conj(gain) * baseline.product).real();
    chi.model += std::norm(gain) * baseline.model;
    chi.count += baseline.count;
  }
}

// The antennas that were named, then the others, those with the most gains first.
std::vector<int> Solver::ReferenceOrder() const {
  std::vector<std::pair<int64, int>> others;
  for (const auto& [antenna, counts] : report_.antennas) {
    const auto good = counts.find(GainFault::None);
    if (std::find(references_.begin(), references_.end(), antenna) != references_.end()) continue;
    others.emplace_back(good == counts.end() ? 0 : -good->second, antenna);
  }
  std::sort(others.begin(), others.end());
  std::vector<int> order = references_;
  for (const auto& [count, antenna] : others) order.push_back(antenna);
  return order;
}

// The antenna that comes first in the order, if it has a gain among those from `first` to `end`; else the current
// reference, so that phases continue without a step; else the next one.
const AGainArrayItem* Solver::FindReference(int first, int end, const std::vector<int>& order, int current) const {
  const auto find = [&](int antenna) {
    const AGainArrayItem *begin = gains_.lpArray() + first, *last = gains_.lpArray() + end;
    const AGainArrayItem* found = std::find_if(
        begin, last, [&](const AGainArrayItem& item) { return item.antenna == antenna && item.isValid(); });
    return found == last ? nullptr : found;
  };
  std::vector<int> wanted = order;
  wanted.insert(wanted.begin() + (wanted.empty() ? 0 : 1), current);
  for (const int antenna : wanted) {
    if (const AGainArrayItem* found = find(antenna)) return found;
  }
  return nullptr;
}

// Rotate the phases of each interval, hand and IF so that the reference antenna's is 0, or its last value if that
// antenna is not the first in the order.
void Solver::Refer() {
  const std::vector<int> order = ReferenceOrder();
  std::map<AGainKey, double> phases;              // the last one of each antenna, IF and hand
  std::map<std::pair<int, int>, int> references;  // of each IF and hand
  for (const Span& span : spans_) {
    for (int first = span.first, end; first < span.end; first = end) {
      const auto isOther = [&](const AGainArrayItem& item) {
        return item.ifIndex != gains_(first).ifIndex || item.hand != gains_(first).hand;
      };
      end = static_cast<int>(std::find_if(gains_.lpArray() + first, gains_.lpArray() + span.end, isOther) -
                             gains_.lpArray());
      int& current = references[{int{gains_(first).ifIndex}, int{gains_(first).hand}}];
      const AGainArrayItem* reference = FindReference(first, end, order, current);
      if (!reference) continue;
      const uint8_t number = reference->antenna;
      current = number;
      const Complex turn = std::polar(1.0, phases[KeyOf(*reference)] - std::arg(reference->gain()));
      for (int i = first; i < end; ++i) {
        AGainArrayItem& item = gains_(i);
        item.reference = number;
        if (!item.isValid()) continue;
        if (options_.mode != GainMode::Amplitude) item.SetGain(turn * item.gain());
        phases[KeyOf(item)] = std::arg(item.gain());
      }
    }
  }
}

bool Solver::isNormalized() const {
  using Normalization = SolveOptions::Normalization;
  const bool hasAmplitudes = options_.mode != GainMode::Phase;
  return options_.normalization == Normalization::All ||
         (options_.normalization == Normalization::Auto && hasAmplitudes);
}

void Solver::Normalize() {
  std::map<std::pair<int, int>, std::pair<double, int64>> logarithms;  // of each IF and hand
  for (int i = 0; i < gains_.count(); ++i) {
    const AGainArrayItem& item = gains_(i);
    if (!item.isValid()) continue;
    auto& [sum, count] = logarithms[{int{item.ifIndex}, int{item.hand}}];
    sum += std::log(std::abs(item.gain()));
    ++count;
  }
  std::map<std::pair<int, int>, double> factors;
  for (const auto& [key, sum] : logarithms)
    factors[key] = isNormalized() ? std::exp(-sum.first / static_cast<double>(sum.second)) : 1;
  for (int i = 0; i < gains_.count(); ++i) {
    AGainArrayItem& item = gains_(i);
    if (item.isValid()) item.SetGain(factors[{int{item.ifIndex}, int{item.hand}}] * item.gain());
  }
  if (!isNormalized() || factors.empty()) return;
  const auto [least, most] = std::minmax_element(factors.begin(), factors.end(),
                                                 [](const auto& a, const auto& b) { return a.second < b.second; });
  std::string range = RoundedNumber(least->second, 4);
  if (least->second != most->second) range += " to " + RoundedNumber(most->second, 4);
  report_.remarks.push_back("gains are multiplied by " + range +
                            ", a factor for each hand and IF that makes the geometric mean of their moduli 1; chi^2 is "
                            "that of the gains before");
}

void Solver::Report() {
  for (const ChiSums& chi : chi_) {
    // For a perfect fit, rounding may make this negative.
    report_.chi2Before += std::max(chi.Before(), 0.0);
    report_.chi2After += std::max(chi.After(), 0.0);
    report_.visibilities += chi.count;
  }
  if (values_.hands.size() == 2 && options_.mode != GainMode::Amplitude) {
    report_.remarks.push_back(
        "the reference antenna has phase 0 in both hands, so the difference of their phases is lost");
  }
  if (report_.solved() == 0) report_.remarks.push_back("no gain could be found");
}

}  // namespace

int64 SolveReport::solved() const {
  int64 sum = 0;
  for (const auto& [antenna, counts] : antennas) {
    const auto found = counts.find(GainFault::None);
    if (found != counts.end()) sum += found->second;
  }
  return sum;
}

int64 SolveReport::failed() const {
  int64 sum = 0;
  for (const auto& [antenna, counts] : antennas) {
    for (const auto& [fault, count] : counts) sum += fault == GainFault::None ? 0 : count;
  }
  return sum;
}

std::string FaultText(GainFault fault) {
  switch (fault) {
    case GainFault::None:
      return "solved";
    case GainFault::NoData:
      return "no data";
    case GainFault::TooFewAntennas:
      return "too few antennas";
    case GainFault::NotConnected:
      return "not connected";
    case GainFault::Undetermined:
      return "amplitudes undetermined";
    case GainFault::LowSNR:
      return "low SNR";
    case GainFault::NotConverged:
      return "not converged";
  }
  return "";
}

AResult SolveGains(AUVXInput& from, const SolveOptions& options, AGains& gains, SolveReport& report) {
  if (AResult result = DescribeGains(from, gains); !result) return from.Settle(result);
  AResult result = Solver(from, options, gains, report).Run();
  return from.Settle(result);
}

AResult SolveGains(AUVXInput& from, const std::string& to, const SolveOptions& options, SolveReport& report) {
  AGains gains;
  if (AResult result = SolveGains(from, options, gains, report); !result) return result;
  const bool isGainFile =
      std::string_view(to).substr(to.size() - std::min(to.size(), kGainEnding.size())) == kGainEnding;
  return isGainFile ? StoreGains(to, gains, options)
                    : CopyWithGains(from, to, gains, options, SolveDescription().Command(options));
}

}  // namespace zeltra

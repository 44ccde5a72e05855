// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "zeltra/ops/ClosureTermsInternal.h"
#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {
namespace {

// The variance of a bispectrum depends on its baselines' amplitudes. Amplitudes with a signal-to-noise ratio below this
// are estimated from neighbouring values together.
constexpr double kLeastOwnSignal = 5;

// Antennas 1 to 4 of a quadrangle, as indices into its four in ascending order.
constexpr int kForms[3][4] = {{0, 1, 2, 3}, {0, 1, 3, 2}, {0, 2, 3, 1}};

double SumOf(double x) {
  return x;
}
ZELTRA_INLINE double SumOf(const Double2& x) {
  return x[0] + x[1];
}

}  // namespace

std::uint64_t ClosureTerm::Key(int value, int form, const int* antennas, int count) {
  std::uint64_t key = static_cast<std::uint64_t>(value) << 40 | static_cast<std::uint64_t>(form);
  for (int i = 0; i < count; ++i) key |= static_cast<std::uint64_t>(antennas[i] & 0xFF) << (32 - 8 * i);
  return key;
}

int ClosureTerm::Antenna(int place) const {
  return Corner(kForms[form()][place]);
}

void MergeTerms(ClosureTerms& terms, const ClosureTerms& more) {
  ClosureTerms merged;
  merged.reserve(terms.size() + more.size());
  size_t at = 0;
  for (const ClosureTerm& term : more) {
    while (at < terms.size() && terms[at].key < term.key) merged.push_back(terms[at++]);
    merged.push_back(term);
    if (at == terms.size() || terms[at].key != term.key) continue;
    ClosureTerm& sum = merged.back();
    const ClosureTerm& first = terms[at++];
    sum = {term.key, first.re + term.re, first.im + term.im, first.weight + term.weight};
  }
  merged.insert(merged.end(), terms.begin() + static_cast<std::ptrdiff_t>(at), terms.end());
  terms = std::move(merged);
}

ClosureFormer::ClosureFormer(const ClosureShape& shape, const IntervalSums& sums) : shape_(shape), sums_(sums) {
  ListAntennas();
  if (!shape_.amplitudes) {
    ListTriangles();
  } else if (antennas() <= kMostForQuadrangles) {
    ListQuadrangles();
  }
  const auto isBefore = [](const Polygon& a, const Polygon& b) { return a.key < b.key; };
  // In triangles, antennas from 128 up come before the others.
  if (!std::is_sorted(polygons_.begin(), polygons_.end(), isBefore)) {
    std::sort(polygons_.begin(), polygons_.end(), isBefore);
  }
  legs_.resize(places_.size());
}

void ClosureFormer::ListAntennas() {
  std::vector<int8_t>& list = antennas_;
  for (int place = 0; place < sums_.count(); ++place) {
    const BaselineSums& sums = sums_.Sums(place);
    if (sums.ant1 != sums.ant2) list.insert(list.end(), {sums.ant1, sums.ant2});
  }
  const auto isBefore = [this](int8_t a, int8_t b) {
    return shape_.amplitudes ? static_cast<uint8_t>(a) < static_cast<uint8_t>(b) : a < b;
  };
  std::sort(list.begin(), list.end(), isBefore);
  list.erase(std::unique(list.begin(), list.end()), list.end());
  legOf_.assign(list.size() * list.size(), -1);
  for (size_t a = 0; a < list.size(); ++a) {
    for (size_t b = a + 1; b < list.size(); ++b) {
      const int place = sums_.PlaceOf(std::min(list[a], list[b]), std::max(list[a], list[b]));
      if (place < 0) continue;
      legOf_[a * list.size() + b] = static_cast<int>(places_.size());
      places_.push_back(place);
    }
  }
}

// Whether a polygon of these antennas is selected.
bool ClosureFormer::IsWanted(const int* antennas, int count) const {
  const std::vector<int>& chosen = shape_.antennas;
  const auto isChosen = [&](int antenna) { return std::find(chosen.begin(), chosen.end(), antenna) != chosen.end(); };
  if (chosen.size() == 1) return std::any_of(antennas, antennas + count, isChosen);
  return chosen.empty() || std::all_of(antennas, antennas + count, isChosen);
}

void ClosureFormer::ListTriangles() {
  const size_t count = antennas_.size();
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = i + 1; j < count; ++j) {
      if (LegOf(i, j) < 0) continue;
      for (size_t k = j + 1; k < count; ++k) {
        if (LegOf(j, k) < 0 || LegOf(i, k) < 0) continue;
        int numbers[3] = {antennas_[i] & 0xFF, antennas_[j] & 0xFF, antennas_[k] & 0xFF};
        if (!IsWanted(numbers, 3)) continue;
        // Rotating a triangle does not change its phase.
        std::rotate(numbers, std::min_element(numbers, numbers + 3), numbers + 3);
        polygons_.push_back({ClosureTerm::Key(0, 0, numbers, 3), {LegOf(i, j), LegOf(j, k), LegOf(i, k), 0}});
      }
    }
  }
}

void ClosureFormer::ListQuadrangles() {
  const size_t count = antennas_.size();
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = i + 1; j < count; ++j) {
      for (size_t k = j + 1; k < count; ++k) {
        for (size_t l = k + 1; l < count; ++l) {
          const int numbers[4] = {antennas_[i] & 0xFF, antennas_[j] & 0xFF, antennas_[k] & 0xFF, antennas_[l] & 0xFF};
          if (!IsWanted(numbers, 4)) continue;
          const size_t places[4] = {i, j, k, l};
          for (int form = 0; form < 3; ++form) {
            const auto leg = [&](int a, int b) {
              return LegOf(std::min(places[kForms[form][a]], places[kForms[form][b]]),
                           std::max(places[kForms[form][a]], places[kForms[form][b]]));
            };
            const Polygon polygon = {ClosureTerm::Key(0, form, numbers, 4),
                                     {leg(0, 1), leg(2, 3), leg(0, 2), leg(1, 3)}};
            if (*std::min_element(polygon.legs, polygon.legs + 4) >= 0) polygons_.push_back(polygon);
          }
        }
      }
    }
  }
}

void ClosureFormer::LoadLegs(int first, int count) {
  for (size_t i = 0; i < legs_.size(); ++i) {
    const BaselineSums& sums = sums_.Sums(places_[i]);
    if (shape_.amplitudes) {
      LoadQuadrangleLeg(sums, first, count, legs_[i]);
    } else {
      LoadTriangleLeg(sums, first, count, legs_[i]);
    }
    Leg& leg = legs_[i];
    // Values are summed in pairs, so what follows the last one must add nothing.
    for (int k = count; k < kBlock; ++k) {
      leg.re[k] = leg.im[k] = leg.power[k] = leg.valid[k] = 0;
      leg.square[k] = leg.noise[k] = 1;
    }
  }
}

void ClosureFormer::LoadTriangleLeg(const BaselineSums& sums, int first, int count, Leg& leg) const {
  const int values = sums_.values();
  const double *re = sums.planes.data() + first, *im = re + values, *weights = im + values;
  double weightedSquares = 0, allWeights = 0;
  int valid = 0;
  for (int i = 0; i < count; ++i) {
    const bool isValid = weights[i] > 0;
    const double weight = isValid ? weights[i] : 1;
    leg.re[i] = isValid ? re[i] / weight : 0;
    leg.im[i] = isValid ? im[i] / weight : 0;
    const double square = leg.re[i] * leg.re[i] + leg.im[i] * leg.im[i];
    leg.noise[i] = 2 / weight;
    leg.power[i] = std::max(square - leg.noise[i], 0.0);
    leg.square[i] = leg.power[i] + leg.noise[i];
    leg.valid[i] = isValid ? 1 : 0;
    weightedSquares += isValid ? weight * square : 0;
    allWeights += isValid ? weight : 0;
    valid += isValid ? 1 : 0;
  }
  if (!shape_.each) Pool(leg, count, weightedSquares, allWeights, valid);
}

// Give all values of a weak baseline a common amplitude. The amplitude of a single value would be mostly its noise,
// which is in the bispectrum too: the weight would fall as the bispectrum grows.
void ClosureFormer::Pool(Leg& leg, int count, double weightedSquares, double weights, int valid) {
  const double signal = weightedSquares - 2.0 * valid;
  if (valid < 2 || signal >= kLeastOwnSignal * kLeastOwnSignal * valid) return;
  const double power = std::max(signal / weights, 0.0);
  for (int i = 0; i < count; ++i) {
    leg.power[i] = power;
    leg.square[i] = power + leg.noise[i];
  }
}

void ClosureFormer::LoadQuadrangleLeg(const BaselineSums& sums, int first, int count, Leg& leg) {
  const auto values = static_cast<std::ptrdiff_t>(sums.firsts.size());
  const double *re = sums.planes.data() + first, *im = re + values, *weights = im + values;
  for (int i = 0; i < count; ++i) {
    const bool isValid = weights[i] > 0;
    const double weight = isValid ? weights[i] : 1;
    const double square = isValid ? (re[i] * re[i] + im[i] * im[i]) / (weight * weight) : 0;
    const bool counts = square * weight > kLeastSignal * kLeastSignal;
    leg.re[i] = counts ? std::log(square) / 2 : 0;
    leg.noise[i] = counts ? 1 / (square * weight) : 1;
    leg.power[i] = counts ? 1 : 0;
    leg.valid[i] = isValid ? 1 : 0;
  }
}

// Add the values from `first` to `end` - 1 to the sums of a polygon.
template <typename Lanes>
void ClosureFormer::Add(const Polygon& polygon, int first, int end, ClosureTerm& term) {
  const Leg &a = legs_[static_cast<size_t>(polygon.legs[0])], &b = legs_[static_cast<size_t>(polygon.legs[1])],
            &c = legs_[static_cast<size_t>(polygon.legs[2])], &d = legs_[static_cast<size_t>(polygon.legs[3])];
  constexpr int kLanes = sizeof(Lanes) / sizeof(double);
  Lanes re = {}, im = {}, weight = {}, formed = {}, counted = {};
  for (int i = first; i < end; i += kLanes) {
    const auto in = [i](const double* plane) { return Load<Lanes>(plane + i); };
    if (shape_.amplitudes) {
      const Lanes counts = in(a.power) * in(b.power) * in(c.power) * in(d.power);
      const Lanes share = counts / (in(a.noise) + in(b.noise) + in(c.noise) + in(d.noise));
      re = re + share * (in(a.re) + in(b.re) - in(c.re) - in(d.re));
      weight = weight + share;
      formed = formed + in(a.valid) * in(b.valid) * in(c.valid) * in(d.valid);
      counted = counted + counts;
      continue;
    }
    const Lanes twoRe = in(a.re) * in(b.re) - in(a.im) * in(b.im), twoIm = in(a.re) * in(b.im) + in(a.im) * in(b.re);
    // Twice the variance, product(power + noise) - product(power), written as a sum of non-negative terms.
    const Lanes variance = in(a.noise) * (in(b.power) * in(c.power)) +
                           in(a.square) * (in(b.noise) * in(c.power) + in(b.square) * in(c.noise));
    const Lanes share = 2.0 * (in(a.valid) * in(b.valid) * in(c.valid)) / variance;
    re = re + share * (twoRe * in(c.re) + twoIm * in(c.im));
    im = im + share * (twoIm * in(c.re) - twoRe * in(c.im));
    weight = weight + share;
  }
  term.re += SumOf(re);
  term.im += SumOf(im);
  term.weight += SumOf(weight);
  counts_.formed += static_cast<int64>(SumOf(formed));
  counts_.weak += static_cast<int64>(SumOf(formed) - SumOf(counted));
}

void ClosureFormer::Form(int firstValue, const std::function<bool(ClosureTerms& terms)>& take) {
  if (polygons_.empty()) return;
  if (shape_.each) return FormEach(firstValue, take);
  ClosureTerms terms(polygons_.size());
  for (int first = 0; first < sums_.values(); first += kBlock) {
    const int count = std::min(kBlock, sums_.values() - first);
    LoadLegs(first, count);
    for (size_t i = 0; i < polygons_.size(); ++i) Add<Double2>(polygons_[i], 0, count, terms[i]);
  }
  for (size_t i = 0; i < polygons_.size(); ++i) terms[i].key = polygons_[i].key;
  std::erase_if(terms, [](const ClosureTerm& term) { return !(term.weight > 0); });
  take(terms);
}

void ClosureFormer::FormEach(int firstValue, const std::function<bool(ClosureTerms& terms)>& take) {
  for (int first = 0; first < sums_.values(); first += kBlock) {
    const int count = std::min(kBlock, sums_.values() - first);
    LoadLegs(first, count);
    for (int i = 0; i < count; ++i) {
      ClosureTerms terms;
      const std::uint64_t value = ClosureTerm::Key(firstValue + first + i, 0, nullptr, 0);
      for (const Polygon& polygon : polygons_) {
        ClosureTerm term;
        term.key = polygon.key | value;
        Add<double>(polygon, i, i + 1, term);
        if (term.weight > 0) terms.push_back(term);
      }
      if (!take(terms)) return;
    }
  }
}

}  // namespace zeltra

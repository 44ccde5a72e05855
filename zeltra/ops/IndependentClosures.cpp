// SPDX-License-Identifier: MIT
#include "zeltra/ops/IndependentClosuresInternal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <iterator>

namespace zeltra {
namespace {

struct Entry {
  int column;
  double sign;
};

// The row space in reduced echelon form: each row has a 1 in its own column, where all other rows have 0.
class RowSpace {
 public:
  explicit RowSpace(int columns) : rowOf_(static_cast<size_t>(columns), -1) {}

  // Add a row. @return whether it is independent of the earlier ones
  bool Raise(std::initializer_list<Entry> entries) {
    std::vector<double> row(rowOf_.size());
    for (const Entry& entry : entries) row[static_cast<size_t>(entry.column)] += entry.sign;
    for (const Entry& entry : entries) {
      const int place = rowOf_[static_cast<size_t>(entry.column)];
      if (place >= 0) Subtract(rows_[static_cast<size_t>(place)], entry.sign, row);
    }
    const auto isSmaller = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    const auto own = static_cast<size_t>(std::max_element(row.begin(), row.end(), isSmaller) - row.begin());
    // Entries are ratios of small integers.
    if (std::fabs(row[own]) < 1e-6) return false;
    const double scale = row[own];
    for (double& x : row) x /= scale;
    for (std::vector<double>& other : rows_) {
      if (other[own] != 0) Subtract(row, double{other[own]}, other);
    }
    rowOf_[own] = static_cast<int>(rows_.size());
    rows_.push_back(std::move(row));
    return true;
  }

 private:
  static void Subtract(const std::vector<double>& row, double factor, std::vector<double>& from) {
    for (size_t i = 0; i < row.size(); ++i) from[i] -= factor * row[i];
  }

  std::vector<std::vector<double>> rows_;
  std::vector<int> rowOf_;  // by its own column; -1: none
};

// The antennas that occur in some terms, numbered from 0.
class TermAntennas {
 public:
  TermAntennas(const ClosureTerms& terms, int corners) {
    std::array<bool, 256> isThere = {};
    for (const ClosureTerm& term : terms) {
      for (int i = 0; i < corners; ++i) isThere[static_cast<size_t>(term.Antenna(i))] = true;
    }
    for (size_t i = 0; i < isThere.size(); ++i) places_[i] = isThere[i] ? count_++ : -1;
  }

  int count() const { return count_; }
  int PlaceOf(int antenna) const { return places_[static_cast<size_t>(antenna)]; }
  int baselines() const { return count_ * (count_ - 1) / 2; }
  // A number for the baseline between two antennas.
  int Baseline(int a, int b) const {
    const int i = std::min(PlaceOf(a), PlaceOf(b)), j = std::max(PlaceOf(a), PlaceOf(b));
    return j * (j - 1) / 2 + i;
  }

 private:
  int count_ = 0;
  std::array<int, 256> places_;
};

double SignalOf(const ClosureTerm& term) {
  return std::hypot(term.re, term.im) / std::sqrt(term.weight);
}

bool IsThrough(const ClosureTerm& term, int antenna) {
  return term.Antenna(0) == antenna || term.Antenna(1) == antenna || term.Antenna(2) == antenna;
}

int MostSensitive(const ClosureTerms& terms) {
  std::array<double, 256> signals = {};
  for (const ClosureTerm& term : terms) {
    for (int i = 0; i < 3; ++i) signals[static_cast<size_t>(term.Antenna(i))] += SignalOf(term);
  }
  return static_cast<int>(std::max_element(signals.begin(), signals.end()) - signals.begin());
}

bool Contains(const ClosureTerms& terms, int value, std::array<int, 3> antennas) {
  std::sort(antennas.begin(), antennas.end());
  const std::uint64_t key = ClosureTerm::Key(value, 0, antennas.data(), 3);
  const auto isBefore = [](const ClosureTerm& term, std::uint64_t wanted) { return term.key < wanted; };
  const auto found = std::lower_bound(terms.begin(), terms.end(), key, isBefore);
  return found != terms.end() && found->key == key;
}

// Whether a triangle is the sum of three that contain `antenna` and are all present.
bool IsSum(const ClosureTerms& terms, const ClosureTerm& term, int antenna) {
  const int a = term.Antenna(0), b = term.Antenna(1), c = term.Antenna(2), value = term.value();
  return Contains(terms, value, {antenna, a, b}) && Contains(terms, value, {antenna, b, c}) &&
         Contains(terms, value, {antenna, a, c});
}

void SortByKey(ClosureTerms& terms) {
  std::sort(terms.begin(), terms.end(), [](const ClosureTerm& a, const ClosureTerm& b) { return a.key < b.key; });
}

void SortByStrength(ClosureTerms& terms, double (*strength)(const ClosureTerm&)) {
  std::stable_sort(terms.begin(), terms.end(),
                   [strength](const ClosureTerm& a, const ClosureTerm& b) { return strength(a) > strength(b); });
}

// Whether a quadrangle of a complete set is one of those on the circle. Of its antennas a, b, c, d, in ascending order,
// two pairs are then neighbours and not baselines of it: a, b and c, d, or a, d and b, c where the circle closes.
bool IsOnCircle(const ClosureTerm& term, const TermAntennas& antennas) {
  const int a = antennas.PlaceOf(term.Corner(0)), b = antennas.PlaceOf(term.Corner(1)),
            c = antennas.PlaceOf(term.Corner(2)), d = antennas.PlaceOf(term.Corner(3));
  if (term.form() == 2) return b == a + 1 && d == c + 1;
  return term.form() == 0 && c == b + 1 && a == 0 && d == antennas.count() - 1;
}

}  // namespace

bool KeepIndependentTriangles(ClosureTerms& terms) {
  if (terms.empty()) return true;
  const int antenna = MostSensitive(terms);
  ClosureTerms kept, others;
  for (const ClosureTerm& term : terms) {
    if (IsThrough(term, antenna)) {
      kept.push_back(term);
    } else if (!IsSum(terms, term, antenna)) {
      others.push_back(term);
    }
  }
  if (!others.empty()) {
    const TermAntennas antennas(terms, 3);
    if (antennas.count() > kMostForBasis) return false;
    SortByStrength(others, SignalOf);
    RowSpace space(antennas.baselines());
    const auto raises = [&](const ClosureTerm& term) {
      const int a = term.Antenna(0), b = term.Antenna(1), c = term.Antenna(2);
      return space.Raise({{antennas.Baseline(a, b), 1}, {antennas.Baseline(b, c), 1}, {antennas.Baseline(a, c), -1}});
    };
    for (const ClosureTerm& term : kept) raises(term);
    std::copy_if(others.begin(), others.end(), std::back_inserter(kept), raises);
  }
  SortByKey(kept);
  terms = std::move(kept);
  return true;
}

void KeepIndependentQuadrangles(ClosureTerms& terms) {
  const TermAntennas antennas(terms, 4);
  const int64 n = antennas.count();
  ClosureTerms kept;
  if (static_cast<int64>(terms.size()) == n * (n - 1) * (n - 2) * (n - 3) / 8) {
    const auto isOnCircle = [&](const ClosureTerm& term) { return IsOnCircle(term, antennas); };
    std::copy_if(terms.begin(), terms.end(), std::back_inserter(kept), isOnCircle);
  } else {
    // The weight is the inverse of the variance.
    SortByStrength(terms, [](const ClosureTerm& term) { return term.weight; });
    RowSpace space(antennas.baselines());
    const auto raises = [&](const ClosureTerm& term) {
      const auto baseline = [&](int i, int j) { return antennas.Baseline(term.Antenna(i), term.Antenna(j)); };
      return space.Raise({{baseline(0, 1), 1}, {baseline(2, 3), 1}, {baseline(0, 2), -1}, {baseline(1, 3), -1}});
    };
    std::copy_if(terms.begin(), terms.end(), std::back_inserter(kept), raises);
    SortByKey(kept);
  }
  terms = std::move(kept);
}

}  // namespace zeltra

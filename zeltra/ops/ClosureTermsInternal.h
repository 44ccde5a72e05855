// Bispectra and amplitude ratios from the sums of an interval.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CLOSURETERMSINTERNAL_H_
#define ZELTRA_OPS_CLOSURETERMSINTERNAL_H_

#include <cstdint>
#include <functional>
#include <vector>

#include "zeltra/ops/IntervalSumsInternal.h"

namespace zeltra {

/// The sum for a triangle or a quadrangle of antennas: sum b B with B = V12 V23 conj(V13) and b the inverse of its
/// variance; or sum b log(|V12| |V34| / (|V13| |V24|)), a real number.
struct ClosureTerm {
  std::uint64_t key = 0;
  double re = 0, im = 0;
  double weight = 0;  ///< sum b

  /// The key, which orders terms by value, then antennas, then by the three forms of a quadrangle.
  /// @param antennas  0 to 255, those of a quadrangle ascending
  static std::uint64_t Key(int value, int form, const int* antennas, int count);
  int value() const { return static_cast<int>(key >> 40); }
  int form() const { return static_cast<int>(key & 0xFF); }
  /// The antenna at `place` in ascending order.
  int Corner(int place) const { return static_cast<int>(key >> (32 - 8 * place) & 0xFF); }
  /// Antenna 1 to 3 of a triangle, or 1 to 4 of a quadrangle in its form, numbered from 0.
  int Antenna(int place) const;
};
using ClosureTerms = std::vector<ClosureTerm>;

/// Merge `more` into `terms`, adding those of one key; both are in ascending order of key.
void MergeTerms(ClosureTerms& terms, const ClosureTerms& more);

/// Which terms are formed.
struct ClosureShape {
  bool amplitudes = false;
  bool each = false;          ///< one term for each value, otherwise one for all together
  std::vector<int> antennas;  ///< empty: all; one: closures that contain it; several: those among them
};

/// Counts of amplitude ratios before they are added up.
struct RatioCounts {
  int64 formed = 0;
  int64 weak = 0;  ///< left out since a baseline is not above kLeastSignal
};

/// Forms the terms for the sums of one interval or time stamp.
class ClosureFormer {
 public:
  /// Every baseline of a closure amplitude must exceed this |V| / sigma.
  static constexpr double kLeastSignal = 3;
  /// Most antennas for which quadrangles are formed.
  static constexpr int kMostForQuadrangles = 64;

  /// @param shape, sums  must outlive the object
  ClosureFormer(const ClosureShape& shape, const IntervalSums& sums);

  int antennas() const { return static_cast<int>(antennas_.size()); }
  /// Form all terms and pass them to `take` in batches, those of one value or all. Keys ascend.
  /// @param firstValue  index in a record of the first value of the sums
  /// @param take        returns false to stop
  void Form(int firstValue, const std::function<bool(ClosureTerms& terms)>& take);
  const RatioCounts& counts() const { return counts_; }

 private:
  // Values of a block, with one array for each quantity of a baseline.
  static constexpr int kBlock = 64;
  struct Leg {
    // Triangles, for a valid visibility V whose real and imaginary parts each have the variance v: square = |V|^2,
    // power = |V|^2 - 2 v, noise = 2 v; power is at least 0, square at least power + noise.
    // Quadrangles: re = log |V|, noise = its variance, power is 1 if the value counts.
    double re[kBlock], im[kBlock], square[kBlock], power[kBlock], noise[kBlock];
    double valid[kBlock];  // 1 or 0
  };
  struct Polygon {
    std::uint64_t key;
    int legs[4];
  };

  void ListAntennas();
  void ListTriangles();
  void ListQuadrangles();
  bool IsWanted(const int* places, int count) const;
  int LegOf(size_t a, size_t b) const { return legOf_[a * antennas_.size() + b]; }
  void LoadLegs(int first, int count);
  void LoadTriangleLeg(const BaselineSums& sums, int first, int count, Leg& leg) const;
  static void LoadQuadrangleLeg(const BaselineSums& sums, int first, int count, Leg& leg);
  static void Pool(Leg& leg, int count, double weighted, double weights, int valid);
  template <typename Lanes>
  void Add(const Polygon& polygon, int first, int end, ClosureTerm& term);
  void FormEach(int firstValue, const std::function<bool(ClosureTerms& terms)>& take);

  const ClosureShape& shape_;
  const IntervalSums& sums_;
  std::vector<int8_t> antennas_;  // triangles: ascending as signed bytes, as baselines are; otherwise as unsigned ones
  std::vector<int> legOf_;        // by places in antennas_; -1: none
  std::vector<int> places_;       // places of the legs in sums_
  std::vector<Polygon> polygons_;
  std::vector<Leg> legs_;
  RatioCounts counts_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSURETERMSINTERNAL_H_

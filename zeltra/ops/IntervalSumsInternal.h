// The sums of one time interval.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALSUMSINTERNAL_H_
#define ZELTRA_OPS_INTERVALSUMSINTERNAL_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "zeltra/analysis/AUVXTimeMeanArray.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// How records are averaged.
struct MeanForm {
  int values = 0;           ///< of each record
  bool complexMean = true;  ///< real and imaginary parts, or amplitudes and unwrapped phases
  bool weighted = true;     ///< sum w v / sum w with weight sum w; or the plain mean with the mean weight

  /// Number of planes of sums.
  int planes() const { return weighted ? 3 : 4; }
};

/// The sums of one baseline for each value.
struct BaselineSums {
  // The plain mean has one plane more, since its shares are counts, not weights.
  enum Plane { Real, Imaginary, Share, Weight };

  std::vector<double> planes;       // [plane][value]
  std::vector<AUVXComplex> firsts;  // the values of the first record
  std::vector<APhJustify> phases;   // for the mean of amplitudes and phases

  // Weighted and plain sums of u, v, w over the records where they are finite.
  int8_t ant1 = 0, ant2 = 0;
  double weight = 0, count = 0;
  double weighted[3] = {}, plain[3] = {};
};

/// The memory for sums, shared by the intervals of one thread.
class SumPool {
 public:
  /// @param bytes  limit for all sums in use; a single baseline always fits
  SumPool(const MeanForm& form, int64 bytes);

  /// Bytes that a baseline takes.
  static int64 BaselineBytes(const MeanForm& form);

  const MeanForm& form() const { return form_; }
  /// How many baselines fit, at least 1.
  int64 most() const { return most_; }
  bool HasRoom() const { return inUse_ < most_; }
  /// Sums set to 0, to be given back with Return.
  std::unique_ptr<BaselineSums> Borrow();
  void Return(std::unique_ptr<BaselineSums> sums);

 private:
  const MeanForm form_;
  const int64 most_;
  int64 inUse_ = 0;
  std::vector<std::unique_ptr<BaselineSums>> free_;
};

/// Adds up records baseline by baseline.
///
/// A value counts if its weight is above 0 and all three of its numbers are finite. Sums are in double precision, in
/// which the product of two 32-bit floats is exact. The planes of a baseline are adjacent and are found by a table
/// indexed by antennas: adding a record needs no search, and allocates memory only for a new baseline.
class IntervalSums {
 public:
  /// @param pool  must outlive the object
  explicit IntervalSums(SumPool& pool);

  /// Forget all baselines.
  void Clear();
  /// Place of a baseline, -1 if it has no records.
  int PlaceOf(int8_t ant1, int8_t ant2) const { return places_[KeyOf(ant1, ant2)]; }
  /// Whether a record belongs to a baseline that would need new memory.
  bool IsNew(const AUVXGroup& group) const { return places_[KeyOf(group)] < 0; }
  /// Add a record.
  /// @param values  `values` complexes, at any address
  /// @param weight  of the record, for its u, v, w
  void Add(const AUVXGroup& group, const char* values, double weight);

  int count() const { return static_cast<int>(baselines_.size()); }
  /// Values of a baseline.
  int values() const { return pool_.form().values; }
  /// Set the elements KeyOf of all baselines present.
  void MarkPresent(std::vector<bool>& present) const;
  /// The baselines in the order of fnBLItemCompare: antennas ascend as signed bytes.
  /// @return their places
  const std::vector<int>& InOrder();
  /// The antennas and sums of the baseline at a place.
  const BaselineSums& Sums(int place) const { return *baselines_[static_cast<size_t>(place)]; }
  /// The mean of the baseline at a place.
  /// @param group   receives the antennas and the mean u, v, w; the rest is unchanged
  /// @param values  receives as many complexes as a record has values. Where no value counted, it is that of the
  ///                baseline's first record with its weight, or 0 if that is not finite
  void Mean(int place, AUVXGroup& group, AUVXComplex* values) const;

  static constexpr size_t kKeys = 1 << 16;
  /// Index of a baseline in tables of kKeys: its antennas as two bytes.
  static size_t KeyOf(int8_t ant1, int8_t ant2) {
    return static_cast<size_t>(static_cast<uint8_t>(ant1)) << 8 | static_cast<uint8_t>(ant2);
  }
  static size_t KeyOf(const AUVXGroup& group) { return KeyOf(group.ant1, group.ant2); }

 private:
  BaselineSums& NewBaseline(const AUVXGroup& group, const char* values);

  SumPool& pool_;
  std::vector<int32_t> places_;  // by KeyOf; -1 for none
  std::vector<std::unique_ptr<BaselineSums>> baselines_;
  std::vector<int> order_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALSUMSINTERNAL_H_

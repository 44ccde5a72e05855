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
  bool weighted = true;     ///< sum w v / sum w with the weight sum w; or the plain mean with the mean weight

  /// Planes of sums.
  int planes() const { return weighted ? 3 : 4; }
};

/// The sums of one baseline, value by value.
struct BaselineSums {
  // Planes. The plain mean has one more, since its shares are counts and not weights.
  enum Plane { Real, Imaginary, Share, Weight };

  std::vector<double> planes;       // [plane][value]
  std::vector<AUVXComplex> firsts;  // of the first record
  std::vector<APhJustify> phases;   // in the mean of amplitudes and phases

  // Sums of u, v, w of the records where they are finite, with weights and without.
  int8_t ant1 = 0, ant2 = 0;
  double weight = 0, count = 0;
  double weighted[3] = {}, plain[3] = {};
};

/// The memory for sums that the intervals of one thread share.
class SumPool {
 public:
  /// @param bytes  what all sums in use may take together; a single baseline fits always
  SumPool(const MeanForm& form, int64 bytes);

  /// Bytes that a baseline takes.
  static int64 BaselineBytes(const MeanForm& form);

  const MeanForm& form() const { return form_; }
  /// Baselines that fit, at least 1.
  int64 most() const { return most_; }
  bool HasRoom() const { return inUse_ < most_; }
  /// Sums that are 0.
  std::unique_ptr<BaselineSums> Take();
  void Return(std::unique_ptr<BaselineSums> sums);

 private:
  const MeanForm form_;
  const int64 most_;
  int64 inUse_ = 0;
  std::vector<std::unique_ptr<BaselineSums>> free_;
};

/// Adds up records baseline by baseline.
///
/// A value counts where its weight is above 0 and all three of its numbers are finite. Sums are in double precision, in
/// which the product of two 32-bit floats is exact. The sums of each baseline lie in planes side by side, found by a
/// table from the antennas: adding a record needs neither a search nor memory, unless the baseline is new.
class IntervalSums {
 public:
  /// @param pool  must outlive the object
  explicit IntervalSums(SumPool& pool);

  /// Forget all baselines.
  void Clear();
  /// Place of a baseline, -1 if it has no record.
  int PlaceOf(int8_t ant1, int8_t ant2) const { return places_[KeyOf(ant1, ant2)]; }
  /// Whether a record of this baseline needs memory for a new one.
  bool IsNew(const AUVXGroup& group) const { return places_[KeyOf(group)] < 0; }
  /// Add a record.
  /// @param values  `values` complexes, at any address
  /// @param weight  of the record: that of its u, v, w
  void Add(const AUVXGroup& group, const char* values, double weight);

  int count() const { return static_cast<int>(baselines_.size()); }
  /// Values of a baseline.
  int values() const { return pool_.form().values; }
  /// Mark the places of KeyOf that baselines have.
  void MarkPresent(std::vector<bool>& present) const;
  /// The baselines in the order of fnBLItemCompare: antennas ascend as signed bytes.
  /// @return their places
  const std::vector<int>& InOrder();
  /// The sums of the baseline at a place, its antennas and its planes of sums.
  const BaselineSums& Sums(int place) const { return *baselines_[static_cast<size_t>(place)]; }
  /// The mean of the baseline at a place.
  /// @param group   receives the antennas and the mean u, v, w; the rest stays
  /// @param values  receives as many complexes as a record has values. One without a value that counts is the first of
  ///                the baseline with its weight, 0 where that is not finite
  void Mean(int place, AUVXGroup& group, AUVXComplex* values) const;

  static constexpr size_t kKeys = 1 << 16;
  /// Place of a baseline in tables of kKeys: its antennas as two bytes.
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

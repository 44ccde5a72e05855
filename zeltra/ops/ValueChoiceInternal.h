// What a job averages of each record.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_VALUECHOICEINTERNAL_H_
#define ZELTRA_OPS_VALUECHOICEINTERNAL_H_

#include <optional>
#include <vector>

#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/uvx/AStokesMix.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// Picks from the values of a record those that a job takes: all, some polarisations at some frequencies, or one
/// combination at one frequency.
class ValueChoice {
 public:
  /// All values of the records of `uvx`.
  explicit ValueChoice(const AUVXFile& uvx);
  /// Polarisations at the frequencies of some channels, both ascending from 0, in this order:
  /// [IF][channel][polarisation]. Values that are stored stay as they are.
  ValueChoice(const AUVXFile& uvx, const std::vector<int>& IFs, const std::vector<int>& channels,
              std::vector<PolarisationChoice> polarisations, bool weighted);
  /// One combination at one frequency point, of every baseline from its lower antenna to its higher one.
  /// @param reverse  the combination whose complex conjugate `mix` is where the antennas are exchanged, if there is one
  ValueChoice(const AUVXFile& uvx, int point, const AStokesMix& mix, const std::optional<AStokesMix>& reverse,
              bool weighted);

  /// Values of each record that are averaged.
  int count() const { return count_; }

  /// Pick the values of one record.
  /// @param group   of the record; its antennas are exchanged where its values are those of the reverse baseline
  /// @param stored  the record's values as they stand in the file, at any address
  /// @param room    room for count() values
  /// @return the values that are averaged, at any address: `stored` or `room`
  const char* Pick(AUVXGroup& group, const char* stored, AUVXComplex* room) const;

  /// Sum of the positive finite weights of all polarisations that are stored at the frequencies chosen.
  double Weight(const char* stored) const;

 private:
  // Frequencies that follow each other.
  struct Run {
    int first, end;
  };

  void AddPoint(int point);
  AUVXComplex* PickAll(const AUVXComplex* values, AUVXComplex* to) const;
  AUVXComplex* PickReverse(const AUVXComplex* values, AUVXComplex* to) const;
  double WeightOf(const Run& run, const char* stored) const;

  int stokes_;  // stored at each frequency
  std::vector<Run> runs_;
  int count_ = 0;
  bool isSingle_ = false;
  bool weighted_ = false;
  std::vector<PolarisationChoice> polarisations_;  // none: values as they are stored
  std::optional<PolarisationChoice> reverse_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_VALUECHOICEINTERNAL_H_

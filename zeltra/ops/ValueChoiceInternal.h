// The values of each record that a job averages.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_VALUECHOICEINTERNAL_H_
#define ZELTRA_OPS_VALUECHOICEINTERNAL_H_

#include <optional>
#include <vector>

#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// Picks the values of a record that a job averages: all, or some polarisations at some frequencies.
class ValueChoice {
 public:
  /// All values of the records of `uvx`.
  explicit ValueChoice(const AUVXFile& uvx);
  /// Polarisations at frequency points, given as IF x channels + channel, from 0, ascending.
  ValueChoice(const AUVXFile& uvx, const std::vector<int>& points, std::vector<PolarisationChoice> mixes,
              bool weighted);

  /// Reverse baselines where needed, so that each runs from its lower antenna to its higher one.
  /// @param reverse  for each combination, the one whose complex conjugate it becomes when the antennas are exchanged,
  ///                 if there is one
  void TurnBaselines(std::vector<std::optional<PolarisationChoice>> reverse);

  /// Number of averaged values in a record, [point][combination].
  int count() const { return count_; }

  /// Pick the values of one record.
  /// @param group   of the record; its antennas are exchanged if the reversed baseline is used
  /// @param stored  the record's values as in the file, at any address
  /// @param room    room for count() values
  /// @return the averaged values, at any address, either in `stored` or in `room`
  const char* Pick(AUVXGroup& group, const char* stored, AUVXComplex* room) const;

  /// Sum of the positive finite weights of all stored polarisations at the chosen frequencies.
  double Weight(const char* stored) const;

 private:
  // A run of consecutive points.
  struct Run {
    int first, count;
  };

  void ListPlaces();
  void PickReversed(const char* stored, AUVXComplex* to) const;

  int stokes_;  // number stored at each frequency
  int count_;
  bool weighted_ = false;
  bool isTurned_ = false;
  std::vector<Run> runs_;
  std::vector<PolarisationChoice> mixes_;                   // empty: values as they are stored
  std::vector<std::optional<PolarisationChoice>> reverse_;  // for each combination
  std::vector<int> places_;                                 // of the values in a record, if none has to be formed
  bool isOnePiece_ = false;                                 // whether these are consecutive
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_VALUECHOICEINTERNAL_H_

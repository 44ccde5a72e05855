// What a job averages of each record.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_VALUECHOICEINTERNAL_H_
#define ZELTRA_OPS_VALUECHOICEINTERNAL_H_

#include <optional>
#include <vector>

#include "zeltra/uvx/AStokesMix.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// Combine the polarisations of one frequency.
/// @param values    the stored values of the frequency, `stokes` of them
/// @param weighted  whether a combination has the inverse of its variance for a weight: (p + q) / 2 has
///                  4 / (1 / w1 + 1 / w2), p + q has 1 / (1 / w1 + 1 / w2); else the weight of AStokesMix
/// @return the value; a part that is not finite counts as a flagged zero, and a combination with a flagged part is
///         flagged: its weight has a minus sign, or is 0
AUVXComplex Combined(const AStokesMix& mix, const AUVXComplex* values, int stokes, bool weighted);

/// Picks from the values of a record those that a job averages: all, or combinations of polarisations at some
/// frequencies.
class ValueChoice {
 public:
  /// All values of the records of `uvx`.
  explicit ValueChoice(const AUVXFile& uvx);
  /// Combinations at frequency points: IF x channels + channel, from 0, ascending.
  ValueChoice(const AUVXFile& uvx, const std::vector<int>& points, std::vector<AStokesMix> mixes, bool weighted);

  /// Take every baseline from its lower antenna to its higher one.
  /// @param reverse  for each combination the one whose complex conjugate it is where the antennas are exchanged, if
  ///                 there is one
  void TurnBaselines(std::vector<std::optional<AStokesMix>> reverse);

  /// Values of each record that are averaged, [point][combination].
  int count() const { return count_; }

  /// Pick the values of one record.
  /// @param group   of the record; its antennas are exchanged where its values are those of the reverse baseline
  /// @param stored  the record's values as they stand in the file, at any address
  /// @param room    room for count() values
  /// @return the values that are averaged, at any address: among `stored`, or `room`
  const char* Pick(AUVXGroup& group, const char* stored, AUVXComplex* room) const;

  /// Sum of the positive finite weights of all polarisations that are stored at the frequencies chosen.
  double Weight(const char* stored) const;

 private:
  // Points that follow each other.
  struct Run {
    int first, count;
  };

  void ListPlaces();
  void PickReversed(const char* stored, AUVXComplex* to) const;

  int stokes_;  // stored at each frequency
  int count_;
  bool weighted_ = false;
  bool isTurned_ = false;
  std::vector<Run> runs_;
  std::vector<AStokesMix> mixes_;                   // none: values as they are stored
  std::vector<std::optional<AStokesMix>> reverse_;  // of each combination
  std::vector<int> places_;                         // of the values in a record, where none of them is to be formed
  bool isOnePiece_ = false;                         // whether those follow each other
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_VALUECHOICEINTERNAL_H_

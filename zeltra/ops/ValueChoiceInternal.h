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

/// Picks from the values of a record those that a job averages: all, combinations of polarisations at all frequencies,
/// or one combination at one frequency.
class ValueChoice {
 public:
  /// All values of the records of `uvx`.
  explicit ValueChoice(const AUVXFile& uvx);
  /// Combinations at every frequency.
  ValueChoice(const AUVXFile& uvx, const AArray<AStokesMix>& mixes, bool weighted);
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
  int stokes_;  // stored at each frequency
  int first_ = 0;
  int points_;  // from first_ on
  int count_;
  bool isSingle_ = false;
  bool weighted_ = false;
  std::vector<AStokesMix> mixes_;  // none: values as they are stored
  std::optional<AStokesMix> reverse_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_VALUECHOICEINTERNAL_H_

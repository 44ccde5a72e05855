// A polarisation that a job uses.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_POLARISATIONCHOICE_H_
#define ZELTRA_OPS_POLARISATIONCHOICE_H_

#include <iterator>
#include <string>
#include <vector>

#include "zeltra/uvx/AStokesMix.h"

namespace zeltra {

/// A polarisation that is stored, one formed from two that are, or PI: whichever parallel hands are present.
struct ZELTRA_API PolarisationChoice {
  /// Its code is the code of the result: 1, that of I, for PI.
  AStokesMix mix;
  /// PI of two hands: I where both are valid; where only one is, its value and weight.
  bool isPartial = false;
  /// As in "RR", "I" or "PI".
  std::string name;

  PolarisationChoice() = default;
  PolarisationChoice(const AStokesMix& stored) : mix(stored), name(stored.asShortString()) {}

  /// Form the value of one frequency.
  /// @param values    the stored values of the frequency, `stokes` of them
  /// @param weighted  whether the weight of a combination is the inverse of its variance: (p + q) / 2 has
  ///                  4 / (1 / w1 + 1 / w2), p + q has 1 / (1 / w1 + 1 / w2); else it is that of AStokesMix
  /// @return the value; a part that is not finite counts as a flagged zero, and a combination with a flagged part is
  ///         flagged: its weight is negative or 0
  AUVXComplex Value(const AUVXComplex* values, int stokes, bool weighted) const;
};

/// What a job uses of each record, shape [IF][channel][polarisation].
struct ValuesChoice {
  std::vector<int> IFs, channels;  ///< ascending, from 0
  std::vector<PolarisationChoice> polarisations;

  int64 count() const { return std::ssize(IFs) * std::ssize(channels) * std::ssize(polarisations); }
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_POLARISATIONCHOICE_H_

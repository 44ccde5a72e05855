// Frequencies of records, which have to be known.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_KNOWNFREQUENCIESINTERNAL_H_
#define ZELTRA_OPS_KNOWNFREQUENCIESINTERNAL_H_

#include <map>

#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra {

/// The frequencies of the setups of a file, for jobs that would make wrong values with wrong ones.
class KnownFrequencies {
 public:
  explicit KnownFrequencies(AUVXInput& input) : input_(input) {}

  /// Check that the file has a table "FQ", unless a single frequency makes that of the header enough.
  AResult Open();
  /// Check that, in a record, every point with values whose weight is not 0 has a frequency above 0.
  AResult Check(const WalkedRecord& record);
  const AUVXFreqs& Of(int setup) { return Find(setup).frequencies; }

 private:
  struct Setup {
    AUVXFreqs frequencies;
    bool isKnown;  // all of them
  };

  Setup& Find(int setup);

  AUVXInput& input_;
  std::map<int, Setup> setups_;  // by number
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_KNOWNFREQUENCIESINTERNAL_H_

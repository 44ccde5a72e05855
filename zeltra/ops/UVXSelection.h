// The part of a file that the user selects.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_UVXSELECTION_H_
#define ZELTRA_OPS_UVXSELECTION_H_

#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/Parse.h"

namespace zeltra {

/// The records and values that a job uses. An empty member selects everything. For sources and antennas, digits alone
/// are a number, anything else a name; `=` marks a name of digits, as in "=0".
struct UVXSelection {
  /// Numbers or names.
  std::vector<std::string> sources;
  /// Number of a frequency setup.
  std::optional<int> setup;
  /// Places in the index, from 0.
  std::vector<int> scans;
  /// Numbers or names: all baselines of a single antenna, or the baselines between several.
  std::vector<std::string> antennas;
  /// Pairs of antennas, numbers or names, as in "2-5" or "PT-LA".
  std::vector<std::string> baselines;
  /// Times of the first and last record, both included, to 0.1 ms.
  std::optional<ATime> start;
  std::optional<ATime> stop;
  /// IFs, and channels of each, from 0, in any order.
  std::vector<int> IFs;
  std::vector<int> channels;
  /// Short names of polarisations that are stored or can be formed, as in "RR", "I" or "PI"; empty: the job's own
  /// preference.
  std::vector<std::string> stokes;
  /// Distances from the origin of the u, v plane, wavelengths. Jobs over single visibilities use the frequency of each;
  /// those over whole records, the middle of the selected frequencies.
  ARange uvRange;
  /// Whether flagged values count too, for jobs that show them.
  bool flagged = false;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_UVXSELECTION_H_

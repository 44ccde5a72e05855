// What a person asks for of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_UVXSELECTION_H_
#define ZELTRA_OPS_UVXSELECTION_H_

#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/Parse.h"

namespace zeltra {

/// The records and values that a job takes. A member that is empty asks for everything. Of a source or an antenna a
/// word of digits is the number, any other the name; `=` before it makes a name of digits too, as in "=0".
struct UVXSelection {
  /// Numbers or names.
  std::vector<std::string> sources;
  /// Frequency setup.
  std::optional<int> freqSel;
  /// Places in the index, from 0.
  std::vector<int> scans;
  /// Numbers or names: all baselines of a single antenna, or the baselines between several.
  std::vector<std::string> antennas;
  /// Pairs of antennas, numbers or names, as in "2-5" or "PT-LA".
  std::vector<std::string> baselines;
  /// Times between which records count, both included, to 0.1 ms.
  std::optional<ATime> start;
  std::optional<ATime> stop;
  /// IFs, and channels of each, from 0, in any order.
  std::vector<int> IFs;
  std::vector<int> channels;
  /// Short names of polarisations that are stored or can be formed, as in "RR", "I" or "PI"; none: what the job likes
  /// best of what there is.
  std::vector<std::string> stokes;
  /// Distances from the origin of the u, v plane, wavelengths. Jobs that take visibilities one by one go by the
  /// frequency of each; those that take records whole, by the middle of the frequencies that are selected.
  ARange uvRange;
  /// Whether flagged values count too, in jobs that show them.
  bool flagged = false;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_UVXSELECTION_H_

// Values of a UVX file are flagged, or count again.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FLAGUVX_H_
#define ZELTRA_OPS_FLAGUVX_H_

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// What is flagged: the values selected that one of the criteria meets, all of them without a criterion.
struct FlagOptions : JobOptions {
  /// Values one by one: uv distances are those at the frequency of each, polarisations those that are stored.
  UVXSelection selection;
  /// Amplitudes above this one or, for `below`, under it, in the unit of the file; values that are no numbers too.
  double clip = std::numeric_limits<double>::infinity();
  double below = 0;
  /// Percent of an IF's channels, so many at each end.
  double trim = 0;
  /// A table of flags of the input, as in "FG", or "FG:2" for the second one.
  std::string table;
  /// A text of flags.
  std::string file;
  /// Whether the flag of a record is set too where all of its values are meant.
  bool records = false;
  /// Whether what is meant counts again, instead of being flagged.
  bool unflag = false;
};

/// What flags a value. A value counts for the first cause that it has.
enum class FlagCause { Selection, Trim, Table, File, Clip, Below };
inline constexpr int kFlagCauses = 6;

/// Numbers of values. One is flagged whose weight is not above 0, or whose record has a flag.
struct FlagCounts {
  int64 values = 0;
  int64 before = 0;                            ///< flagged in the input
  int64 after = 0;                             ///< flagged in the output
  std::array<int64, kFlagCauses> causes = {};  ///< flagged now, or not flagged any more, by FlagCause
};

/// What became of the values of a file.
struct FlagSummary {
  FlagCounts all;
  /// Those of an antenna's baselines, by its number; a value has two antennas.
  std::vector<FlagCounts> antennas = std::vector<FlagCounts>(256);
  std::vector<std::string> remarks;
};

/// @return a failure if the options mean no values, or contradict each other
ZELTRA_API AResult CheckFlagOptions(const FlagOptions& options);

/// Copy a UVX file with values flagged: a weight above 0 gets a minus sign, so that it can come back. Weights of 0,
/// those that are flagged already, and weights that are no numbers stay. To unflag is the reverse, with the same
/// options: a negative weight loses its sign, whoever flagged it.
///
/// Tables of flags are those of AIPS: SOURCE, SUBARRAY and ANTS of 0 mean all, FREQ ID too, as well as -1; TIME RANGE
/// counts days since 0 h of the observation date, both 0 mean all; IFS and CHANS are first and last, 0 the end; PFLAGS
/// has a bit for each polarisation. The subarray of a record is that of its scan. Texts of flags: docs/flags.md.
///
/// Scans are kept, the baseline list is made anew, tables are copied. Memory: some records, and 150 bytes an entry of a
/// list of flags.
/// @param summary  may be null
/// @return a failure if no record is selected, or if the table or text cannot be understood: there is no output then
ZELTRA_API AResult FlagUVX(AUVXInput& from, const std::string& to, const FlagOptions& options, FlagSummary* summary);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& FlagDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_FLAGUVX_H_

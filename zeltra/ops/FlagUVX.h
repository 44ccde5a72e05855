// Flags values of a UVX file, or unflags them.
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

/// What to flag: the selected values that meet one of the criteria, or all of them if there is none.
struct FlagOptions : JobOptions {
  /// Applied to single values: uv distances are those at the frequency of each, polarisations are the stored ones.
  UVXSelection selection;
  /// Amplitudes above this or below `below`, in the unit of the file; values that are not numbers too.
  double clip = std::numeric_limits<double>::infinity();
  double below = 0;
  /// Percentage of an IF's channels at each end.
  double trim = 0;
  /// A table of flags in the input, as in "FG", or "FG:2" for the second one.
  std::string table;
  /// A text of flags.
  std::string file;
  /// Whether to set the flag of a record too if all of its values are affected.
  bool records = false;
  /// Whether to unflag instead.
  bool unflag = false;
};

/// Why a value is flagged. A value counts only for the first cause that applies.
enum class FlagCause { Selection, Trim, Table, File, Clip, Below };
inline constexpr int kFlagCauses = 6;

/// Numbers of values. A value is flagged if its weight is not above 0 or its record has a flag.
struct FlagCounts {
  int64 values = 0;
  int64 before = 0;                            ///< flagged in the input
  int64 after = 0;                             ///< flagged in the output
  std::array<int64, kFlagCauses> causes = {};  ///< newly flagged or unflagged, by FlagCause
};

/// What a job did to the values of a file.
struct FlagSummary {
  FlagCounts all;
  /// For the baselines of each antenna, by its number; every value counts for two antennas.
  std::vector<FlagCounts> antennas = std::vector<FlagCounts>(256);
  std::vector<std::string> remarks;
};

/// @return a failure if the options affect no values, or contradict each other
ZELTRA_API AResult CheckFlagOptions(const FlagOptions& options);

/// Copy a UVX file with values flagged: a weight above 0 gets a minus sign, so that it can be restored. Weights that
/// are 0, negative or not numbers are unchanged. Unflagging with the same options does the reverse: negative weights
/// lose their sign, whoever flagged them.
///
/// Tables of flags are read as in AIPS: a SOURCE, SUBARRAY or ANTS of 0 means all, a FREQ ID of 0 or -1 too; TIME RANGE
/// is in days since 0 h of the observation date, all if both are 0; IFS and CHANS are first and last, 0 is the end;
/// PFLAGS has a bit for each polarisation. The subarray of a record is that of its scan. For texts of flags see
/// docs/flags.md.
///
/// Scans are kept, the baseline list is made anew, tables are copied. Memory: a few records, and 150 bytes per entry of
/// a list of flags.
/// @param summary  may be null
/// @return a failure, without output, if no record is selected, or if the table or text cannot be understood
ZELTRA_API AResult FlagUVX(AUVXInput& from, const std::string& to, const FlagOptions& options, FlagSummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& FlagDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_FLAGUVX_H_

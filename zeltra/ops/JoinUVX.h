// Joins several UVX files into one.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_JOINUVX_H_
#define ZELTRA_OPS_JOINUVX_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {

struct JoinOptions : JobOptions {
  /// Whether the parts of an output are meant, which JoinParts joins.
  bool parts = false;
  /// Opens an input by its name; AUVXInput::Open if this is empty. Inputs may be opened twice.
  std::function<AResult(const std::string& path, std::unique_ptr<AUVXInput>& input)> open;
};

/// What a user should know about the run.
struct JoinSummary {
  std::vector<std::string> remarks;
};

/// Write the records of several files into one, in the order of the inputs, which are UVX or UV FITS.
///
/// Inputs must agree in polarisations, numbers of IFs and channels, unit, equinox and time scale. Sources are the same
/// if their names and qualifiers are, and lie within 1 mas; antennas by their names, within 1 m; setups if all
/// frequencies agree within 1 kHz. What is the same gets one number; everything else keeps its own if that is free. A
/// source or an antenna whose name has another position in another input is a failure. Times stay as they are; the
/// observation date is the earliest one.
///
/// "FG", "SN", "CL", "TY" and "BP", version 1, are joined, with numbers and times translated; other tables are those of
/// the first input. The lists of scans and baselines are rebuilt.
///
/// Memory: the tables of all inputs. No more than 18 inputs are open at once; beyond that number they are opened twice.
/// @param summary  may be null
ZELTRA_API AResult JoinUVX(const std::vector<std::string>& from, const std::string& to, const JoinOptions& options,
                           JoinSummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& JoinDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_JOINUVX_H_

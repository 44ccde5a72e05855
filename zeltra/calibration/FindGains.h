// Finding the gains that the user names: a table of the file, or a gain file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_FINDGAINS_H_
#define ZELTRA_CALIBRATION_FINDGAINS_H_

#include <string>
#include <vector>

#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

class AUVXInput;

/// Read gains that may be applied to a file.
/// @param name     "SN:2" or "CL:1" for a table of the file by its version, "SN" or "CL" for the last one, otherwise
///                 the path of a gain file; empty for the last "SN"
/// @param remarks  gets what the user should know added to it
/// @return a failure if there are no such gains, or if a gain file has other IFs, frequencies, polarisations, antennas
///         or sources than the file
ZELTRA_API AResult FindGains(AUVXInput& input, const std::string& name, AGains& gains,
                             std::vector<std::string>& remarks);

/// Copy a UVX file and add these gains as one more table "SN", after those that it has.
/// @param command  the command that made the gains, for the history of the file: see AJobDescription::Command
ZELTRA_API AResult CopyWithGains(AUVXInput& from, const std::string& to, const AGains& gains, const JobOptions& options,
                                 const std::string& command);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_FINDGAINS_H_

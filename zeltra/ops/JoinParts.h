// Joins the parts of an output, made by several workers, into one file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_JOINPARTS_H_
#define ZELTRA_OPS_JOINPARTS_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// Join the files `to`.1-of-N to `to`.N-of-N, as AverageUVX writes them for workers 1 to N, into `to`, with the same
/// bytes as from a single run. The parts are kept. Memory: 20 bytes for every interval whose integration time differs
/// from that of the interval before.
/// @return a failure that names the file that is missing, belongs to another run, or was changed by a later job
ZELTRA_API AResult JoinParts(const std::string& to, const JobOptions& options);

}  // namespace zeltra

#endif  // ZELTRA_OPS_JOINPARTS_H_

// Closure phases of the antenna triangles of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CLOSUREPHASES_H_
#define ZELTRA_OPS_CLOSUREPHASES_H_

#include <functional>
#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"

namespace zeltra {

/// Of the antennas that are selected the first one counts, whose triangles are formed; of the polarisations, IFs and
/// channels the first ones, those of the file where none are selected.
struct ClosureOptions : IntervalOptions {};

/// A closure phase: phase(1-2) + phase(2-3) - phase(1-3) of the mean visibilities of an interval.
struct AClosurePhase {
  double time = 0;       ///< Julian date: the weighted mean of the records' times in the interval
  int antennas[3] = {};  ///< ascending
  double phase = 0;      ///< radians, -pi to pi
};

using ClosureSink = std::function<AResult(const AClosurePhase&)>;

/// Form closure phases in time order, within an interval in the order of the antennas; each source and setup by itself.
///
/// A triangle is left out where one of its baselines has no valid value in the interval, see Average. Baselines that
/// are stored from the higher antenna to the lower one count in reverse, with complex conjugate values: RL is then
/// taken from LR, XY from YX.
///
/// Memory: some MiB for each thread, and some 70 bytes a scan.
/// @param sink  a failure of it ends the job
ZELTRA_API AResult ClosurePhases(AUVXInput& from, const ClosureOptions& options, const ClosureSink& sink);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& ClosureDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSUREPHASES_H_

// Closure phases and closure amplitudes of a file.
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

enum class ClosureSet {
  All,          ///< of all triangles, or of all quadrangles in their three forms
  Independent,  ///< as many as are independent of each other in an interval
};

/// Polarisations are such as are stored: where none is selected, the parallel hands, or I in a file without them. Of
/// the antennas that are selected a single one has the closures through it, several have those among them. Means are
/// complex and weighted, whatever `complexMean` and `mean` say: errors come from the weights.
struct ClosureOptions : IntervalOptions {
  /// Amplitudes instead of phases.
  bool amplitudes = false;
  /// Closures of each IF, channel and polarisation by itself, instead of their mean.
  bool each = false;
  /// Phases: average the bispectra of the time stamps, not the visibilities, over an interval.
  bool incoherent = false;
  ClosureSet set = ClosureSet::All;
};

/// A closure phase, arg(V12 V23 conj(V13)), or a closure amplitude, log(|V12| |V34| / (|V13| |V24|)). What is a mean of
/// several IFs, channels or polarisations has none of its own.
struct AClosure {
  int part = 0;     ///< place in the plan of parts (PlanParts), from 0
  double time = 0;  ///< Julian date: the weighted mean of the records' times in the interval
  int source = 0;
  int stokes = 0;        ///< polarisation code; 0: a mean
  int IF = -1;           ///< from 0; -1: a mean
  int channel = -1;      ///< from 0; -1: a mean
  int antennas[4] = {};  ///< phases: three, ascending
  double value = 0;      ///< phase in radians, -pi to pi; or the logarithm
  double sigma = 0;      ///< its standard deviation, that of a phase at most pi / sqrt(3)
};

using ClosureSink = std::function<AResult(const AClosure&)>;

/// Closure amplitudes before they are averaged.
struct AClosureCounts {
  int64 formed = 0;
  int64 weak = 0;  ///< not taken, since a baseline has a ratio of signal and noise of 3 or less
};

/// Form closures in time order; each source and setup by itself. Within an interval the order is that of IFs, channels,
/// polarisations, then antennas. docs/closures.md has the formulas.
///
/// A closure is left out where one of its baselines has no valid value in the interval, see Average. Baselines that are
/// stored from the higher antenna to the lower one count in reverse, with complex conjugate values: RL is then taken
/// from LR, XY from YX.
///
/// Memory: below 256 MiB for arrays of up to 60 antennas. Where the sums of an interval do not fit, its records are
/// read several times. Refused are closure amplitudes of more than 64 antennas, and independent sets of more where
/// baselines are missing.
/// @param sink    a failure of it ends the job
/// @param counts  receives what there was of closure amplitudes; may be null
ZELTRA_API AResult FormClosures(AUVXInput& from, const ClosureOptions& options, const ClosureSink& sink,
                                AClosureCounts* counts = nullptr);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& ClosureDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSUREPHASES_H_

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
  All,          ///< all triangles, or all quadrangles in their three forms
  Independent,  ///< a maximal independent set in each interval
};

/// Only stored polarisations can be selected; the default is the parallel hands, or I in a file without them. If one
/// antenna is selected, the closures contain it; if several are, closures are formed among them. Means are complex and
/// weighted, whatever `complexMean` and `mean` say, since errors come from the weights.
struct ClosureOptions : IntervalOptions {
  /// Closure amplitudes instead of phases.
  bool amplitudes = false;
  /// One closure for each IF, channel and polarisation, instead of their mean.
  bool each = false;
  /// Phases: average the bispectra of the time stamps in an interval, not the visibilities.
  bool incoherent = false;
  ClosureSet set = ClosureSet::All;
};

/// A closure phase, arg(V12 V23 conj(V13)), or a closure amplitude, log(|V12| |V34| / (|V13| |V24|)). IF, channel and
/// polarisation are unset for a mean over several.
struct AClosure {
  int part = 0;     ///< place in the plan of parts (PlanParts), from 0
  double time = 0;  ///< Julian date: the weighted mean of the records' times in the interval
  int source = 0;
  int stokes = 0;        ///< polarisation code; 0: a mean
  int IF = -1;           ///< from 0; -1: a mean
  int channel = -1;      ///< from 0; -1: a mean
  int antennas[4] = {};  ///< phases: three, ascending
  double value = 0;      ///< phase in radians, -pi to pi; or the logarithm
  double sigma = 0;      ///< its standard deviation; for a phase at most pi / sqrt(3)
};

using ClosureSink = std::function<AResult(const AClosure&)>;

/// Counts of closure amplitudes before averaging.
struct AClosureCounts {
  int64 formed = 0;
  int64 weak = 0;  ///< left out since a baseline has a signal-to-noise ratio of 3 or less
};

/// Form closures in time order, for each source and setup separately. Within an interval they are ordered by IF,
/// channel, polarisation, then antennas. docs/closures.md has the formulas.
///
/// A closure is left out if one of its baselines has no valid value in the interval, see Average. Baselines stored from
/// the higher antenna to the lower one are reversed and their values conjugated: RL is then taken from LR, XY from YX.
///
/// Memory: below 256 MiB for arrays of up to 60 antennas. If the sums of an interval do not fit, its records are read
/// several times. Closure amplitudes of more than 64 antennas are refused, and so are independent sets of more than 64
/// where baselines are missing.
/// @param sink    if it fails, the job ends
/// @param counts  receives the counts of closure amplitudes; may be null
ZELTRA_API AResult FormClosures(AUVXInput& from, const ClosureOptions& options, const ClosureSink& sink,
                                AClosureCounts* counts = nullptr);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& ClosureDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_CLOSUREPHASES_H_

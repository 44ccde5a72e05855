// Gains of antennas from a file's visibilities and a model of its source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_SOLVEGAINS_H_
#define ZELTRA_CALIBRATION_SOLVEGAINS_H_

#include <map>
#include <string>
#include <vector>

#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/calibration/GainSolver.h"
#include "zeltra/calibration/VisibilityModel.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"

namespace zeltra {

/// How gains are solved for.
struct SolveOptions : IntervalOptions {
  enum class Normalization {
    Auto,  ///< All, unless only phases are solved for
    All,   ///< the geometric mean of |g| over all gains of a hand and IF is 1, so that the flux of the source stays
    None,
  };

  /// What VisibilityModel::Open takes.
  std::string model;
  GainMode mode = GainMode::Phase;
  /// Antennas whose phase is 0, numbers or names: the first one that has a gain. After them, and where there are none,
  /// those with the most gains.
  std::vector<std::string> references;
  /// Antennas that an interval needs; 0: 3 for phases, 4 for amplitudes.
  int minAntennas = 0;
  /// Least signal-to-noise ratio of a gain.
  double snr = 3;
  /// Whether IFs, or hands, have one gain.
  bool IFsTogether = false;
  bool handsTogether = false;
  Normalization normalization = Normalization::Auto;
  /// Leave out baselines that lie far off: see GainSolver::Options.
  bool robust = false;
};

/// What became of the gains of one antenna: how many there are for each GainFault, GainFault::None being the good ones.
using GainCounts = std::map<GainFault, int64>;

/// What a person should know of a solution.
struct ZELTRA_API SolveReport {
  int64 intervals = 0;
  std::map<int, GainCounts> antennas;  ///< by number; intervals in which an antenna has no data do not count
  int64 visibilities = 0;              ///< whose two antennas both have gains
  int64 unsolved = 0;                  ///< the others
  double chi2Before = 0;  ///< sum w |V - M|^2 of these visibilities; to be compared with twice their number
  double chi2After = 0;   ///< sum w |V - g M conj(g)|^2
  std::vector<std::string> remarks;

  /// Gains of all antennas that are good.
  int64 solved() const;
  int64 failed() const;
};

/// Solve for the gains of all intervals, sources and setups each by themselves. The parallel hands are solved, or
/// Stokes I in a file without hands; autocorrelations do not count.
///
/// Phases of the reference antenna are 0 in both hands, so that the difference of their phases is lost. Where another
/// antenna has to take its place, that one keeps the phase that it had last, and stays until it is missing or the first
/// one is back.
/// @param gains  receives them, sorted, with their observation; those that could not be found have a weight of 0
ZELTRA_API AResult SolveGains(AUVXInput& from, const SolveOptions& options, AGains& gains, SolveReport& report);

/// The same with an output: a gain file where the name ends in ".gain", else a UVX file with the records and tables of
/// the input and one more table "SN".
ZELTRA_API AResult SolveGains(AUVXInput& from, const std::string& to, const SolveOptions& options, SolveReport& report);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& SolveDescription();

/// Why an antenna has no gain, as people say it.
ZELTRA_API std::string FaultText(GainFault fault);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_SOLVEGAINS_H_

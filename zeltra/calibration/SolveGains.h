// Gains of antennas from a file's visibilities and a model of its source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_SOLVEGAINS_H_
#define ZELTRA_CALIBRATION_SOLVEGAINS_H_

#include <map>
#include <string>
#include <vector>

#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/calibration/ComponentModel.h"
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
    All,   ///< scaled so that the geometric mean of |g| over a hand and IF is 1, which keeps the flux of the source
    None,
  };

  /// As VisibilityModel::Open accepts it.
  std::string model;
  /// The components of the model itself; if there are any, they take the place of `model`.
  ComponentModel components;
  GainMode mode = GainMode::Phase;
  /// Reference antennas, whose phase is 0, as numbers or names: the first one if it has a gain, else the one used
  /// before, so that phases do not step, else the next. The other antennas follow those named, those with the most
  /// gains first.
  std::vector<std::string> references;
  /// Least number of antennas in an interval; 0: 3 for phases, 4 for amplitudes.
  int minAntennas = 0;
  /// Lowest acceptable signal-to-noise ratio of a gain.
  double snr = 3;
  /// Whether IFs, or hands, share one gain.
  bool IFsTogether = false;
  bool handsTogether = false;
  Normalization normalization = Normalization::Auto;
  /// Leave out outlying baselines: see GainSolver::Options.
  bool robust = false;
};

/// The gains of one antenna counted by outcome: how many there are for each GainFault, GainFault::None being the good
/// ones.
using GainCounts = std::map<GainFault, int64>;

/// What the user should know about a solution.
struct ZELTRA_API SolveReport {
  int64 intervals = 0;
  std::map<int, GainCounts> antennas;  ///< by number; intervals in which an antenna has no data do not count
  int64 visibilities = 0;              ///< those whose antennas both have gains
  int64 unsolved = 0;                  ///< the others
  double chi2Before = 0;               ///< sum w |V - M|^2 of these visibilities; compare with twice their number
  double chi2After = 0;                ///< sum w |V - g M conj(g)|^2
  std::vector<std::string> remarks;

  /// The number of good gains of all antennas.
  int64 solved() const;
  int64 failed() const;
};

/// Solve for the gains of each interval, source and setup separately. The parallel hands are solved, or Stokes I in a
/// file without hands; autocorrelations are ignored.
///
/// Phases of the reference antenna are 0 in both hands, so the phase difference between the hands is lost. If another
/// antenna has to take its place, that antenna keeps the last phase it had, and remains the reference until it is
/// missing or the first one is back.
/// @param gains  receives the gains, sorted, with their observation; those that could not be found have a weight of 0
ZELTRA_API AResult SolveGains(AUVXInput& from, const SolveOptions& options, AGains& gains, SolveReport& report);

/// The same with an output: a gain file if the name ends in ".gain", otherwise a UVX file with the records and tables
/// of the input and one more table "SN".
ZELTRA_API AResult SolveGains(AUVXInput& from, const std::string& to, const SolveOptions& options, SolveReport& report);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& SolveDescription();

/// Why an antenna has no gain, in words.
ZELTRA_API std::string FaultText(GainFault fault);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_SOLVEGAINS_H_

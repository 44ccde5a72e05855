// Gains of antennas from visibilities and a model.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_GAINSOLVER_H_
#define ZELTRA_CALIBRATION_GAINSOLVER_H_

#include <complex>
#include <vector>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// What a gain corrects.
enum class GainMode {
  Phase,      ///< its modulus is 1
  Complex,    ///< amplitude and phase
  Amplitude,  ///< its phase is 0: the moduli of complex gains
};

/// Sums over the visibilities V of one baseline with their model M and weights w: all that a solution needs.
struct BaselineProducts {
  int first = 0, second = 0;         ///< indices of its antennas, V = g_first M conj(g_second)
  std::complex<double> product = 0;  ///< sum w V conj(M)
  double model = 0;                  ///< sum w |M|^2
  double data = 0;                   ///< sum w |V|^2
  int64 count = 0;                   ///< visibilities

  BaselineProducts& operator+=(const BaselineProducts& other);
};

/// Why an antenna has no gain.
enum class GainFault {
  None,
  NoData,
  TooFewAntennas,  ///< too few antennas have visibilities with each other
  NotConnected,    ///< no baselines connect it to the antennas that were solved
  Undetermined,    ///< its amplitude: no closed loop of an odd number of baselines reaches it
  LowSNR,
  NotConverged,
};

/// The gain of an antenna.
struct SolvedGain {
  std::complex<double> gain = 1;
  double snr = 0;  ///< |g| over the standard deviation of its real or imaginary part
  GainFault fault = GainFault::NoData;
};

/// Solves V_pq = g_p M_pq conj(g_q) for the gains of antennas by alternating directions: each gain in turn becomes the
/// best fit with the others held fixed, and every second iterate is averaged with the one before (Salvini & Wijnholds
/// 2014, A&A 571, A97).
class ZELTRA_API GainSolver {
 public:
  struct Options {
    GainMode mode = GainMode::Phase;
    int minAntennas = 3;  ///< antennas that must have visibilities with each other
    double snr = 3;       ///< lowest acceptable signal-to-noise ratio of a gain
    /// Leave out outlying baselines, in passes whose bound falls from 7 to 2.2 times the rms.
    bool robust = false;
  };

  /// @param antennas  their number; indices count from 0
  GainSolver(int antennas, const Options& options) : antennas_(antennas), options_(options) {}

  /// Solve for the gains of an interval. Phases are determined only up to a common one.
  /// @param start   gains to start from, such as those of the interval before; those with a fault are not used
  /// @return the gains of all antennas
  std::vector<SolvedGain> Solve(const std::vector<BaselineProducts>& baselines,
                                const std::vector<SolvedGain>& start = {}) const;

 private:
  struct Work;
  bool Iterate(Work& work) const;
  bool SolveRobustly(Work& work, bool hasConverged) const;

  const int antennas_;
  const Options options_;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_GAINSOLVER_H_

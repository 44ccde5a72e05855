// Gains at times between their solutions.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_GAINTIMELINE_H_
#define ZELTRA_CALIBRATION_GAINTIMELINE_H_

#include <array>
#include <complex>
#include <cstdint>
#include <optional>
#include <vector>

#include "zeltra/calibration/AGainArray.h"

namespace zeltra {

/// When, and for what part of the observation, a gain is wanted.
struct GainMoment {
  double time = 0;  ///< Julian date
  int source = 0;
  int setup = 0;
  int subarray = 0;
  double scanBegin = 0, scanEnd = 0;  ///< Julian dates of the scan that contains the time
};

/// A gain at a moment.
struct GainValue {
  std::complex<double> gain = 1;  ///< in the first channel of the IF
  double delay = 0;               ///< seconds
  bool isThere = false;           ///< whether there is a solution
};

/// Gives gains at any time.
///
/// Between two solutions the phase is that of the linearly interpolated complex values, and the modulus is interpolated
/// linearly by itself, so that a change of phase does not reduce it. Each solution is first brought to the wanted time
/// by its rate. If the two have different reference antennas, the nearer one is used alone. Solutions are joined within
/// a scan, or if they are no further apart than a given gap. A solution that is not joined holds for half its interval
/// before and after its time.
///
/// A solution for a source, setup or subarray is used for that one alone, a solution with number 0 for all of them. The
/// object does not change, so threads may share it.
class ZELTRA_API GainTimeline {
 public:
  /// @param maxGap  seconds; negative: solutions are joined only within a scan
  GainTimeline(const AGainArray& gains, double maxGap);

  /// @param frequency  of the first channel of the IF, Hz, to apply the rates
  GainValue At(const AGainKey& key, const GainMoment& moment, double frequency) const;

  /// Whether a subarray has solutions of its own.
  bool HasSubarray(int subarray) const;

 private:
  struct Solution {
    uint64_t key = 0;  // stream, antenna, IF and hand
    double time = 0;
    double half = 0;  // half the interval, seconds
    double delay = 0, rate = 0;
    std::complex<double> gain;
    int reference = 0;
  };
  // The solutions just before and after a moment.
  struct Neighbours {
    const Solution* before = nullptr;
    const Solution* after = nullptr;
  };

  static uint64_t PackedKey(int source, int setup, int subarray, const AGainKey& key);
  Neighbours Find(const AGainKey& key, const GainMoment& moment) const;
  bool AreJoined(const Neighbours& pair, const GainMoment& moment) const;
  static GainValue Brought(const Solution& solution, double time, double frequency);

  std::vector<Solution> solutions_;  // by key, then time
  std::vector<int> subarrays_;       // those that have solutions, ascending
  double maxGap_;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_GAINTIMELINE_H_

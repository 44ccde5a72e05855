// How gains behave over time, and their averages.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_AGAINMEANINFO_H_
#define ZELTRA_CALIBRATION_AGAINMEANINFO_H_

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "zeltra/calibration/AGainArray.h"
#include "zeltra/core/AArray.h"

namespace zeltra {

#pragma pack(push, 1)

/// Statistics of the gains of one antenna, hand and IF; 52 bytes. The object may lie at any address.
struct ZELTRA_API AGainMeanInfo {
  uint8_t antenna = 0;  ///< antenna number
  int8_t hand = 0;      ///< 0 or 1
  int16_t ifIndex = 0;  ///< IF, from 0
  int32_t items = 0;    ///< gains in the list
  int32_t valid = 0;  ///< those with a solution; the numbers below are computed from these, and are 0 if there are none
  double meanModulus = 0;     ///< plain mean of |g|
  double modulusScatter = 0;  ///< standard deviation of |g|, with valid - 1 in the denominator
  double phaseDrift = 0;    ///< rad/s: slope of the line through the phases, each within half a turn of the one before
  double phaseScatter = 0;  ///< rad: root mean square of the phases about that line
  double meanSNR = 0;       ///< mean signal-to-noise ratio
};

#pragma pack(pop)

static_assert(sizeof(AGainMeanInfo) == 52 && std::is_trivially_copyable_v<AGainMeanInfo>);
static_assert(offsetof(AGainMeanInfo, antenna) == 0 && offsetof(AGainMeanInfo, hand) == 1);
static_assert(offsetof(AGainMeanInfo, ifIndex) == 2 && offsetof(AGainMeanInfo, items) == 4);
static_assert(offsetof(AGainMeanInfo, valid) == 8 && offsetof(AGainMeanInfo, meanModulus) == 12);
static_assert(offsetof(AGainMeanInfo, modulusScatter) == 20 && offsetof(AGainMeanInfo, phaseDrift) == 28);
static_assert(offsetof(AGainMeanInfo, phaseScatter) == 36 && offsetof(AGainMeanInfo, meanSNR) == 44);

ZELTRA_EXPORT_TEMPLATE(AArray<AGainMeanInfo>);

/// Put the statistics of each antenna, IF and hand, in this order, into `info`, whose old contents are discarded.
/// @param gains  sorted
/// @return their number
ZELTRA_API int GetGainMeanInfo(const AGainArray& gains, AArray<AGainMeanInfo>& info);

/// Average gains over intervals, separately for each antenna, hand, IF, source, setup, subarray and reference antenna.
/// The phase is that of the weighted mean of unit vectors and the modulus the weighted mean of the moduli, so that
/// changing phases do not reduce the modulus. Delays and rates are weighted means too. The weights are inverse
/// variances: the squared signal-to-noise ratio for phases, and that over the squared modulus for moduli.
/// Signal-to-noise ratios add in quadrature. The time is the middle of the span that all gains of the interval cover.
/// @param seconds   length of the intervals, which begin at `start` and at every multiple of the length from there
/// @param start     Julian date
/// @param averages  the averages, sorted; an interval without a valid gain gives one without a solution
/// @return their number
ZELTRA_API int GainAverrage(const AGainArray& gains, double seconds, double start, AGainArray& averages);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_AGAINMEANINFO_H_

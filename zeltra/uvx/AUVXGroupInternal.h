// The random parameters of a group of a UV FITS file, decoded and encoded.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXGROUPINTERNAL_H_
#define ZELTRA_UVX_AUVXGROUPINTERNAL_H_

#include <cstdint>
#include <limits>

#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// A parameter as an integer, rounded as the format requires: one half is added and the fraction dropped. A value
/// outside the range of int becomes the nearest int, NaN the smallest.
inline int IntegerForm(double value) {
  constexpr double kSmallest = std::numeric_limits<int32_t>::min(), kLargest = std::numeric_limits<int32_t>::max();
  value += 0.5;
  if (!(value > kSmallest)) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value < kLargest ? value : kLargest);
}

/// What a random parameter says about a group. The last four are not recognised by a first letter.
enum class ParameterRole {
  None,
  U,
  V,
  W,
  Date,
  Baseline,
  Source,
  FreqSel,
  Flag,
  Antenna1,
  Antenna2,
  Subarray,
  Integration
};

/// The role of a parameter, by the first letters of its name.
inline ParameterRole RoleOf(const char* name) {
  switch (name[0]) {
    case 'B':
      return ParameterRole::Baseline;
    case 'D':
      return ParameterRole::Date;
    case 'F':
      return name[1] == 'R' ? ParameterRole::FreqSel : name[1] == 'L' ? ParameterRole::Flag : ParameterRole::None;
    case 'S':
      return ParameterRole::Source;
    case 'U':
      return ParameterRole::U;
    case 'V':
      return ParameterRole::V;
    case 'W':
      return ParameterRole::W;
    default:
      return ParameterRole::None;
  }
}

/// The parts of a group's parameters that are optional or computed.
struct ParameterForm {
  float baseline;
  float date1, date2;  ///< the two parts of the date
  bool withSourceAndFreqSel;
  bool withFlag = false;
  bool withIntegration = false;
  float integration = 0;  ///< seconds
};

/// Encode the parameters of a group as big-endian floats: u, v, w, the baseline, the date in two parts and, if asked
/// for, source and setup, the flag, and the integration time.
/// @param to  room for ten numbers
/// @return number of bytes of `to` used
int EncodeParameters(const AUVXGroup& group, const ParameterForm& form, float* to);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXGROUPINTERNAL_H_

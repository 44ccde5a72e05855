// The coordinates u, v, w of a baseline.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_CALCULATEUVW_H_
#define ZELTRA_READERS_CALCULATEUVW_H_

#include "zeltra/platform/Export.h"

namespace zeltra {

class AUVXAntenns;
struct AUVXGroup;
struct AUVXSourceItem;

/// Compute u, v, w of a group, in seconds, from the positions of its antennas and its source.
///
/// u = k (By cos(ra) - Bx sin(ra)), w = k ((By sin(ra) + Bx cos(ra)) cos(dec) + Bz sin(dec)), v correspondingly, where
/// B is antenna 1 minus antenna 2, rotated by the mean sidereal time at Greenwich (after the IAU 1982 expression, Aoki
/// et al. 1982, A&A 105, 359), and k is the reciprocal of 299792500 m/s, a rounded speed of light that programs rely
/// on.
/// @param group     its time is a Julian date (UT)
/// @param index1    index of antenna 1 in the list (not its number); if either index is outside the list, the group is
///                  unchanged
/// @param source    apparent coordinates, degrees
/// @param rotate    non-zero: the antennas' x and y are rotated by the longitude of the array centre, from a frame
///                  whose x axis points to the local meridian
ZELTRA_API void CalculateUVW(AUVXGroup& group, const AUVXAntenns& antennas, int index1, int index2,
                             const AUVXSourceItem& source, int rotate);

}  // namespace zeltra

#endif  // ZELTRA_READERS_CALCULATEUVW_H_

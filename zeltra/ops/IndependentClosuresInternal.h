// A basis of the closures of an interval.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INDEPENDENTCLOSURESINTERNAL_H_
#define ZELTRA_OPS_INDEPENDENTCLOSURESINTERNAL_H_

#include "zeltra/ops/ClosureTermsInternal.h"

namespace zeltra {

/// More antennas are not searched for a basis where triangles are missing.
inline constexpr int kMostForBasis = 64;

/// Leave as many of the triangles of one value, of ascending keys, as are independent of each other.
///
/// Those through the antenna stay whose triangles have the largest sum of |B| / sigma; they are a basis where no
/// baseline is missing. Of the others each stays that raises the rank, strong ones first.
/// @return false where more than kMostForBasis antennas would have to be searched
bool KeepIndependentTriangles(ClosureTerms& terms);

/// Leave as many of the quadrangles of one value, of ascending keys, as are independent of each other.
///
/// Where none is missing these are |V(i,j)| |V(i+1,j+1)| / (|V(i,j+1)| |V(i+1,j)|), or the inverse, for antennas i and
/// j that are not neighbours around a circle of all; otherwise each that raises the rank, small errors first.
void KeepIndependentQuadrangles(ClosureTerms& terms);

}  // namespace zeltra

#endif  // ZELTRA_OPS_INDEPENDENTCLOSURESINTERNAL_H_

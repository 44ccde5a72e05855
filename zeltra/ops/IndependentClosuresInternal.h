// A maximal independent set of the closures of an interval.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INDEPENDENTCLOSURESINTERNAL_H_
#define ZELTRA_OPS_INDEPENDENTCLOSURESINTERNAL_H_

#include "zeltra/ops/ClosureTermsInternal.h"

namespace zeltra {

/// Most antennas for which a basis is searched if triangles are missing.
inline constexpr int kMostForBasis = 64;

/// Reduce the triangles of one value, in ascending order of key, to a maximal independent set.
///
/// All triangles of one antenna are kept, the one whose triangles have the largest sum of |B| / sigma; they are a basis
/// if no baseline is missing. Of the others, each that raises the rank is kept, strong ones first.
/// @return false if more than kMostForBasis antennas would have to be searched
bool KeepIndependentTriangles(ClosureTerms& terms);

/// Reduce the quadrangles of one value, in ascending order of key, to a maximal independent set.
///
/// If none is missing, these are |V(i,j)| |V(i+1,j+1)| / (|V(i,j+1)| |V(i+1,j)|), or the inverse, for antennas i and j
/// that are not neighbours on a circle of all antennas; otherwise each quadrangle that raises the rank, small errors
/// first.
void KeepIndependentQuadrangles(ClosureTerms& terms);

}  // namespace zeltra

#endif  // ZELTRA_OPS_INDEPENDENTCLOSURESINTERNAL_H_

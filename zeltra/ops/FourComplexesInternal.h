// Splits four complexes of a record into real parts, imaginary parts and weights.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FOURCOMPLEXESINTERNAL_H_
#define ZELTRA_OPS_FOURCOMPLEXESINTERNAL_H_

#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {

/// The real parts, imaginary parts and weights of four values, one value per lane.
struct FourComplexes {
  Float4 re, im, weight;
};

/// Load the weights of four complexes at any address.
ZELTRA_INLINE Float4 LoadWeights(const char* from) {
  const auto a = Load<Float4>(from), b = Load<Float4>(from + 16), c = Load<Float4>(from + 32);
  return Shuffle<0, 1, 4, 7>(Shuffle<2, 5, 5, 5>(a, b), c);
}

/// Load four complexes at any address.
ZELTRA_INLINE FourComplexes LoadComplexes(const char* from) {
  const auto a = Load<Float4>(from), b = Load<Float4>(from + 16), c = Load<Float4>(from + 32);
  return {Shuffle<0, 1, 2, 5>(Shuffle<0, 3, 6, 6>(a, b), c), Shuffle<0, 1, 2, 6>(Shuffle<1, 4, 7, 7>(a, b), c),
          Shuffle<0, 1, 4, 7>(Shuffle<2, 5, 5, 5>(a, b), c)};
}

/// The lanes of values that count: their weight is above 0 and their numbers are finite.
ZELTRA_INLINE auto CountingLanes(const FourComplexes& values) {
  const Float4 none = {};
  // A number minus itself is 0, unless it is infinite or none.
  const Float4 odd = (values.re - values.re) + (values.im - values.im) + (values.weight - values.weight);
  return (values.weight > none) & (odd == none);
}

}  // namespace zeltra

#endif  // ZELTRA_OPS_FOURCOMPLEXESINTERNAL_H_

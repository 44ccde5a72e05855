// One complex visibility with its weight.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXCOMPLEX_H_
#define ZELTRA_UVX_AUVXCOMPLEX_H_

#include <cmath>
#include <complex>
#include <cstddef>
#include <type_traits>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AFITS;
class AUVXMinMax;

/// A visibility in the unit `bunit` of its file; 12 bytes, in a file as in memory. It is meaningless unless its weight
/// is greater than 0.
struct ZELTRA_API AUVXComplex {
  float re = 0;
  float im = 0;
  float weight = 1;

  AUVXComplex() = default;
  AUVXComplex(double real, double imag, double w)
      : re(static_cast<float>(real)), im(static_cast<float>(imag)), weight(static_cast<float>(w)) {}
  /// Read 12 bytes at the current position of `file`; all zero if they are not there.
  explicit AUVXComplex(AFile& file);
  /// Decode three FITS values at the current position: see DecodeFITSValues. Weight 0 if they are not there.
  explicit AUVXComplex(AFITS& fits);

  double Re() const { return re; }
  double Im() const { return im; }
  double Weight() const { return weight; }
  /// Number i: 0 real part, 1 imaginary part, 2 weight.
  float& operator()(int i) { return i == 0 ? re : i == 1 ? im : weight; }

  /// 1 if the weight is greater than 0 or NaN, else 0.
  int isValid() const { return !(weight <= 0); }
  /// Amplitude, in single precision.
  double ampl() const { return std::sqrt(re * re + im * im); }
  /// Phase in radians, -pi to pi, in single precision.
  double phase() const { return std::atan2(im, re); }

  std::complex<float> FC() const { return {re, im}; }
  /// Set both parts, leaving the weight unchanged.
  AUVXComplex& operator=(const std::complex<float>& value) {
    re = value.real();
    im = value.imag();
    return *this;
  }

  /// Write the 12 bytes at the current position of `file`.
  int store(AFile& file) const;
};
static_assert(sizeof(AUVXComplex) == 12 && std::is_trivially_copyable_v<AUVXComplex>);
static_assert(offsetof(AUVXComplex, re) == 0 && offsetof(AUVXComplex, im) == 4 && offsetof(AUVXComplex, weight) == 8);

/// Whether all three numbers are finite.
inline bool IsFinite(const AUVXComplex& value) {
  return std::isfinite(value.re) && std::isfinite(value.im) && std::isfinite(value.weight);
}

/// Widen the ranges of re, im and weight by `count` complexes, in order: see TMnMx::check.
/// @return whether all numbers are finite
ZELTRA_API bool CheckRange(const AUVXComplex* values, int64 count, AUVXMinMax& range);

/// Decode `count` complexes, three FITS values each, from `raw`, and scale them by BSCALE and BZERO. Every BITPIX of
/// FITS is supported (8, 16, 32, 64, -32, -64); with any other all values become 0 with weight 0.
ZELTRA_API void DecodeFITSValues(const AFITS& fits, const char* raw, AUVXComplex* values, int64 count);

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXComplex>);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXCOMPLEX_H_

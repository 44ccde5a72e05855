// The one-dimensional transform of several lines or columns side by side.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_FFTKERNELINTERNAL_H_
#define ZELTRA_IMAGE_FFTKERNELINTERNAL_H_

#include <complex>
#include <cstddef>
#include <vector>

namespace zeltra {

/// The factors exp(i dir pi k / h), k = 0 .. h-1, of every stage of a transform of n values.
/// The h factors of the stage that joins transforms of h values to those of 2h begin at index h - 1.
std::vector<std::complex<double>> FFTTwiddles(int n, int dir);

/// At most so many lines are transformed together.
inline constexpr int kMostFFTLanes = 8;

/// Lines that are transformed together: value i of line l is first[i * step + l * laneStep].
template <typename Real>
struct FFTLanes {
  std::complex<Real>* first;
  std::ptrdiff_t step;
  std::ptrdiff_t laneStep;
  int lanes;  ///< 1 .. kMostFFTLanes
};

/// Bytes that TransformLanes() needs to work in, a multiple of 64.
std::size_t FFTWorkBytes(int n, int lanes);

/// Transform each line in place.
/// @param n         length of a line, a power of two from 2 on
/// @param scale     every value is multiplied by it beforehand
/// @param twiddles  of FFTTwiddles() for n
/// @param work      FFTWorkBytes(n, lanes) bytes, on a 64-byte boundary
template <typename Real>
void TransformLanes(const FFTLanes<Real>& lines, int n, double scale, const std::complex<double>* twiddles, void* work);

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_FFTKERNELINTERNAL_H_

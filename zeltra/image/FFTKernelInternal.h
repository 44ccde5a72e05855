// The one-dimensional transform of several lines or columns side by side.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_FFTKERNELINTERNAL_H_
#define ZELTRA_IMAGE_FFTKERNELINTERNAL_H_

#include <complex>
#include <cstddef>
#include <vector>

namespace zeltra {

/// The factors exp(i dir pi k / h), k = 0 .. h-1, for every stage of a transform of n values. The h factors for the
/// stage that combines transforms of h values into those of 2h begin at index h - 1.
std::vector<std::complex<double>> FFTTwiddles(int n, int dir);

/// The largest number of lines that are transformed together.
inline constexpr int kMostFFTLanes = 8;

/// Lines that are transformed together: value i of line l is first[i * step + l * laneStep].
template <typename Real>
struct FFTLanes {
  std::complex<Real>* first;
  std::ptrdiff_t step;
  std::ptrdiff_t laneStep;
  int lanes;  ///< 1 .. kMostFFTLanes
};

/// Bytes of work space that TransformLanes() needs, a multiple of 64.
std::size_t FFTWorkBytes(int n, int lanes);

/// Transform each line in place.
/// @param n         length of a line, a power of two, at least 2
/// @param scale     factor that every value is multiplied by first
/// @param twiddles  from FFTTwiddles() for n
/// @param work      FFTWorkBytes(n, lanes) bytes, on a 64-byte boundary
template <typename Real>
void TransformLanes(const FFTLanes<Real>& lines, int n, double scale, const std::complex<double>* twiddles, void* work);

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_FFTKERNELINTERNAL_H_

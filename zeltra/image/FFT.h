// Two-dimensional discrete Fourier transform of complex matrices on several threads.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_FFT_H_
#define ZELTRA_IMAGE_FFT_H_

#include <complex>

#include "zeltra/core/AMatrix.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// Whether lines and columns of n values are transformed: see MT_FFT_Matr_F.
ZELTRA_API bool IsFFTLength(int n);

/// Transform a matrix in place: every line, then every column.
///
/// Along a line or column of n values, with both sums over j = 0 .. n-1,
///
///     dir = -1:  X[k] =       sum x[j] exp(-2 pi i j k / n)
///     dir = +1:  X[k] = (1/n) sum x[j] exp(+2 pi i j k / n)
///
/// so that -1 followed by +1 restores the matrix up to rounding. Direction +1 is the one scaled by 1/n, because -1 is
/// what most other software calls the forward transform, unscaled.
///
/// Only these lengths are transformed:
///
///     2, 4, 16, 32, 256, 512, 1024, 2048, 32768, 65536, ... 2^23, 2^25, 2^27, 2^29, 2^30
///
/// Lines, or columns, of any other length are left unchanged. That is not an error and is not reported; IsFFTLength
/// says so beforehand. The powers of two 8, 64, 128, 4096, 8192, 16384, 2^24, 2^26 and 2^28 are left out on every
/// system, for the reasons given in docs/fft.md: an 8 x 8 matrix is returned unchanged, and of 16 lines of 8 only the
/// columns are transformed.
/// Arithmetic is in double precision; the float variant rounds to float after the lines and after the columns. The
/// result is bit-identical for any number of threads and any vector registers of the processor.
///
/// The lines, then the columns, are split into one block per thread, the last block including the remainder. With fewer
/// lines (or columns) than threads, a single thread does them all, and only that one is started. A count above both 64
/// and the number of processors is reduced to the larger of the two. If the system refuses to start a thread, the
/// caller's thread does its block. All threads have ended on return.
///
/// @param m        no other thread may use it during the call
/// @param dir      +1 or -1
/// @param threads  number of threads; below 1: one for each processor
/// @return 1; 0 if there is no memory for the work (a few lines and columns for each thread), and m is then unchanged
ZELTRA_API int MT_FFT_Matr_F(AMatrix<std::complex<float>>& m, int dir, int threads);

/// The same for a matrix in double precision.
ZELTRA_API int MT_FFT_Matr_D(AMatrix<std::complex<double>>& m, int dir, int threads);

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_FFT_H_

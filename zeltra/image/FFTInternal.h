// The two-dimensional transform without the lengths that MT_FFT_Matr_D leaves out.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_FFTINTERNAL_H_
#define ZELTRA_IMAGE_FFTINTERNAL_H_

#include <complex>

#include "zeltra/core/AMatrix.h"
#include "zeltra/core/CancelFlag.h"

namespace zeltra {

/// As MT_FFT_Matr_D, but lines and columns of every power of two, from 2 up, are transformed.
/// @param cancel  a flag that ends the work early; the values are then undefined
int TransformPowersOfTwo(AMatrix<std::complex<double>>& m, int dir, int threads, const ACancelFlag* cancel = nullptr);

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_FFTINTERNAL_H_

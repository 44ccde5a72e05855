// The two-dimensional transform step by step, as plain as can be: MT_FFT_Matr_* must equal it bit for bit.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_PLAINFFT_H_
#define ZELTRA_TESTS_SUPPORT_PLAINFFT_H_

#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <thread>
#include <utility>
#include <vector>

#include "zeltra/core/AMatrix.h"

namespace zeltra {

inline int PlainFFTLine(std::complex<double>* x, int n, int dir) {
  if (n < 2) return 0;
  // In 80 bits and then rounded, the logarithm of each power of two below 2^31 is the correctly rounded one.
  const double logarithm = static_cast<double>(std::log(static_cast<long double>(n)));
  const int m = static_cast<int>(logarithm * 1.4426950408889634);
  if (int64_t{1} << m != n) return 0;

  const double s = dir >= 1 ? 1.0 / n : 1.0;
  for (int i = 0, j = 0; i < n; ++i) {
    if (i <= j) {
      std::swap(x[i], x[j]);
      x[i] = {x[i].real() * s, x[i].imag() * s};
      if (i != j) x[j] = {x[j].real() * s, x[j].imag() * s};
    }
    int bit = n / 2;
    while (j & bit) {
      j ^= bit;
      bit /= 2;
    }
    j |= bit;
  }

  for (int h = 1; h < n; h *= 2) {
    const double a = dir * std::numbers::pi / h;
    double angle = 0;
    for (int k = 0; k < h; ++k, angle += a) {
      const double c = std::cos(angle);
      const double d = std::sin(angle);
      for (int p = k; p < n; p += 2 * h) {
        const std::complex<double> y = x[p];
        const std::complex<double> z = x[p + h];
        // Written out: operator* of the standard library repairs infinities and costs a call.
        const std::complex<double> t(c * z.real() - d * z.imag(), c * z.imag() + d * z.real());
        x[p + h] = y - t;
        x[p] = y + t;
      }
    }
  }
  return 1;
}

/// Call work(first, last) for `threads` blocks of 0 .. count-1, each on a thread of its own.
template <typename Work>
void InBlocks(int count, int threads, Work work) {
  std::vector<std::thread> running;
  for (int k = 0; k < threads; ++k) {
    const int block = count / threads;
    running.emplace_back(work, k * block, k == threads - 1 ? count - 1 : k * block + block - 1);
  }
  for (std::thread& thread : running) thread.join();
}

template <typename Real>
void PlainFFT(AMatrix<std::complex<Real>>& m, int dir, int threads) {
  using Value = std::complex<Real>;
  const int lines = m.Lines();
  const int length = m.LineLength();
  InBlocks(lines, threads, [&](int first, int last) {
    std::vector<std::complex<double>> x(static_cast<size_t>(length));
    for (int i = first; i <= last; ++i) {
      for (int j = 0; j < length; ++j) x[static_cast<size_t>(j)] = m(i, j);
      PlainFFTLine(x.data(), length, dir);
      for (int j = 0; j < length; ++j) m(i, j) = Value(x[static_cast<size_t>(j)]);
    }
  });
  InBlocks(length, threads, [&](int first, int last) {
    std::vector<std::complex<double>> x(static_cast<size_t>(lines));
    for (int j = first; j <= last; ++j) {
      for (int i = 0; i < lines; ++i) x[static_cast<size_t>(i)] = m(i, j);
      PlainFFTLine(x.data(), lines, dir);
      for (int i = 0; i < lines; ++i) m(i, j) = Value(x[static_cast<size_t>(i)]);
    }
  });
}

}  // namespace zeltra

#endif  // ZELTRA_TESTS_SUPPORT_PLAINFFT_H_

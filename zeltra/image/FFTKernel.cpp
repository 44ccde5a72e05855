// SPDX-License-Identifier: MIT
#include "zeltra/image/FFTKernelInternal.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "zeltra/image/FFT.h"
#include "zeltra/platform/VectorsInternal.h"

// The textbook transform (bit reversal, then radix-2 butterflies with growing half-size h) does the same arithmetic on
// every line. Here each lane of a vector register holds a different line, so that each butterfly of the textbook
// becomes one of vectors, operation by operation: nothing is reassociated, fused or left out, and the result for a line
// has the same bits as the textbook's. That includes factors that look trivial: cos(pi/2) is 6e-17, and a product with
// 1 + 0i can turn -0 into 0.
//
// Speed comes only from the order of the memory accesses:
//   - lines are copied into a dense array of rows, one row for each position along the lines, and back once at the end;
//   - two stages are done while four rows are in registers;
//   - stages of up to kRowsInCache rows are completed for one stretch of rows, which stays in the L1 cache, before the
//     next.

namespace zeltra {
namespace {

using Complex = std::complex<double>;

/// 16 KiB of rows of Double4, half of a typical L1 cache.
constexpr int kRowsInCache = 256;

/// How many rows ahead memory is prefetched: neighbours in a column may be pages apart, which processors do not
/// predict.
constexpr int kRowsAhead = 8;

/// One value of each lane.
template <typename Vector>
struct Row {
  Vector re;
  Vector im;
};

template <typename Vector>
constexpr int kLanes = sizeof(Vector) / sizeof(double);

// Everything from here to TransformRows is forced inline, so that it is compiled for the instruction set of its caller.

ZELTRA_INLINE Double2 LoadPair(const std::complex<double>* from) {
  return Load<Double2>(from);
}

ZELTRA_INLINE Double2 LoadPair(const std::complex<float>* from) {
  return Convert<Double2>(Load<Float2>(from));
}

ZELTRA_INLINE void StorePair(std::complex<double>* to, const Double2& value) {
  Store(to, value);
}

ZELTRA_INLINE void StorePair(std::complex<float>* to, const Double2& value) {
  Store(to, Convert<Float2>(value));
}

template <typename Real>
ZELTRA_INLINE void LoadRow(std::complex<Real>* const* lane, std::ptrdiff_t at, Row<Double2>& row) {
  const Double2 a = LoadPair(lane[0] + at);
  const Double2 b = LoadPair(lane[1] + at);
  row.re = Shuffle<0, 2>(a, b);
  row.im = Shuffle<1, 3>(a, b);
}

template <typename Real>
ZELTRA_INLINE void LoadRow(std::complex<Real>* const* lane, std::ptrdiff_t at, Row<Double4>& row) {
  const Double4 a = Shuffle<0, 1, 2, 3>(LoadPair(lane[0] + at), LoadPair(lane[2] + at));
  const Double4 b = Shuffle<0, 1, 2, 3>(LoadPair(lane[1] + at), LoadPair(lane[3] + at));
  row.re = Shuffle<0, 4, 2, 6>(a, b);
  row.im = Shuffle<1, 5, 3, 7>(a, b);
}

template <typename Real>
ZELTRA_INLINE void StoreRow(std::complex<Real>* const* lane, std::ptrdiff_t at, const Row<Double2>& row) {
  StorePair(lane[0] + at, Shuffle<0, 2>(row.re, row.im));
  StorePair(lane[1] + at, Shuffle<1, 3>(row.re, row.im));
}

template <typename Real>
ZELTRA_INLINE void StoreRow(std::complex<Real>* const* lane, std::ptrdiff_t at, const Row<Double4>& row) {
  const Double4 a = Shuffle<0, 4, 2, 6>(row.re, row.im);
  const Double4 b = Shuffle<1, 5, 3, 7>(row.re, row.im);
  StorePair(lane[0] + at, Shuffle<0, 1>(a, a));
  StorePair(lane[1] + at, Shuffle<0, 1>(b, b));
  StorePair(lane[2] + at, Shuffle<2, 3>(a, a));
  StorePair(lane[3] + at, Shuffle<2, 3>(b, b));
}

/// a, b := a + w b, a - w b
template <typename Vector>
ZELTRA_INLINE void Butterfly(Row<Vector>& a, Row<Vector>& b, const Complex& w) {
  const Vector re = w.real() * b.re - w.imag() * b.im;
  const Vector im = w.real() * b.im + w.imag() * b.re;
  b.re = a.re - re;
  b.im = a.im - im;
  a.re = a.re + re;
  a.im = a.im + im;
}

/// The stage of half-size h on rows x[0 .. n-1].
template <typename Vector>
ZELTRA_INLINE void OneStage(Row<Vector>* x, int n, int h, const Complex* twiddles) {
  const Complex* const w = twiddles + (h - 1);
  for (int p = 0; p < n; p += 2 * h) {
    for (int k = 0; k < h; ++k) Butterfly(x[p + k], x[p + k + h], w[k]);
  }
}

/// The stages of half-size h and 2h on rows x[0 .. n-1].
template <typename Vector>
ZELTRA_INLINE void TwoStages(Row<Vector>* x, int n, int h, const Complex* twiddles) {
  const Complex* const w1 = twiddles + (h - 1);
  const Complex* const w2 = twiddles + (2 * h - 1);
  for (int p = 0; p < n; p += 4 * h) {
    for (int k = 0; k < h; ++k) {
      Row<Vector>* const y = x + p + k;
      Row<Vector> a = y[0];
      Row<Vector> b = y[h];
      Row<Vector> c = y[2 * h];
      Row<Vector> d = y[3 * h];
      Butterfly(a, b, w1[k]);
      Butterfly(c, d, w1[k]);
      Butterfly(a, c, w2[k]);
      Butterfly(b, d, w2[k + h]);
      y[0] = a;
      y[h] = b;
      y[2 * h] = c;
      y[3 * h] = d;
    }
  }
}

/// The stages of half-size h, 2h, ... below n on rows x[0 .. n-1].
template <typename Vector>
ZELTRA_INLINE void Stages(Row<Vector>* x, int n, int h, const Complex* twiddles) {
  for (; h <= n / 4; h *= 4) TwoStages(x, n, h, twiddles);
  if (h < n) OneStage(x, n, h, twiddles);
}

/// Add 1 to a number whose bits are read in reverse, the bit n / 2 being the lowest.
inline int NextReversed(int j, int n) {
  int bit = n / 2;
  for (; j & bit; bit /= 2) j ^= bit;
  return j | bit;
}

template <typename Vector, typename Real>
ZELTRA_INLINE void TransformRows(const FFTLanes<Real>& lines, int n, double scale, const Complex* twiddles,
                                 void* work) {
  constexpr int kWidth = kLanes<Vector>;
  const int groups = (lines.lanes + kWidth - 1) / kWidth;
  // Unused lanes repeat the last line: they compute and store the same values as its own lane.
  std::complex<Real>* lane[kMostFFTLanes];
  for (int l = 0; l < groups * kWidth; ++l) {
    lane[l] = lines.first + std::min(l, lines.lanes - 1) * lines.laneStep;
  }
  Row<Vector>* const x = static_cast<Row<Vector>*>(work);

  for (int i = 0, j = 0; i < n; ++i, j = NextReversed(j, n)) {
    const std::ptrdiff_t ahead = std::min(i + kRowsAhead, n - 1) * lines.step;
    for (int g = 0; g < groups; ++g) {
      Prefetch(lane[g * kWidth] + ahead);
      Row<Vector> row;
      LoadRow(lane + g * kWidth, i * lines.step, row);
      Row<Vector>& to = x[std::ptrdiff_t{g} * n + j];
      to.re = row.re * scale;
      to.im = row.im * scale;
    }
  }
  const int stretch = std::min(n, kRowsInCache);
  for (int g = 0; g < groups; ++g) {
    Row<Vector>* const y = x + std::ptrdiff_t{g} * n;
    for (int p = 0; p < n; p += stretch) Stages(y + p, stretch, 1, twiddles);
    Stages(y, n, stretch, twiddles);
  }
  for (int i = 0; i < n; ++i) {
    for (int g = 0; g < groups; ++g) StoreRow(lane + g * kWidth, i * lines.step, x[std::ptrdiff_t{g} * n + i]);
  }
}

#if defined(__x86_64__) && !defined(ZELTRA_PLAIN_VECTORS)
template <typename Real>
[[gnu::target("avx2")]] void TransformRowsAVX2(const FFTLanes<Real>& lines, int n, double scale,
                                               const Complex* twiddles, void* work) {
  TransformRows<Double4>(lines, n, scale, twiddles, work);
}
#endif

}  // namespace

bool IsFFTLength(int n) {
  // A length n passes if it is 2^m for m = ln(n) x 1.4426950408889634, in double precision and truncated to an integer.
  // With a correctly rounded logarithm the product falls just below the integer for these m. C libraries round
  // logarithms differently, so the outcome is tabulated here and does not depend on a library.
  constexpr uint32_t kFailing =
      1u << 3 | 1u << 6 | 1u << 7 | 1u << 12 | 1u << 13 | 1u << 14 | 1u << 24 | 1u << 26 | 1u << 28;
  if (n < 2 || !std::has_single_bit(static_cast<uint32_t>(n))) return false;
  return !(kFailing >> std::countr_zero(static_cast<uint32_t>(n)) & 1);
}

std::vector<std::complex<double>> FFTTwiddles(int n, int dir) {
  std::vector<Complex> twiddles;
  twiddles.reserve(static_cast<size_t>(n));
  for (int h = 1; h <= n / 2; h *= 2) {
    const double step = dir * std::numbers::pi / h;
    double angle = 0;  // by repeated addition, whose rounding is part of the result
    for (int k = 0; k < h; ++k, angle += step) twiddles.emplace_back(std::cos(angle), std::sin(angle));
  }
  return twiddles;
}

std::size_t FFTWorkBytes(int n, int lanes) {
  const unsigned wholeGroups = std::bit_ceil(static_cast<unsigned>(std::max(lanes, kLanes<Double2>)));
  return static_cast<size_t>(n) * wholeGroups * sizeof(Complex);
}

template <typename Real>
void TransformLanes(const FFTLanes<Real>& lines, int n, double scale, const std::complex<double>* twiddles,
                    void* work) {
#if defined(__x86_64__) && !defined(ZELTRA_PLAIN_VECTORS)
  if (lines.lanes > kLanes<Double2> && __builtin_cpu_supports("avx2")) {
    TransformRowsAVX2(lines, n, scale, twiddles, work);
    return;
  }
#endif
  TransformRows<Double2>(lines, n, scale, twiddles, work);
}

template void TransformLanes(const FFTLanes<float>&, int, double, const std::complex<double>*, void*);
template void TransformLanes(const FFTLanes<double>&, int, double, const std::complex<double>*, void*);

}  // namespace zeltra

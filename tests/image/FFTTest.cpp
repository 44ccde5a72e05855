// SPDX-License-Identifier: MIT
#include "zeltra/image/FFT.h"

#include <complex>
#include <random>

#include "tests/support/PlainFFT.h"
#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

int Transform(AMatrix<std::complex<float>>& m, int dir, int threads) {
  return MT_FFT_Matr_F(m, dir, threads);
}
int Transform(AMatrix<std::complex<double>>& m, int dir, int threads) {
  return MT_FFT_Matr_D(m, dir, threads);
}

size_t Count(int lines, int length) {
  return static_cast<size_t>(lines) * static_cast<size_t>(length);
}

/// Values within +-1, and among them zeros of both signs and subnormals.
template <typename Real>
AMatrix<std::complex<Real>> Noise(int lines, int length) {
  const Real special[] = {0, -Real{0}, std::numeric_limits<Real>::denorm_min(), -std::numeric_limits<Real>::min() / 2};
  AMatrix<std::complex<Real>> m(lines, length);
  std::minstd_rand random(7);
  const auto next = [&] {
    const auto r = random();
    return r % 16 == 0 ? special[r / 16 % 4] : static_cast<Real>(r) / Real{1 << 30} - 1;
  };
  for (size_t i = 0; i < Count(lines, length); ++i) {
    const Real re = next();
    m.lpArray()[i] = {re, next()};
  }
  return m;
}

template <typename Real>
bool SameBits(const AMatrix<std::complex<Real>>& a, const AMatrix<std::complex<Real>>& b) {
  return std::memcmp(a.lpArray(), b.lpArray(), Count(a.Lines(), a.LineLength()) * sizeof(std::complex<Real>)) == 0;
}

template <typename Real>
void ExpectPlainBits(int lines, int length, std::initializer_list<int> threadCounts) {
  for (const int dir : {-1, 1}) {
    const AMatrix<std::complex<Real>> input = Noise<Real>(lines, length);
    AMatrix<std::complex<Real>> expected = input;
    PlainFFT(expected, dir, 2);
    for (const int threads : threadCounts) {
      AMatrix<std::complex<Real>> m = input;
      ASSERT_TRUE(Transform(m, dir, threads));
      ASSERT_TRUE(SameBits(m, expected)) << lines << " x " << length << ", direction " << dir << ", " << threads
                                         << " threads, " << sizeof(Real) << " bytes";
    }
  }
}

void ExpectPlainBits(int lines, int length, std::initializer_list<int> threadCounts) {
  ExpectPlainBits<float>(lines, length, threadCounts);
  ExpectPlainBits<double>(lines, length, threadCounts);
}

TEST(FFTBits, EqualThePlainStepsInLinesColumnsAndSquares) {
  for (int n = 1; n <= 65536; n *= 2) {
    ExpectPlainBits(1, n, {1});
    ExpectPlainBits(n, 1, {2});
    if (n <= 512) ExpectPlainBits(n, n, {2});
  }
}

TEST(FFTBits, EqualThePlainStepsForEveryShapeAndThreadCount) {
  // Widths and heights of every remainder that vectors and cache lines can leave.
  for (int n = 2; n <= 18; ++n) {
    ExpectPlainBits(n, 32, {1, 3});
    ExpectPlainBits(16, n, {1, 3});
  }
  ExpectPlainBits(16, 32, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
  ExpectPlainBits(512, 37, {1, 2, 7, 16});
  ExpectPlainBits(100, 2048, {1, 7});
  ExpectPlainBits(32768, 5, {2});
}

TEST(FFTLengths, ThoseThatTheLogarithmMissesStayAsTheyAre) {
  const auto lastOfAnImpulse = [](int n) {
    AMatrix<std::complex<float>> m(1, n);
    m(0, 0) = 1;
    EXPECT_TRUE(MT_FFT_Matr_F(m, -1, 1));
    EXPECT_EQ(m(0, 0), 1.0f) << n;
    return m(0, n - 1);
  };
  for (const int n : {3, 6, 8, 12, 64, 100, 128, 1000, 4096, 8192, 16384, 16777216}) {
    EXPECT_EQ(lastOfAnImpulse(n), 0.0f) << n;
  }
  for (const int n : {1, 2, 4, 16, 32, 256, 512, 1024, 2048, 32768, 65536, 131072, 1048576}) {
    EXPECT_EQ(lastOfAnImpulse(n), 1.0f) << n;
  }
}

TEST(FFTValues, AWaveBecomesAPeakOnTheSideOfItsSign) {
  // exp(+2 pi i (5 y / 16 + 3 x / 32)) has its peak at (5, 3) if the exponent is negative, at (-5, -3) if positive.
  for (const int dir : {-1, 1}) {
    AMatrix<std::complex<float>> m(16, 32);
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 32; ++x) {
        m(y, x) = std::complex<float>(std::polar(1.0, 2 * std::numbers::pi * (5 * y / 16.0 + 3 * x / 32.0)));
      }
    }
    ASSERT_TRUE(MT_FFT_Matr_F(m, dir, 2));
    const float peak = dir < 0 ? 512 : 1;
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 32; ++x) {
        const bool atPeak = dir < 0 ? y == 5 && x == 3 : y == 11 && x == 29;
        // 512 values, each off by half a float's spacing at most, and as much again for the rounding after the lines.
        EXPECT_LT(std::abs(m(y, x) - (atPeak ? peak : 0)), peak * 1.2e-7f) << y << ", " << x;
      }
    }
  }
}

TEST(FFTThreads, AnyCountGivesTheSameBits) {
  const AMatrix<std::complex<double>> input = Noise<double>(512, 256);
  AMatrix<std::complex<double>> expected = input;
  PlainFFT(expected, -1, 1);
  for (const int threads : {INT_MIN, -1, 0, 63, 64, 65, 300, 100000, INT_MAX}) {
    AMatrix<std::complex<double>> m = input;
    ASSERT_TRUE(MT_FFT_Matr_D(m, -1, threads));
    EXPECT_TRUE(SameBits(m, expected)) << threads;
  }
}

TEST(FFTLimits, AnEmptyMatrixAndValuesThatAreNotFiniteAreTaken) {
  AMatrix<std::complex<double>> empty;
  EXPECT_TRUE(MT_FFT_Matr_D(empty, -1, 4));
  AMatrix<std::complex<float>> m = Noise<float>(16, 32);
  m(3, 4) = std::numeric_limits<float>::quiet_NaN();
  m(5, 6) = std::numeric_limits<float>::infinity();
  m(7, 8) = std::numeric_limits<float>::max();
  EXPECT_TRUE(MT_FFT_Matr_F(m, -1, 2));
  for (int i = 0; i < 16 * 32; ++i) EXPECT_TRUE(std::isnan(m.lpArray()[i].real())) << i;
}

}  // namespace
}  // namespace zeltra::test

// Times the two-dimensional transform, its plain steps and, if installed, FFTW, all in one run.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <complex>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

#include "bench/BenchSupport.h"
#include "tests/support/PlainFFT.h"
#include "zeltra/image/FFT.h"

#ifdef ZELTRA_BENCH_FFTW
#include <fftw3.h>
#endif

namespace zeltra {
namespace {

using Matrix = AMatrix<std::complex<double>>;

/// The shortest of several runs: what the machine can do when otherwise idle.
class Timer {
 public:
  template <typename Work>
  void Run(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
    shortest_ = std::min(shortest_, taken.count());
  }
  double Milliseconds() const { return shortest_; }

 private:
  double shortest_ = std::numeric_limits<double>::max();
};

size_t Count(int n) {
  return static_cast<size_t>(n) * static_cast<size_t>(n);
}

Matrix Noise(int n) {
  Matrix m(n, n);
  std::mt19937 random(1);
  std::uniform_real_distribution<double> uniform(-1, 1);
  for (size_t i = 0; i < Count(n); ++i) m.lpArray()[i] = {uniform(random), uniform(random)};
  return m;
}

#ifdef ZELTRA_BENCH_FFTW
/// FFTW in place, planned in advance.
class Fftw {
 public:
  Fftw(int n, int threads) : n_(n), data_(fftw_alloc_complex(Count(n))) {
    fftw_plan_with_nthreads(threads);
    plan_ = fftw_plan_dft_2d(n, n, data_, data_, FFTW_FORWARD, FFTW_MEASURE);
  }
  Fftw(const Fftw&) = delete;
  Fftw& operator=(const Fftw&) = delete;
  ~Fftw() {
    fftw_destroy_plan(plan_);
    fftw_free(data_);
  }
  void Take(const Matrix& m) { std::memcpy(data_, m.lpArray(), Count(n_) * sizeof(fftw_complex)); }
  void Run() { fftw_execute(plan_); }

 private:
  int n_;
  fftw_complex* data_;
  fftw_plan plan_;
};
#endif

/// One line of the table. @return the time of MT_FFT_Matr_D, in milliseconds
double Compare(int n, int threads, double oneThread) {
  const Matrix input = Noise(n);
  Matrix doubles = input;
  Matrix plain = input;
  AMatrix<std::complex<float>> floats(n, n);
  Timer ours, single, steps;
#ifdef ZELTRA_BENCH_FFTW
  Fftw fftw(n, threads);
  Timer other;
#endif
  for (int run = 0; run < 16; ++run) {
    doubles = input;
    ours.Run([&] { MT_FFT_Matr_D(doubles, -1, threads); });
#ifdef ZELTRA_BENCH_FFTW
    fftw.Take(input);
    other.Run([&] { fftw.Run(); });
#endif
    std::copy_n(input.lpArray(), Count(n), floats.lpArray());
    single.Run([&] { MT_FFT_Matr_F(floats, -1, threads); });
    if (run % 4 == 0) {
      plain = input;
      steps.Run([&] { PlainFFT(plain, -1, threads); });
    }
  }
  const double time = ours.Milliseconds();
  std::printf("%5d %7d %9.2f %9.2f %9.2f %12.2f", n, threads, time, single.Milliseconds(), steps.Milliseconds(),
              steps.Milliseconds() / time);
#ifdef ZELTRA_BENCH_FFTW
  std::printf(" %9.2f %10.2f", other.Milliseconds(), time / other.Milliseconds());
#endif
  if (oneThread > 0) std::printf(" %8.2f", oneThread / time);
  std::printf("\n");
  return time;
}

void Run() {
  bench::TouchMemory(2);
#ifdef ZELTRA_BENCH_FFTW
  fftw_init_threads();
  std::printf("    n threads double ms  float ms  plain ms plain/double   FFTW ms double/FFTW 1 thread/2\n");
#else
  std::printf("    n threads double ms  float ms  plain ms plain/double 1 thread/2\n");
#endif
  for (const int n : {512, 1024, 2048}) {
    const double oneThread = Compare(n, 1, 0);
    Compare(n, 2, oneThread);
  }
}

}  // namespace
}  // namespace zeltra

int main() {
  zeltra::Run();
  return 0;
}

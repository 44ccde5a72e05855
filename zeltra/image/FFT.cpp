// SPDX-License-Identifier: MIT
#include "zeltra/image/FFT.h"

#include <algorithm>
#include <bit>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "zeltra/core/AArray.h"
#include "zeltra/core/AObjArray.h"
#include "zeltra/image/FFTInternal.h"
#include "zeltra/image/FFTKernelInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

/// No more threads than this, or than there are processors: each takes memory, and further ones save no time.
constexpr int kMostThreads = 64;

/// The distance between lines is usually a large power of two, so that their values compete for the same few places of
/// the L1 cache: four lines at a time still fit.
constexpr int kLinesAtOnce = 4;

/// Columns are read a cache line of floats, or two of doubles, at a time.
constexpr int kColumnsAtOnce = kMostFFTLanes;

struct alignas(64) CacheLine {
  std::byte bytes[64];
};

/// Set once by one thread, waited for by another.
class CEvent {
 public:
  void Set() {
    const std::lock_guard lock(mutex_);
    set_ = true;
    changed_.notify_one();
  }

  void Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return set_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool set_ = false;
};

/// What one thread is to do: lines (or columns) `first` to `last`, both included.
template <typename T>
struct WorkRecord {
  using Real = T;

  AMatrix<std::complex<T>>* matrix;
  int32_t first;
  int32_t last;
  int32_t direction;
  CEvent* done;
};

using AMT_FFT_Matr_Data_F = WorkRecord<float>;
using AMT_FFT_Matr_Data_D = WorkRecord<double>;

/// Where the lines of a pass lie; a column is a line whose values are `step` elements apart.
struct Shape {
  int count;
  int length;
  std::ptrdiff_t step;
  std::ptrdiff_t lineStep;
  int atOnce;
  bool isTransformed;  ///< whether lines of this length are transformed
};

/// The transform of all lines, or of all columns. The constructor takes all the memory.
template <typename Record>
class Pass {
 public:
  using Real = typename Record::Real;
  using Matrix = AMatrix<std::complex<Real>>;

  Pass(Matrix& m, const Shape& shape, int dir, int threads, const ACancelFlag* cancel);

  void Run();

 private:
  static int Workers(const Shape& shape, int threads);
  void Work(int k) const;

  Shape shape_;
  const ACancelFlag* cancel_;
  AArray<Record> records_;
  AObjArray<CEvent> events_;
  std::vector<std::thread> threads_;
  std::vector<std::complex<double>> twiddles_;
  size_t workSize_ = 0;  ///< cache lines for one thread
  std::unique_ptr<CacheLine[]> work_;
};

template <typename Record>
int Pass<Record>::Workers(const Shape& shape, int threads) {
  if (!shape.isTransformed) return 0;
  // With fewer lines than threads the last thread would get all of them and the others none: only that one is started.
  return shape.count < threads ? 1 : threads;
}

template <typename Record>
Pass<Record>::Pass(Matrix& m, const Shape& shape, int dir, int threads, const ACancelFlag* cancel)
    : shape_(shape), cancel_(cancel), records_(Workers(shape, threads), 0, 0), events_(records_.count(), 0, 0) {
  const int workers = records_.count();
  if (workers == 0) return;
  const int block = shape.count / workers;
  for (int k = 0; k < workers; ++k) {
    const int last = k == workers - 1 ? shape.count - 1 : (k + 1) * block - 1;
    records_(k) = {&m, k * block, last, dir, &events_(k)};
  }
  threads_.reserve(static_cast<size_t>(workers));
  twiddles_ = FFTTwiddles(shape.length, dir);
  const int longest = shape.count - (workers - 1) * block;
  workSize_ = FFTWorkBytes(shape.length, std::min(longest, shape.atOnce)) / sizeof(CacheLine);
  work_ = std::make_unique_for_overwrite<CacheLine[]>(workSize_ * static_cast<size_t>(workers));
}

/// Start every thread, then wait for every event.
template <typename Record>
void Pass<Record>::Run() {
  for (int k = 0; k < records_.count(); ++k) {
    try {
      threads_.emplace_back([this, k] { Work(k); });
    } catch (const std::exception&) {
      Work(k);  // the system has no thread left
    }
  }
  for (int k = 0; k < records_.count(); ++k) events_(k).Wait();
  // All the work is done, but a thread may still be returning from Set(), and the event must outlive that call.
  for (std::thread& thread : threads_) thread.join();
}

template <typename Record>
void Pass<Record>::Work(int k) const {
  const Record& record = records_(k);
  const double scale = record.direction >= 1 ? 1.0 / shape_.length : 1.0;
  void* const work = work_.get() + workSize_ * static_cast<size_t>(k);
  int lanes = 0;
  for (int i = record.first; i <= record.last && !IsSet(cancel_); i += lanes) {
    FFTLanes<Real> lines{record.matrix->lpArray() + i * shape_.lineStep, shape_.step, shape_.lineStep, 0};
    lanes = std::min(shape_.atOnce, record.last - i + 1);
    if (shape_.lineStep == 1) {
      // Later groups of columns begin where a cache line does, so that no cache line is read for two groups.
      const size_t intoCacheLine = reinterpret_cast<uintptr_t>(lines.first) % sizeof(CacheLine);
      lanes = std::min(lanes, shape_.atOnce - static_cast<int>(intoCacheLine / sizeof *lines.first));
    }
    lines.lanes = lanes;
    TransformLanes(lines, shape_.length, scale, twiddles_.data(), work);
  }
  record.done->Set();
}

bool IsPowerOfTwo(int n) {
  return n >= 2 && std::has_single_bit(static_cast<uint32_t>(n));
}

/// @param takes  tells which lengths are transformed; all of them are powers of two
template <typename Record>
int Transform(typename Pass<Record>::Matrix& m, int dir, int threads, bool (*takes)(int), const ACancelFlag* cancel) {
  const int lines = m.Lines();
  const int columns = m.LineLength();
  const int processors = ProcessorCount();
  threads = threads < 1 ? processors : std::min(threads, std::max(processors, kMostThreads));
  try {
    Pass<Record> linePass(m, {lines, columns, 1, columns, kLinesAtOnce, takes(columns)}, dir, threads, cancel);
    Pass<Record> columnPass(m, {columns, lines, columns, 1, kColumnsAtOnce, takes(lines)}, dir, threads, cancel);
    linePass.Run();
    columnPass.Run();
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return 1;
}

}  // namespace

int MT_FFT_Matr_F(AMatrix<std::complex<float>>& m, int dir, int threads) {
  return Transform<AMT_FFT_Matr_Data_F>(m, dir, threads, IsFFTLength, nullptr);
}

int MT_FFT_Matr_D(AMatrix<std::complex<double>>& m, int dir, int threads) {
  return Transform<AMT_FFT_Matr_Data_D>(m, dir, threads, IsFFTLength, nullptr);
}

int TransformPowersOfTwo(AMatrix<std::complex<double>>& m, int dir, int threads, const ACancelFlag* cancel) {
  return Transform<AMT_FFT_Matr_Data_D>(m, dir, threads, IsPowerOfTwo, cancel);
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <cmath>

#include "zeltra/core/Units.h"
#include "zeltra/image/FFTInternal.h"
#include "zeltra/image/UVGridInternal.h"

namespace zeltra {
namespace {

constexpr double kHalfWidth = GriddingKernel::kWidth / 2.0;

// Beatty et al. 2005, eq. 5, with an oversampling of 2: pi sqrt((W / 2)^2 (2 - 1 / 2)^2 - 0.8).
const double kBeta = kPi * std::sqrt(kHalfWidth * kHalfWidth * 2.25 - 0.8);

}  // namespace

GriddingKernel::GriddingKernel() : table_((kSteps + 1) * kWidth) {
  const double atCenter = std::cyl_bessel_i(0.0, kBeta);
  for (size_t i = 0; i < table_.size(); ++i) {
    const double distance = static_cast<double>(i / kWidth) / kSteps + static_cast<double>(i % kWidth) - kHalfWidth;
    const double part = distance / kHalfWidth;
    table_[i] = std::fabs(part) < 1.0 ? std::cyl_bessel_i(0.0, kBeta * std::sqrt(1.0 - part * part)) / atCenter : 0.0;
  }
}

int GriddingKernel::Weigh(double place, double* weights) const {
  const double first = std::ceil(place - kHalfWidth);
  const double step = (first - (place - kHalfWidth)) * kSteps;
  const auto i = static_cast<size_t>(step);
  const double* row = table_.data() + i * kWidth;
  for (int k = 0; k < kWidth; ++k) weights[k] = row[k] + (step - static_cast<double>(i)) * (row[k + kWidth] - row[k]);
  return static_cast<int>(first);
}

double GriddingKernel::Transform(double frequency) {
  const double phase = kPi * kWidth * frequency;
  const double root = std::sqrt(kBeta * kBeta - phase * phase);  // real up to 0.7 cycles per cell
  return kWidth * std::sinh(root) / root / std::cyl_bessel_i(0.0, kBeta);
}

const GriddingKernel& UVGrid::Kernel() {
  static const GriddingKernel kernel;
  return kernel;
}

int UVGrid::HalfLength(int size) {
  return static_cast<int>(std::bit_ceil(static_cast<unsigned>(size)));
}

int64 UVGrid::Bytes(int size) {
  const int64 half = HalfLength(size);
  return 4 * half * half * static_cast<int64>(sizeof(std::complex<double>));
}

int UVGrid::Create(int size, double cell) {
  size_ = size;
  half_ = HalfLength(size);
  cellsPerWavelength_ = 2 * half_ * cell;
  sumOfWeights_ = 0;
  for (auto& line : parts_) {
    for (auto& part : line) {
      if (!part.reSize(half_, half_)) return 0;
    }
  }
  return 1;
}

void UVGrid::Clear() {
  for (auto& line : parts_) {
    for (auto& part : line) std::fill(part.Line(0), part.Line(part.Lines()), 0.0);
  }
  sumOfWeights_ = 0;
}

int UVGrid::Create(const UVGrid& other) {
  *this = other;
  for (const auto& line : parts_) {
    for (const auto& part : line) {
      if (part.Lines() != half_) return 0;
    }
  }
  return 1;
}

double UVGrid::Extent(int size, double cell) {
  const int half = HalfLength(size);
  return (half - kHalfWidth) / (2 * half * cell);
}

void UVGrid::Add(double u, double v, std::complex<double> value, double weight) {
  Put(u, v, value, {0.0, 1.0}, weight);
  sumOfWeights_ += weight;
}

void UVGrid::AddToSky(double u, double v, std::complex<double> value, double weight) {
  Put(u, v, value, 0.0, weight);
}

// @param beam  the visibility of the beam, in the imaginary part of the image
void UVGrid::Put(double u, double v, std::complex<double> value, std::complex<double> beam, double weight) {
  // The image is formed with exp(-2 pi i (u l + v m)), as in the transform, and east is at low element numbers.
  const double column = -u * cellsPerWavelength_;
  const double line = v * cellsPerWavelength_;
  const std::complex<double> there = weight * (value + beam), opposite = weight * (std::conj(value) + beam);
  Spread(column, line, there.real(), there.imag());
  Spread(-column, -line, opposite.real(), opposite.imag());
}

void UVGrid::Add(const UVGrid& other) {
  for (int part = 0; part < 4; ++part) {
    AMatrix<std::complex<double>>& sums = parts_[part / 2][part % 2];
    const std::complex<double>* added = other.parts_[part / 2][part % 2].Line(0);
    for (std::complex<double>* sum = sums.Line(0); sum < sums.Line(half_); ++sum, ++added) *sum += *added;
  }
  sumOfWeights_ += other.sumOfWeights_;
}

int UVGrid::Store(AFile& f) const {
  for (int part = 0; part < 4 && half_ > 0; ++part) {
    if (!parts_[part / 2][part % 2].Store(f)) return 0;
  }
  return WriteWhole(f, &sumOfWeights_, sizeof sumOfWeights_);
}

int UVGrid::Load(AFile& f) {
  for (int part = 0; part < 4 && half_ > 0; ++part) {
    AMatrix<std::complex<double>>& cells = parts_[part / 2][part % 2];
    if (!cells.Load(f) || cells.Lines() != half_ || cells.LineLength() != half_) return 0;
  }
  return ReadWhole(f, &sumOfWeights_, sizeof sumOfWeights_);
}

// The parts of the value are passed apart: as one argument they go through memory, and the first use waits for that.
void UVGrid::Spread(double column, double line, double real, double imaginary) {
  constexpr int kWidth = GriddingKernel::kWidth;
  double across[kWidth], down[kWidth];
  const int firstColumn = kernel_->Weigh(column, across), firstLine = kernel_->Weigh(line, down);
  const int wrap = 2 * half_ - 1;  // a mask for a power of two; negative places wrap into the upper half
  const int x = firstColumn & wrap, odd = x & 1;
  for (int i = 0; i < kWidth; ++i) {
    const int y = (firstLine + i) & wrap;
    const std::complex<double> share(down[i] * real, down[i] * imaginary);
    std::complex<double>* const cells[2] = {parts_[y & 1][0].Line(y / 2), parts_[y & 1][1].Line(y / 2)};
    if (x + kWidth > wrap) {
      for (int k = 0; k < kWidth; ++k) cells[(x + k) & 1][((x + k) & wrap) / 2] += across[k] * share;
      continue;
    }
    // Every other column belongs to the same grid, side by side.
    std::complex<double>* const same = cells[odd] + x / 2;
    std::complex<double>* const next = cells[1 - odd] + (x + 1) / 2;
    for (int k = 0; k < kWidth / 2; ++k) {
      same[k] += across[2 * k] * share;
      next[k] += across[2 * k + 1] * share;
    }
  }
}

int UVGrid::Transform(AMatrix<float>& map, AMatrix<float>& beam, int threads, const ACancelFlag* cancel) {
  if (!map.reSize(size_, size_) || !beam.reSize(size_, size_)) return 0;
  for (auto& line : parts_) {
    for (auto& part : line) {
      if (!TransformPowersOfTwo(part, -1, threads, cancel)) return 0;
    }
  }
  const int center = size_ / 2;
  const auto place = [&](int k) { return (k - center) & (half_ - 1); };  // index of pixel k in the transforms
  std::vector<double> correction(static_cast<size_t>(size_));
  std::vector<std::complex<double>> twiddle(correction.size());  // for odd lines and columns
  for (int k = 0; k < size_; ++k) {
    const double frequency = (k - center) / (2.0 * half_);
    correction[static_cast<size_t>(k)] = 1 / GriddingKernel::Transform(frequency);
    twiddle[static_cast<size_t>(k)] = std::polar(1.0, -2 * kPi * frequency);
  }
  for (int i = 0; i < size_ && !IsSet(cancel); ++i) {
    const int y = place(i);
    const std::complex<double> odd = twiddle[static_cast<size_t>(i)];
    const double scale = correction[static_cast<size_t>(i)] / (2 * sumOfWeights_);
    for (int j = 0; j < size_; ++j) {
      const int x = place(j);
      const std::complex<double> sum =
          parts_[0][0](y, x) + odd * parts_[1][0](y, x) +
          twiddle[static_cast<size_t>(j)] * (parts_[0][1](y, x) + odd * parts_[1][1](y, x));
      const std::complex<double> pixel = scale * correction[static_cast<size_t>(j)] * sum;
      map(i, j) = static_cast<float>(pixel.real());
      beam(i, j) = static_cast<float>(pixel.imag());
    }
  }
  return 1;
}

}  // namespace zeltra

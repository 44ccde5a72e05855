// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXComplex.h"

#include <algorithm>
#include <bit>

#include "zeltra/fits/AFITS.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

/// Floats of four complexes: three whole vectors of four, so that each place always holds the same kind of value.
constexpr int kLanes = 12;
/// Complexes looked at together: few, so that a NaN slows down its neighbours only.
constexpr int kBlock = 256;

void CheckOneByOne(const AUVXComplex* values, int count, TMnMx* ranges) {
  for (int i = 0; i < count; ++i) {
    ranges[0].check(values[i].re);
    ranges[1].check(values[i].im);
    ranges[2].check(values[i].weight);
  }
}

/// Extremes of re, im and weight of a whole block. @return false if a NaN is among the values
bool BlockExtremes(const AUVXComplex* values, float (&low)[3], float (&high)[3]) {
  const float* x = &values->re;
  float lows[kLanes], highs[kLanes];
  int unordered[kLanes] = {};
  std::copy_n(x, kLanes, lows);
  std::copy_n(x, kLanes, highs);
  for (int i = 0; i < kBlock * 3; i += kLanes) {
    for (int lane = 0; lane < kLanes; ++lane) {
      lows[lane] = x[i + lane] < lows[lane] ? x[i + lane] : lows[lane];
      highs[lane] = x[i + lane] > highs[lane] ? x[i + lane] : highs[lane];
      unordered[lane] |= x[i + lane] != x[i + lane];
    }
  }
  for (int lane = 0; lane < kLanes; ++lane) {
    if (unordered[lane]) return false;
    low[lane % 3] = lane < 3 ? lows[lane] : std::min(low[lane % 3], lows[lane]);
    high[lane % 3] = lane < 3 ? highs[lane] : std::max(high[lane % 3], highs[lane]);
  }
  return true;
}

/// Whether one range and the extremes of a block could give another result than the block's values one by one: zeros of
/// both signs are equal, so that the first one would stay, and a range that is NaN depends on what comes last.
bool OrderMatters(const TMnMx& range, float low, float high) {
  return std::isnan(range.minimum) || std::isnan(range.maximum) || (low == 0 && range.minimum > 0) ||
         (high == 0 && range.maximum < 0);
}

/// Value `i` of an array of FITS numbers of type T.
template <typename T>
double ValueAt(const char* raw, int64 i) {
  T value;
  raw += i * static_cast<int64>(sizeof value);
  if constexpr (sizeof value == 1) std::memcpy(&value, raw, 1);
  if constexpr (sizeof value == 2) Swap16(&value, raw, 1);
  if constexpr (sizeof value == 4) Swap32(&value, raw, 1);
  if constexpr (sizeof value == 8) Swap64(&value, raw, 1);
  return static_cast<double>(value);
}

template <typename T>
void DecodeScaled(const char* raw, double scale, double zero, AUVXComplex* values, int64 count) {
  for (int64 i = 0; i < count; ++i) {
    values[i] = AUVXComplex(ValueAt<T>(raw, 3 * i) * scale + zero, ValueAt<T>(raw, 3 * i + 1) * scale + zero,
                            ValueAt<T>(raw, 3 * i + 2) * scale + zero);
  }
}

}  // namespace

AUVXComplex::AUVXComplex(AFITS& fits) : AUVXComplex(0, 0, 0) {
  char raw[3 * sizeof(double)];
  const int64 bytes = fits.main() && fits.file() ? 3 * std::abs(int64{fits.main()->valueBytes()}) : 0;
  if (bytes > static_cast<int64>(sizeof raw) || !ReadWhole(*fits.file(), raw, bytes)) return;
  DecodeFITSValues(fits, raw, this, 1);
}

AUVXComplex::AUVXComplex(AFile& file) {
  if (!ReadWhole(file, this, sizeof *this)) *this = AUVXComplex(0, 0, 0);
}

int AUVXComplex::store(AFile& file) {
  return WriteWhole(file, this, sizeof *this);
}

void CheckRange(const AUVXComplex* values, int64 count, AUVXMinMax& range) {
  TMnMx ranges[3] = {range.re(), range.im(), range.weight()};
  for (; count >= kBlock; values += kBlock, count -= kBlock) {
    float low[3], high[3];
    bool whole = BlockExtremes(values, low, high);
    for (int k = 0; k < 3 && whole; ++k) whole = !OrderMatters(ranges[k], low[k], high[k]);
    if (!whole) {
      CheckOneByOne(values, kBlock, ranges);
      continue;
    }
    for (int k = 0; k < 3; ++k) {
      ranges[k].check(low[k]);
      ranges[k].check(high[k]);
    }
  }
  CheckOneByOne(values, static_cast<int>(count), ranges);
  range.re() = ranges[0];
  range.im() = ranges[1];
  range.weight() = ranges[2];
}

void DecodeFITSValues(const AFITS& fits, const char* raw, AUVXComplex* values, int64 count) {
  AFITSmain* header = fits.main();
  const double scale = header ? header->bscale() : 1;
  const double zero = header ? header->bzero() : 0;
  switch (header ? header->valueBytes() : 0) {
    case -4:
      // The way of nearly every file: floats as they are, bit for bit.
      if (scale == 1 && zero == 0) return Swap32(values, raw, 3 * static_cast<size_t>(count));
      return DecodeScaled<float>(raw, scale, zero, values, count);
    case -8:
      return DecodeScaled<double>(raw, scale, zero, values, count);
    case 1:
      return DecodeScaled<uint8_t>(raw, scale, zero, values, count);
    case 2:
      return DecodeScaled<int16_t>(raw, scale, zero, values, count);
    case 4:
      return DecodeScaled<int32_t>(raw, scale, zero, values, count);
    case 8:
      return DecodeScaled<int64_t>(raw, scale, zero, values, count);
    default:
      std::fill_n(values, count, AUVXComplex(0, 0, 0));
  }
}

template class AArray<AUVXComplex>;

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXComplex.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "zeltra/fits/AFITS.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/platform/VectorsInternal.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

/// Complexes examined together: few enough that a NaN slows down only its neighbours, and enough to pay for the
/// overhead.
constexpr int64 kLargestBlock = 256, kSmallestBlock = 16;

/// @return whether all are finite
bool CheckOneByOne(const AUVXComplex* values, int64 count, TMnMx* ranges) {
  bool finite = true;
  for (int64 i = 0; i < count; ++i) {
    ranges[0].check(values[i].re);
    ranges[1].check(values[i].im);
    ranges[2].check(values[i].weight);
    finite &= std::isfinite(values[i].re) && std::isfinite(values[i].im) && std::isfinite(values[i].weight);
  }
  return finite;
}

/// Extremes of re, im and weight of a block whose size is a multiple of four.
/// @return false if a NaN is among the values
///
/// Four complexes are three vectors of four floats, so that each lane always holds the same kind of value.
bool BlockExtremes(const AUVXComplex* values, int64 count, float (&low)[3], float (&high)[3]) {
  Float4 x[3], lows[3], highs[3];
  std::memcpy(x, values, sizeof x);
  std::copy_n(x, 3, lows);
  std::copy_n(x, 3, highs);
  auto ordered = x[0] == x[0];
  for (int64 i = 0; i < count; i += 4) {
    std::memcpy(x, values + i, sizeof x);
    for (int k = 0; k < 3; ++k) {
      lows[k] = Select(x[k] < lows[k], x[k], lows[k]);
      highs[k] = Select(x[k] > highs[k], x[k], highs[k]);
      ordered = ordered & (x[k] == x[k]);
    }
  }
  if (!(ordered[0] & ordered[1] & ordered[2] & ordered[3])) return false;
  for (int k = 0; k < 3; ++k) {
    low[k] = high[k] = 0;
    for (int place = k; place < 12; place += 3) {
      const float l = lows[place / 4][place % 4], h = highs[place / 4][place % 4];
      low[k] = place == k ? l : std::min(low[k], l);
      high[k] = place == k ? h : std::max(high[k], h);
    }
  }
  return true;
}

/// Whether extending a range by the extremes of a block could give another result than extending it value by value:
/// zeros of either sign compare equal, so that the first one would stay, and a range that is NaN depends on the last
/// value.
bool OrderMatters(const TMnMx& range, float low, float high) {
  return std::isnan(range.minimum) || std::isnan(range.maximum) || (low == 0 && range.minimum > 0) ||
         (high == 0 && range.maximum < 0);
}

template <typename T>
void DecodeScaled(const char* raw, double scale, double zero, AUVXComplex* values, int64 count) {
  const auto number = [=](int64 i) { return FITSNumber<T>(raw + i * static_cast<int64>(sizeof(T))) * scale + zero; };
  for (int64 i = 0; i < count; ++i) values[i] = AUVXComplex(number(3 * i), number(3 * i + 1), number(3 * i + 2));
}

}  // namespace

AUVXComplex::AUVXComplex(AFITS& fits) : AUVXComplex(0, 0, 0) {
  char raw[3 * sizeof(double)];
  const int64 bytes = fits.main() && fits.file() ? 3 * std::abs(int64{fits.main()->valueBytes()}) : 0;
  if (bytes < 1 || bytes > static_cast<int64>(sizeof raw) || !ReadWhole(*fits.file(), raw, bytes)) return;
  DecodeFITSValues(fits, raw, this, 1);
}

AUVXComplex::AUVXComplex(AFile& file) {
  if (!ReadWhole(file, this, sizeof *this)) *this = AUVXComplex(0, 0, 0);
}

int AUVXComplex::store(AFile& file) const {
  return WriteWhole(file, this, sizeof *this);
}

bool CheckRange(const AUVXComplex* values, int64 count, AUVXMinMax& range) {
  bool finite = true;
  TMnMx ranges[3] = {range.re(), range.im(), range.weight()};
  while (count >= kSmallestBlock) {
    const int64 block = std::min(count, kLargestBlock) / 4 * 4;
    float low[3], high[3];
    bool whole = BlockExtremes(values, block, low, high);
    for (int k = 0; k < 3 && whole; ++k) whole = !OrderMatters(ranges[k], low[k], high[k]);
    if (whole) {
      for (int k = 0; k < 3; ++k) {
        ranges[k].check(low[k]);
        ranges[k].check(high[k]);
        finite &= std::isfinite(low[k]) && std::isfinite(high[k]);
      }
    } else {
      finite &= CheckOneByOne(values, block, ranges);
    }
    values += block;
    count -= block;
  }
  finite &= CheckOneByOne(values, count, ranges);
  range.re() = ranges[0];
  range.im() = ranges[1];
  range.weight() = ranges[2];
  return finite;
}

void DecodeFITSValues(const AFITS& fits, const char* raw, AUVXComplex* values, int64 count) {
  AFITSmain* header = fits.main();
  const double scale = header ? header->bscale() : 1;
  const double zero = header ? header->bzero() : 0;
  const int valueBytes = header ? header->valueBytes() : 0;
  // In nearly every file values are floats, which are taken as they are, bit for bit.
  if (valueBytes == -4 && scale == 1 && zero == 0) return Swap32(values, raw, 3 * static_cast<size_t>(count));
  const auto decode = [&](auto type) { DecodeScaled<decltype(type)>(raw, scale, zero, values, count); };
  if (!WithFITSType(valueBytes, decode)) std::fill_n(values, count, AUVXComplex(0, 0, 0));
}

template class AArray<AUVXComplex>;

}  // namespace zeltra

// FITS numbers are big-endian, those in memory little-endian.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_FITSBYTESINTERNAL_H_
#define ZELTRA_FITS_FITSBYTESINTERNAL_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zeltra/platform/VectorsInternal.h"

namespace zeltra {

// Each function below reverses the bytes of `count` words from `from` into `to`; the two may be the same place but must
// not overlap otherwise. No alignment is needed. Each is its own inverse.

inline void Swap16(void* to, const void* from, size_t count) {
  auto* out = static_cast<char*>(to);
  const auto* in = static_cast<const char*>(from);
  for (size_t i = 0; i < count; ++i) {
    std::uint16_t word;
    std::memcpy(&word, in + sizeof word * i, sizeof word);
    word = __builtin_bswap16(word);
    std::memcpy(out + sizeof word * i, &word, sizeof word);
  }
}

/// Four words at a time: every visibility passes through here, and this is three times as fast as one by one. Compilers
/// do not do this themselves, because plain SSE2 has no byte shuffle.
inline void Swap32(void* to, const void* from, size_t count) {
  auto* out = static_cast<char*>(to);
  const auto* in = static_cast<const char*>(from);
  size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    Store(out + 4 * i, ReverseBytes(Load<Word4>(in + 4 * i)));
  }
  for (; i < count; ++i) {
    std::uint32_t word;
    std::memcpy(&word, in + 4 * i, sizeof word);
    word = __builtin_bswap32(word);
    std::memcpy(out + 4 * i, &word, sizeof word);
  }
}

inline void Swap64(void* to, const void* from, size_t count) {
  auto* out = static_cast<char*>(to);
  const auto* in = static_cast<const char*>(from);
  for (size_t i = 0; i < count; ++i) {
    std::uint64_t word;
    std::memcpy(&word, in + sizeof word * i, sizeof word);
    word = __builtin_bswap64(word);
    std::memcpy(out + sizeof word * i, &word, sizeof word);
  }
}

/// The FITS number of type T at `raw`.
template <typename T>
double FITSNumber(const char* raw) {
  T value;
  if constexpr (sizeof value == 1) std::memcpy(&value, raw, 1);
  if constexpr (sizeof value == 2) Swap16(&value, raw, 1);
  if constexpr (sizeof value == 4) Swap32(&value, raw, 1);
  if constexpr (sizeof value == 8) Swap64(&value, raw, 1);
  return static_cast<double>(value);
}

/// Call `use` with a number of the type that `valueBytes` (BITPIX / 8) stands for, if random parameters are written in
/// that type: BITPIX -32, 16 and 32.
/// @return false, without a call, for other types
template <typename Use>
bool WithParameterType(int valueBytes, Use use) {
  switch (valueBytes) {
    case -4:
      return use(float{}), true;
    case 2:
      return use(std::int16_t{}), true;
    case 4:
      return use(std::int32_t{}), true;
    default:
      return false;
  }
}

/// The same for all types of FITS.
template <typename Use>
bool WithFITSType(int valueBytes, Use use) {
  switch (valueBytes) {
    case -8:
      return use(double{}), true;
    case 1:
      return use(std::uint8_t{}), true;
    case 8:
      return use(std::int64_t{}), true;
    default:
      return WithParameterType(valueBytes, use);
  }
}

}  // namespace zeltra

#endif  // ZELTRA_FITS_FITSBYTESINTERNAL_H_

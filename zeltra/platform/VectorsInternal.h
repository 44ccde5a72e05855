// Short vectors of numbers, in the processor's registers where the compiler has types for them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_VECTORSINTERNAL_H_
#define ZELTRA_PLATFORM_VECTORSINTERNAL_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

// A build may ask for the plain form, to test it on machines that do not need it.
#if !defined(ZELTRA_PLAIN_VECTORS)
#if !defined(__GNUC__) || !defined(__has_builtin)
#define ZELTRA_PLAIN_VECTORS
#elif !__has_builtin(__builtin_shufflevector) || !__has_builtin(__builtin_convertvector)
#define ZELTRA_PLAIN_VECTORS
#endif
#endif

// A vector larger than the registers that a function is compiled for must not cross a call between functions that are
// compiled for different processors. Whatever takes or returns vectors is therefore forced inline, here and elsewhere,
// and the warning about such calls is off from here to the end of the source.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wpsabi"
#define ZELTRA_INLINE [[gnu::always_inline]] inline
#else
#define ZELTRA_INLINE inline
#endif

namespace zeltra {

// The operators + - * /, & | and == != < <= > >= take two vectors of one type and work lane by lane; v[i] is a lane. A
// factor may be a number, which compilers load into all lanes faster than All() does.
// A comparison gives a mask: a vector of integers as wide as the lanes, -1 where it holds and 0 elsewhere. Both forms
// do the same operations in the same order, so their results have the same bits (except those of a NaN).

#if !defined(ZELTRA_PLAIN_VECTORS)

using Float2 [[gnu::vector_size(8)]] = float;
using Float4 [[gnu::vector_size(16)]] = float;
using Double2 [[gnu::vector_size(16)]] = double;
using Double4 [[gnu::vector_size(32)]] = double;
using Word4 [[gnu::vector_size(16)]] = std::uint32_t;

/// The number in a lane of a vector.
template <typename Vector>
using LaneOf = std::remove_cvref_t<decltype(std::declval<Vector&>()[0])>;

/// A vector with `x` in every lane.
template <typename Vector>
ZELTRA_INLINE Vector All(LaneOf<Vector> x) {
  return x - Vector{};
}

/// Convert each lane of `from` to the number type of `To`, which has the same number of lanes.
template <typename To, typename From>
ZELTRA_INLINE To Convert(const From& from) {
  return __builtin_convertvector(from, To);
}

/// The lanes of `a` where the mask is set, of `b` elsewhere.
template <typename Mask, typename Vector>
ZELTRA_INLINE Vector Select(const Mask& mask, const Vector& a, const Vector& b) {
  return mask ? a : b;
}

/// A vector of the lanes of `a` and `b` with these indices; the indices of `b` follow those of `a`.
template <int... kLane, typename Vector>
ZELTRA_INLINE auto Shuffle(const Vector& a, const Vector& b) {
  return __builtin_shufflevector(a, b, kLane...);
}

/// Reverse the bytes of each word.
ZELTRA_INLINE Word4 ReverseBytes(Word4 words) {
  using Half8 [[gnu::vector_size(16)]] = std::uint16_t;
  words = (words << 16) | (words >> 16);
  const auto halves = reinterpret_cast<Half8>(words);
  return reinterpret_cast<Word4>((halves << 8) | (halves >> 8));
}

/// The lanes of `x`, negated where the lowest bit of the same lane of `odd` is set.
ZELTRA_INLINE Double4 NegativeWhereOdd(const Double4& x, const Double4& odd) {
  using Bits [[gnu::vector_size(32)]] = std::uint64_t;
  return reinterpret_cast<Double4>(reinterpret_cast<Bits>(x) ^ (reinterpret_cast<Bits>(odd) << 63));
}

/// Fetch memory that will be read soon into the cache.
ZELTRA_INLINE void Prefetch(const void* place) {
  __builtin_prefetch(place);
}

#else

template <typename T, int N>
struct PlainVector {
  using Lane = T;
  using MaskLane = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;
  using Mask = PlainVector<MaskLane, N>;

  T lane[N];

  T& operator[](int i) { return lane[i]; }
  const T& operator[](int i) const { return lane[i]; }

  template <typename Result = PlainVector, typename Operation>
  static Result Each(Operation operation) {
    Result result;
    for (int i = 0; i < N; ++i) result.lane[i] = operation(i);
    return result;
  }
  template <typename Comparison>
  static Mask EachMask(Comparison holds) {
    return Each<Mask>([&](int i) { return static_cast<MaskLane>(holds(i) ? -1 : 0); });
  }

  friend PlainVector operator+(const PlainVector& a, const PlainVector& b) {
    return Each([&](int i) { return a[i] + b[i]; });
  }
  friend PlainVector operator-(const PlainVector& a, const PlainVector& b) {
    return Each([&](int i) { return a[i] - b[i]; });
  }
  friend PlainVector operator*(const PlainVector& a, const PlainVector& b) {
    return Each([&](int i) { return a[i] * b[i]; });
  }
  friend PlainVector operator*(T a, const PlainVector& b) {
    return Each([&](int i) { return a * b[i]; });
  }
  friend PlainVector operator*(const PlainVector& a, T b) {
    return Each([&](int i) { return a[i] * b; });
  }
  friend PlainVector operator/(const PlainVector& a, const PlainVector& b) {
    return Each([&](int i) { return a[i] / b[i]; });
  }
  friend PlainVector operator&(const PlainVector& a, const PlainVector& b) {
    return Each([&](int i) { return a[i] & b[i]; });
  }
  friend PlainVector operator|(const PlainVector& a, const PlainVector& b) {
    return Each([&](int i) { return a[i] | b[i]; });
  }
  friend Mask operator==(const PlainVector& a, const PlainVector& b) {
    return EachMask([&](int i) { return a[i] == b[i]; });
  }
  friend Mask operator!=(const PlainVector& a, const PlainVector& b) {
    return EachMask([&](int i) { return a[i] != b[i]; });
  }
  friend Mask operator<(const PlainVector& a, const PlainVector& b) {
    return EachMask([&](int i) { return a[i] < b[i]; });
  }
  friend Mask operator<=(const PlainVector& a, const PlainVector& b) {
    return EachMask([&](int i) { return a[i] <= b[i]; });
  }
  friend Mask operator>(const PlainVector& a, const PlainVector& b) { return b < a; }
  friend Mask operator>=(const PlainVector& a, const PlainVector& b) { return b <= a; }
};

using Float2 = PlainVector<float, 2>;
using Float4 = PlainVector<float, 4>;
using Double2 = PlainVector<double, 2>;
using Double4 = PlainVector<double, 4>;
using Word4 = PlainVector<std::uint32_t, 4>;

template <typename Vector>
using LaneOf = typename Vector::Lane;

template <typename Vector>
Vector All(LaneOf<Vector> x) {
  return Vector::Each([=](int) { return x; });
}

template <typename To, typename From>
To Convert(const From& from) {
  return To::Each([&](int i) { return static_cast<LaneOf<To> >(from[i]); });
}

template <typename Mask, typename Vector>
Vector Select(const Mask& mask, const Vector& a, const Vector& b) {
  return Vector::Each([&](int i) { return mask[i] ? a[i] : b[i]; });
}

template <int... kLane, typename T, int N>
PlainVector<T, sizeof...(kLane)> Shuffle(const PlainVector<T, N>& a, const PlainVector<T, N>& b) {
  return {(kLane < N ? a[kLane % N] : b[kLane % N])...};
}

inline Word4 ReverseBytes(const Word4& words) {
  return Word4::Each([&](int i) {
    const std::uint32_t word = words[i];
    return word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
  });
}

inline Double4 NegativeWhereOdd(const Double4& x, const Double4& odd) {
  return Double4::Each([&](int i) {
    const std::uint64_t sign = std::bit_cast<std::uint64_t>(odd[i]) << 63;
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x[i]) ^ sign);
  });
}

inline void Prefetch(const void*) {}

#endif

/// Read a vector from memory of any alignment.
template <typename Vector>
ZELTRA_INLINE Vector Load(const void* from) {
  Vector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}

/// Write a vector to memory of any alignment.
template <typename Vector>
ZELTRA_INLINE void Store(void* to, const Vector& vector) {
  std::memcpy(to, &vector, sizeof vector);
}

}  // namespace zeltra

#endif  // ZELTRA_PLATFORM_VECTORSINTERNAL_H_

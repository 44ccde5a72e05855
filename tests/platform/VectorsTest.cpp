// SPDX-License-Identifier: MIT
#include "zeltra/platform/VectorsInternal.h"

#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

/// Whether two numbers have the same bits, or both are NaN.
template <typename T>
bool Same(T a, T b) {
  return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

/// Every pair of awkward numbers goes through every operation in every lane.
template <typename Vector>
void ExpectPlainResults() {
  using T = LaneOf<Vector>;
  using Limits = std::numeric_limits<T>;
  constexpr size_t kLanes = sizeof(Vector) / sizeof(T);
  const std::vector<T> x = {0,  -T{0},         Limits::denorm_min(), -Limits::min() / 3,  1,
                            -3, Limits::max(), Limits::infinity(),   -Limits::infinity(), Limits::quiet_NaN()};
  for (size_t from = 0; from < x.size() * x.size(); ++from) {
    T a[kLanes + 1], b[kLanes + 1], out[kLanes + 1];  // read and written one number away from their alignment
    for (size_t i = 0; i < kLanes; ++i) {
      a[i + 1] = x[(from + i) % x.size()];
      b[i + 1] = x[(from + i) / x.size() % x.size()];
    }
    const auto v = Load<Vector>(a + 1), w = Load<Vector>(b + 1);
    const auto expect = [&](const Vector& result, auto plain) {
      Store(out + 1, result);
      for (size_t i = 1; i <= kLanes; ++i) EXPECT_TRUE(Same(out[i], plain(a[i], b[i]))) << a[i] << " and " << b[i];
    };
    expect(v + w, [](T p, T q) { return p + q; });
    expect(v - w, [](T p, T q) { return p - q; });
    expect(v * w, [](T p, T q) { return p * q; });
    expect(v / w, [](T p, T q) { return p / q; });
    expect(Select(v < w, v, w), [](T p, T q) { return p < q ? p : q; });
    expect(Select(v <= w, v, w), [](T p, T q) { return p <= q ? p : q; });
    expect(Select(v > w, v, w), [](T p, T q) { return p > q ? p : q; });
    expect(Select(v >= w, v, w), [](T p, T q) { return p >= q ? p : q; });
    expect(Select((v == v) & (w != w), v, w), [](T p, T q) { return p == p && q != q ? p : q; });
    expect(Select((v == v) | (w != w), v, w), [](T p, T q) { return p == p || q != q ? p : q; });
    expect(a[1] * w, [&](T, T q) { return a[1] * q; });
    expect(All<Vector>(a[1]), [&](T, T) { return a[1]; });
  }
}

TEST(Vectors, DoWhatALoopOverTheirLanesDoes) {
  ExpectPlainResults<Float4>();
  ExpectPlainResults<Double2>();
  ExpectPlainResults<Double4>();
}

TEST(Vectors, ConvertShuffleAndReverse) {
  const Float4 narrow = {-0.0F, 1e-45F, 3.5F, std::numeric_limits<float>::infinity()};
  const auto wide = Convert<Double4>(narrow);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Same(double{narrow[i]}, wide[i]));
  const auto back = Convert<Float2>(Double2{1e-300, 1 / 3.0});
  EXPECT_EQ(back[0], 0.0F);
  EXPECT_EQ(back[1], 1 / 3.0F);

  const auto mixed = Shuffle<3, 0>(Double2{1, 2}, Double2{3, 4});
  EXPECT_EQ(mixed[0], 4);
  EXPECT_EQ(mixed[1], 1);
  const Double4 turned = NegativeWhereOdd(Double4{1, -2, 0, 3}, Double4{4503599627370497, 4503599627370499, 1, 2});
  for (int i = 0; i < 4; ++i) EXPECT_EQ(turned[i], (Double4{-1, 2, 0, 3}[i]));
  const Word4 reversed = ReverseBytes(Word4{0x01020304, 0xFF000000, 1, 0});
  EXPECT_EQ(reversed[0], 0x04030201U);
  EXPECT_EQ(reversed[1], 0xFFU);
  EXPECT_EQ(reversed[2], 0x01000000U);
}

}  // namespace
}  // namespace zeltra::test

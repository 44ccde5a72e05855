// SPDX-License-Identifier: MIT
#include "zeltra/numeric/GRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace zeltra::test {
namespace {

constexpr int kDraws = 1000000;

TEST(Random, TakesThe32768StepsFrom0To1) {
  std::srand(1);
  std::vector<int> seen(32768);
  for (int i = 0; i < kDraws; ++i) {
    const double step = zeltra::random() * 32767;
    ASSERT_NEAR(step, std::round(step), 1e-9);
    ++seen.at(static_cast<size_t>(std::lround(step)));
  }
  // About 30.5 draws a step: all steps appear, and chi-square with 32767 degrees of freedom (deviation 256) stays
  // within five deviations.
  double chiSquare = 0;
  const double expected = kDraws / 32768.0;
  for (const int n : seen) chiSquare += (n - expected) * (n - expected) / expected;
  EXPECT_GT(*std::min_element(seen.begin(), seen.end()), 0);
  EXPECT_NEAR(chiSquare, 32767, 5 * 256);
}

TEST(Random, IntegersReachTheirLimit) {
  std::srand(2);
  std::vector<int> seen(11);
  double largest = 0;
  for (int i = 0; i < kDraws; ++i) {
    ++seen.at(static_cast<size_t>(zeltra::random(10)));
    largest = std::max(largest, zeltra::random(4.0));
  }
  // The limit itself falls once in 32768 draws: 30.5 times here, give or take five deviations of 5.5.
  EXPECT_NEAR(seen[10], 30.5, 28);
  // Each other integer has a tenth of the draws, deviation 300.
  for (int i = 0; i < 10; ++i) EXPECT_NEAR(seen[static_cast<size_t>(i)], kDraws / 10, 1500) << i;
  EXPECT_EQ(largest, 4.0);
}

TEST(GRandom, HandsOutBothNumbersOfAPair) {
  std::srand(3);
  GRandom normal(3, 2);
  const double first = normal.GetValue();
  const double second = normal.GetValue();
  const int next = std::rand();
  std::srand(3);
  double u1, u2, s;
  do {
    u1 = 2 * zeltra::random() - 1;
    u2 = 2 * zeltra::random() - 1;
    s = u1 * u1 + u2 * u2;
  } while (s > 1);
  EXPECT_EQ(std::rand(), next) << "two values draw one pair";
  const double f = std::sqrt(-2 * std::log(s) / s);
  EXPECT_DOUBLE_EQ(first, (f * u1 + 3) * 2);
  EXPECT_DOUBLE_EQ(second, (f * u2 + 3) * 2);
  EXPECT_NE(normal.GetValue(), first);
}

TEST(Randomize, ReseedsTheGenerator) {
  std::srand(4);
  std::vector<int> first(8);
  std::generate(first.begin(), first.end(), std::rand);
  std::srand(4);
  randomize();
  std::vector<int> second(8);
  std::generate(second.begin(), second.end(), std::rand);
  EXPECT_NE(first, second);
}

}  // namespace
}  // namespace zeltra::test

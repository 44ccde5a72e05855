// SPDX-License-Identifier: MIT
#include "zeltra/numeric/GRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace zeltra {
namespace {

constexpr int kDraws = 1000000;

std::vector<double> Sample(double a, double b) {
  std::srand(20240229);
  GRandom normal(a, b);
  std::vector<double> values(kDraws);
  std::generate(values.begin(), values.end(), [&] { return normal.GetValue(); });
  return values;
}

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

TEST(GRandom, IsNormallyDistributed) {
  std::vector<double> values = Sample(0, 1);
  std::sort(values.begin(), values.end());
  double distance = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    const double expected = 0.5 * std::erfc(-values[i] / std::sqrt(2.0));
    distance = std::max({distance, expected - i / double{kDraws}, (i + 1) / double{kDraws} - expected});
  }
  // Kolmogorov-Smirnov: a true normal sample exceeds 1.95 / sqrt(n) once in a thousand. The values come from pairs of
  // 32768 steps, which moves the distribution by less than one step, 3e-5.
  EXPECT_LT(distance, 1.95 / std::sqrt(double{kDraws}) + 3e-5);
}

TEST(GRandom, AddsTheOffsetBeforeItScales) {
  const std::vector<double> values = Sample(3, 2);
  double sum = 0;
  double squares = 0;
  double products = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    sum += values[i];
    squares += (values[i] - 6) * (values[i] - 6);
    products += (values[i] - 6) * (values[i ^ 1] - 6);
  }
  // Four standard errors: 2 / sqrt(n) of the mean, 2 / sqrt(2 n) of the deviation, and sqrt(2) x 4 / sqrt(n) of the
  // mean product within pairs, each of which is counted twice.
  EXPECT_NEAR(sum / kDraws, 6, 0.008);
  EXPECT_NEAR(std::sqrt(squares / kDraws), 2, 0.0057);
  EXPECT_NEAR(products / kDraws, 0, 0.0226);
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
}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/numeric/GRandom.h"

#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

TEST(Random, ReachesEachOf32768StepsAndItsLimits) {
  std::srand(1);
  std::vector<int> steps(32768), integers(11);
  double largest = 0;
  for (int i = 0; i < 1000000; ++i) {
    const double step = zeltra::random() * 32767;
    ASSERT_NEAR(step, std::round(step), 1e-9);
    ++steps.at(static_cast<size_t>(std::lround(step)));
    ++integers.at(static_cast<size_t>(zeltra::random(10)));
    largest = std::max(largest, zeltra::random(4.0));
  }
  EXPECT_GT(*std::min_element(steps.begin(), steps.end()), 0);
  // The limit itself is drawn once in 32768 times: 30.5 times here, within five standard deviations of 5.5.
  EXPECT_NEAR(integers[10], 30.5, 28);
  EXPECT_NEAR(integers[9], 100000, 1500) << "a tenth";
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
  const int first[] = {std::rand(), std::rand()};
  std::srand(4);
  randomize();
  EXPECT_FALSE(std::rand() == first[0] && std::rand() == first[1]);
}

}  // namespace
}  // namespace zeltra::test

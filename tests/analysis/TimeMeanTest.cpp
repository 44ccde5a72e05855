// SPDX-License-Identifier: MIT
#include "tests/support/Elements.h"
#include "tests/support/Test.h"
#include "zeltra/analysis/AUVXTimeMeanArray.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra::test {
namespace {

constexpr double kPi = std::numbers::pi;

using Values = std::vector<AUVXComplex>;

void Add(AUVXTimeMeanArray& means, int ant1, int ant2, const Values& values, int pos = 0, double t1 = 0,
         double t2 = 0) {
  AUVXVisibility vis(1, static_cast<int>(values.size()), 1);
  std::copy(values.begin(), values.end(), vis.lpArray());
  ABaseLineItem base(ant1, ant2, true);
  means.Add(&vis, base, pos, t1, t2);
}

AUVXComplex Polar(double amplitude, double phase, double weight = 1) {
  return {amplitude * std::cos(phase), amplitude * std::sin(phase), weight};
}

void ExpectValue(const AUVXTimeMeanArray& means, int i, int k, double re, double im, double weight) {
  const AUVXComplex& value = means(i)->sum.lpArray()[k];
  EXPECT_FLOAT_EQ(value.re, static_cast<float>(re));
  EXPECT_NEAR(value.im, im, 1e-6) << "single precision";
  EXPECT_FLOAT_EQ(value.weight, static_cast<float>(weight));
}

std::vector<std::array<int, 3>> Triangles(const AArray<AClosePhItem>* list) {
  std::vector<std::array<int, 3>> triangles;
  for (const AClosePhItem& item : Elements(list)) triangles.push_back({item.base1, item.base2, item.base3});
  return triangles;
}

TEST(TimeMean, WeightsDecideWhatCountsAndNotHowMuch) {
  AUVXTimeMeanArray means;
  Add(means, 1, 2, {{1, 0, 1}, {5, 5, 0}, {7, 7, -1}, {1, 1, 1}});
  Add(means, 1, 2, {{0, 1, 3}, {2, 1, 4}, {9, 9, 0}, {3, 3, std::numeric_limits<double>::quiet_NaN()}});
  Add(means, 1, 2, {{8, 8, -2}, {4, 3, 2}});
  means.CalculateMean();
  ASSERT_EQ(means.count(), 1);
  EXPECT_TRUE(means(0)->baseLine.isValid()) << "the flag of a baseline is not kept";
  EXPECT_EQ(means(0)->justify.count(), 4);
  ExpectValue(means, 0, 0, 0.5, 0.5, 2);
  ExpectValue(means, 0, 1, 3, 2, 3);
  ExpectValue(means, 0, 2, 7, 7, -1);
  ExpectValue(means, 0, 3, 1, 1, 1);
}

TEST(TimeMean, UnwrapsPhasesInAmplitudeMode) {
  AUVXTimeMeanArray means(0);
  Add(means, 1, 2, {Polar(2, 3.1), Polar(1, 3.0), Polar(1, -3.0)});
  Add(means, 1, 2, {Polar(4, -3.1), Polar(1, -3.0), Polar(1, 3.0)});
  Add(means, 1, 2, {Polar(3, -2.9, 0), Polar(1, -1.0), Polar(1, 1.0)});
  means.CalculateMean();
  ExpectValue(means, 0, 0, -3, 0, 1);  // (3.1 + (2 pi - 3.1)) / 2 = pi
  const double mean = (3.0 + (2 * kPi - 3.0) + (2 * kPi - 1.0)) / 3;
  ExpectValue(means, 0, 1, std::cos(mean), std::sin(mean), 1);
  ExpectValue(means, 0, 2, std::cos(mean), -std::sin(mean), 1);
}

TEST(TimeMean, JustifyTakesTheShortestOfThreeSteps) {
  APhJustify justify;
  EXPECT_DOUBLE_EQ(justify.Justify(3.0), 3.0);
  EXPECT_DOUBLE_EQ(justify.Justify(-3.0), 2 * kPi - 3.0);
  EXPECT_DOUBLE_EQ(justify.Justify(3.0), 3.0);
  EXPECT_DOUBLE_EQ(justify.Justify(9.0), 9.0 - 2 * kPi);
  EXPECT_DOUBLE_EQ(justify.Justify(-9.0), 9.0 - 18.0) << "one turn at most";
}

TEST(TimeMean, KeepsBaselinesSortedAndRecordsOfAnySize) {
  AUVXTimeMeanArray means;
  Add(means, 3, 5, {{1, 0, 1}, {1, 0, 1}});
  Add(means, 200, 1, {});
  Add(means, 1, 3, {{1, 0, 1}, {1, 0, 1}});
  Add(means, 3, 5, {{3, 0, 1}});
  Add(means, 1, 3, {{3, 0, 1}, {3, 0, 1}, {3, 0, 1}});
  Add(means, 200, 1, {{1, 1, 1}});  // dropped: the item holds no values
  ASSERT_EQ(means.count(), 3);
  EXPECT_EQ(means.SearchBaseLine(ABaseLineItem(200, 1, false)), 0) << "as a signed byte";
  EXPECT_EQ(means.SearchBaseLine(ABaseLineItem(3, 5, false)), 2);
  EXPECT_EQ(means.SearchBaseLine(ABaseLineItem(5, 12, false)), -1);
  means.CalculateMean();
  EXPECT_EQ(means(1)->sum.count(), 2);
  ExpectValue(means, 2, 0, 2, 0, 1);
  ExpectValue(means, 2, 1, 1, 0, 1);
  means.DeleteItems(0, 1);
  AArray<int> antennas;
  ASSERT_EQ(means.GetScopeMap(antennas), 3);
  EXPECT_EQ(Elements(antennas), (std::vector<int>{1, 3, 5}));
}

TEST(TimeMean, NotesTimesAndPositions) {
  AUVXTimeMeanArray means;
  EXPECT_EQ(means.GetMeanTime(), 0.0);
  EXPECT_EQ(means.GetStartPos(), 2147483647);
  EXPECT_EQ(means.GetEndPos(), -1);
  AUVXGroup group;
  group.ant2 = 1;
  group.flag = 1;
  AUVXVisibility vis(1, 1, 1);
  means.Add(&vis, group, 7, 10.006, 10.016);
  means.Add(&vis, group, 3, 10.004, 10.010);
  EXPECT_EQ(means.GetStartPos(), 3);
  EXPECT_EQ(means.GetEndPos(), 7);
  EXPECT_DOUBLE_EQ(means.GetMeanTime(), 10.01);
  means.Init();
  EXPECT_EQ(means.count(), 0);
  EXPECT_EQ(means.GetStartTime(), 1e38);
  EXPECT_EQ(means.GetStopTime(), -1e38);
  Add(means, 1, 2, {}, 0, 1e30, 1e30);
  EXPECT_DOUBLE_EQ(means.GetMeanTime(), 1e30) << "beyond 64-bit integers";
  const AUVXTimeMeanArray moved(std::move(means));
  EXPECT_EQ(moved.GetStartTime(), 1e30);
  Add(means, 1, 2, {}, 0, -0.03, -0.03);
  EXPECT_DOUBLE_EQ(means.GetMeanTime(), -0.02) << "rounded toward zero from half a step up";
}

TEST(TimeMean, ClosesEveryTriangleOnce) {
  AUVXTimeMeanArray means;
  for (const auto& [a, b] : {std::pair{2, 3}, {2, 2}, {1, 3}, {1, 2}}) Add(means, a, b, {});
  // The means are in the order 1-2, 1-3, 2-2, 2-3.
  using List = std::vector<std::array<int, 3>>;
  EXPECT_EQ(Triangles(means.GetClosePhase()), (List{{0, 3, -1}}));
  EXPECT_EQ(Triangles(means.GetClosePhase(3)), (List{{0, 3, -1}}));
  EXPECT_EQ(Triangles(means.GetClosePhase(4)), List{});
  for (const int a : {1, 2, 3}) Add(means, 200, a, {});  // 200 is sorted before the others, as a signed byte
  EXPECT_EQ(Triangles(means.GetClosePhase(200)), (List{{0, 3, -1}, {0, 4, -2}, {1, 6, -2}}));
  means.DeleteItems(6, 1);
  EXPECT_EQ(Triangles(means.GetClosePhase()), (List{{0, 3, -1}, {0, 4, -2}}));
}

}  // namespace
}  // namespace zeltra::test

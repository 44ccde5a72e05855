// SPDX-License-Identifier: MIT
#include "tests/support/Elements.h"
#include "tests/support/Test.h"
#include "zeltra/analysis/A3Tlscs.h"
#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/analysis/AClosePhaseArray.h"

namespace zeltra::test {
namespace {

constexpr double kPi = std::numbers::pi;

ABaseLine BaseLines(const std::vector<std::array<int, 3>>& items) {
  ABaseLine list;
  for (const auto& [a, b, flag] : items) list.checkBase(ABaseLineItem(a, b, flag != 0));
  return list;
}

std::vector<std::string> Texts(const A3Tlscs& list) {
  std::vector<std::string> texts;
  for (int i = 0; i < list.count(); ++i) texts.push_back(list(i).asString());
  return texts;
}

using Strings = std::vector<std::string>;
using List = std::vector<double>;

TEST(Triangles, AreBuiltFromUnflaggedBaselinesThroughOneAntenna) {
  EXPECT_EQ(Texts(A3Tlscs(BaseLines({{1, 2, 0}, {1, 3, 0}, {2, 3, 0}}), 3)), Strings{"1-2-3"});
  EXPECT_EQ(Texts(A3Tlscs(BaseLines({{1, 2, 0}, {1, 3, 0}, {2, 3, 0}}), 4)), Strings{});
  for (const int flagged : {0, 1, 2}) {
    const ABaseLine list = BaseLines({{1, 2, flagged == 0}, {1, 3, flagged == 1}, {2, 3, flagged == 2}});
    EXPECT_EQ(Texts(A3Tlscs(list, 3)), Strings{}) << flagged;
  }
  std::vector<std::array<int, 3>> all;
  for (int a = 1; a <= 5; ++a) {
    for (int b = a; b <= 5; ++b) all.push_back({a, b, a == 2 && b == 4});
  }
  A3Tlscs list;
  EXPECT_EQ(list.Create(BaseLines(all), 3), 5);
  EXPECT_EQ(Texts(list), (Strings{"1-2-3", "1-3-4", "1-3-5", "2-3-5", "3-4-5"}));
}

TEST(Triangles, AreFoundAndListTheirAntennas) {
  A3Tlscs list;
  int index = 9;
  EXPECT_FALSE(list.HasItem(A3TlscsItem(1, 2, 3, 0), index));
  EXPECT_EQ(index, -1);
  list.Add(A3TlscsItem(1, 2, 5, 4));
  list.Add(A3TlscsItem(1, 3, 5, 0));
  list.Add(A3TlscsItem(2, 3, 6, 7));
  EXPECT_TRUE(list.HasItem(A3TlscsItem(1, 3, 5, 1), index));
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(list.HasItem(A3TlscsItem(1, 3, 6, 0), index));
  EXPECT_EQ(index, 2);

  char antennas[256];
  char flags[256];
  ASSERT_EQ(list.GetTlscMap(antennas, flags), 5);
  EXPECT_EQ(std::string(antennas, 5), "\1\2\3\5\6");
  EXPECT_EQ(std::string(flags, 5), std::string("\0\4\0\0\7", 5));
  EXPECT_EQ(list.DeleteUnflagItem(), 2);
  EXPECT_EQ(Texts(list), Strings{"1-3-5"});
}

// Takes the real part of each baseline's only value as its phase.
class Phases : public AClosePhaseArray {
 public:
  using AClosePhaseArray::AClosePhaseArray;
  void GetPhasesForIndex(AUVXTimeMeanArray& mean, int i1, int i2, int i3, double& p1, double& p2, double& p3) override {
    p1 = mean(i1)->sum.lpArray()[0].re;
    p2 = mean(i2)->sum.lpArray()[0].re;
    p3 = mean(i3)->sum.lpArray()[0].re;
  }
};

// Adds an interval in which the baselines 1-2, 1-3, 2-3 have the phases p12, p13, p23.
void AddInterval(AClosePhaseArray& phases, int selector, double time, double p12, double p13, double p23) {
  AUVXTimeMeanArray mean;
  for (const auto& [a, b, phase] : {std::tuple{1, 2, p12}, {1, 3, p13}, {2, 3, p23}}) {
    AUVXVisibility vis(1, 1, 1);
    vis(0, 0) = AUVXComplex(phase, 0, 1);
    ABaseLineItem base(a, b, false);
    mean.Add(&vis, base, 0, time, time);
  }
  mean.CalculateMean();
  phases.Add(mean, selector);
}

TEST(ClosurePhases, AreSummedAlongTheTriangleAndWrapped) {
  A3Tlscs triangles(BaseLines({{1, 2, 0}, {1, 3, 0}, {2, 3, 0}}), 1);
  Phases phases(1, &triangles);
  AddInterval(phases, 1, 1, 1.0, 0.25, 2.0);
  AddInterval(phases, 1, 2, 1.5, 0, 2.0);
  AddInterval(phases, 1, 3, -1.5, 0, -2.0);
  AddInterval(phases, 1, 4, 30.0, 0, 0);
  ASSERT_EQ(phases.count(), 1);
  EXPECT_EQ(phases(0)->triangle.asString(), "1-2-3");
  const List expected = {2.75, 3.5 - 2 * kPi, 2 * kPi - 3.5, 30.0 - 10 * kPi};
  ASSERT_EQ(phases(0)->phases1.count(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(phases(0)->phases1(i), expected[static_cast<size_t>(i)], 1e-12);
  EXPECT_EQ(phases(0)->phases0.count(), 0);
}

TEST(ClosurePhases, OfTheSameTimeReplaceEachOther) {
  A3Tlscs triangles(BaseLines({{1, 2, 0}, {1, 3, 0}, {2, 3, 0}}), 1);
  Phases phases;
  phases.SetTlscID(1);
  AddInterval(phases, 1, 10, 1, 0, 0);
  EXPECT_EQ(phases.count(), 0) << "there is no list of triangles";
  phases.Set3Tlscs(&triangles);
  AddInterval(phases, 1, 10.0, 1, 0, 0);
  AddInterval(phases, 1, 11.0, 2, 0, 0);
  AddInterval(phases, 0, 10.0, 3, 0, 0);
  AddInterval(phases, 1, 10.0, 0.5, 0, 0);
  ASSERT_EQ(phases.count(), 1);
  EXPECT_EQ(Elements(phases(0)->times), (List{10, 11}));
  EXPECT_EQ(Elements(phases(0)->phases1), (List{0.5, 2}));
  EXPECT_EQ(Elements(phases(0)->phases0), (List{3}));
}

TEST(ClosurePhases, AreCollectedForUsableTrianglesInTheirOrder) {
  std::vector<std::array<int, 3>> all;
  AUVXTimeMeanArray mean;
  for (int a = 1; a <= 4; ++a) {
    for (int b = a + 1; b <= 4; ++b) {
      all.push_back({a, b, 0});
      AUVXVisibility vis(1, 1, 1);
      vis(0, 0) = AUVXComplex(0.1 * b - 0.1 * a, 0, 1);  // closes to 0
      ABaseLineItem base(a, b, false);
      mean.Add(&vis, base, 0, 5, 5);
    }
  }
  A3Tlscs triangles(BaseLines(all), 4);
  ASSERT_EQ(Texts(triangles), (Strings{"1-2-4", "1-3-4", "2-3-4"}));
  Phases phases(4, &triangles);
  triangles(0).setFlag(1);
  phases.Add(mean, 0);
  triangles(0).setFlag(0);
  triangles.DeleteItems(1, 1);
  phases.Add(mean, 0);
  ASSERT_EQ(phases.count(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(phases(i)->triangle.asString(), (Strings{"1-2-4", "1-3-4", "2-3-4"})[static_cast<size_t>(i)]);
    ASSERT_EQ(phases(i)->phases0.count(), 1);
    EXPECT_NEAR(phases(i)->phases0(0), 0, 1e-7) << "phases went through single precision";
  }
}

}  // namespace
}  // namespace zeltra::test

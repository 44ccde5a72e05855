// SPDX-License-Identifier: MIT
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra::test {
namespace {

AUVXStokes Codes(const std::vector<int>& codes) {
  AUVXStokes list;
  list.SetCount(static_cast<int>(codes.size()));
  for (size_t i = 0; i < codes.size(); ++i) list(static_cast<int>(i)) = codes[i];
  return list;
}

// Each combination as "id:index1/code1,index2/code2"; an absent item is "-".
std::vector<std::string> Listed(const AArray<AStokesMix>& list) {
  const auto text = [](const AStokesItem& item) {
    return item.IsPresent() ? std::to_string(item.index) + '/' + std::to_string(item.code) : "-";
  };
  std::vector<std::string> out;
  for (int i = 0; i < list.count(); ++i) {
    const AStokesMix& mix = list(i);
    out.push_back(std::to_string(mix.id) + ':' + text(mix.item1) + ',' + text(mix.item2));
  }
  return out;
}

using Builder = AArray<AStokesMix>* (*)(const AUVXStokes&);
using Filler = int (*)(const AUVXStokes&, AArray<AStokesMix>&);

std::vector<std::string> Built(Builder build, const std::vector<int>& codes) {
  return Listed(*std::unique_ptr<AArray<AStokesMix>>(build(Codes(codes))));
}

// Fills an array that already holds something.
std::vector<std::string> Filled(Filler fill, const std::vector<int>& codes) {
  AArray<AStokesMix> out;
  out.Add(AStokesMix());
  const int count = fill(Codes(codes), out);
  EXPECT_EQ(count, out.count());
  return Listed(out);
}

using Lines = std::vector<std::string>;

TEST(StokesNames, AreFixedForEveryCode) {
  EXPECT_EQ(AStokesItem(0, -8).asString(), "YX-POL");
  EXPECT_EQ(AStokesItem(0, -5).asString(), "XX-POL");
  EXPECT_EQ(AStokesItem(0, -4).asShortString(), "LR");
  EXPECT_EQ(AStokesItem(0, 0).asShortString(), "NO");
  EXPECT_EQ(AStokesItem(0, 4).asString(), "V-POL");
  EXPECT_EQ(AStokesItem(0, 7).asString(), "7-POL");
  EXPECT_EQ(AStokesItem(0, -9).asShortString(), "-9");
}

TEST(StokesNames, OfCombinationsDependOnTheIdAlone) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"?\?-POL", "??"},   {"LR (Q, U)", "LR"}, {"RL (Q, U)", "RL"}, {"LL (I, V)", "LL"},
      {"RR (I, V)", "RR"}, {"XX-POL", "XX"},    {"I (LL, RR)", "I"}, {"Q (LR, RL)", "Q"},
      {"U (LR, RL)", "U"}, {"V (LL, RR)", "V"}, {"?\?-POL", "??"}};
  for (int id = -5; id <= 5; ++id) {
    const AStokesMix mix(id, AStokesItem(2, -5), AStokesItem(3, -6));
    EXPECT_EQ(mix.asString(), names[static_cast<size_t>(id + 5)].first);
    EXPECT_EQ(mix.asShortString(), names[static_cast<size_t>(id + 5)].second);
    EXPECT_EQ(mix.GetStokesID(), id == 0 ? -5 : id);
  }
  const AStokesMix second(0, AStokesItem(), AStokesItem(1, -2));
  EXPECT_EQ(second.GetStokesID(), -2);
  EXPECT_EQ(second.asString(), "LL-POL");
}

TEST(StokesLists, HoldSinglesThenWhatCanBeFormed) {
  EXPECT_EQ(Built(toListMix, {-1, -2}), (Lines{"0:0/-1,-", "0:1/-2,-", "1:1/-2,0/-1", "4:1/-2,0/-1"}));
  EXPECT_EQ(Built(toListMix, {-4, -3}), (Lines{"0:0/-4,-", "0:1/-3,-", "2:1/-3,0/-4", "3:1/-3,0/-4"}));
  EXPECT_EQ(Built(toListMix, {1, 2, 3, 4}), (Lines{"0:0/1,-", "0:1/2,-", "0:2/3,-", "0:3/4,-", "-1:3/4,0/1",
                                                   "-2:3/4,0/1", "-3:1/2,2/3", "-4:1/2,2/3"}));
  EXPECT_EQ(Built(toListMix, {-2, -1, -2, 1}),
            (Lines{"0:0/-2,-", "0:1/-1,-", "0:2/-2,-", "0:3/1,-", "1:0/-2,1/-1", "4:0/-2,1/-1"}))
      << "the first place of a repeated code serves";
  EXPECT_TRUE(Built(toListMix, {}).empty());
}

TEST(StokesLists, OfHandsSelectTheirCodes) {
  const std::vector<int> feeds = {-8, -7, -6, -5, -4, -3, -2, -1};
  const Lines parallel = {"0:2/-6,-", "0:3/-5,-", "0:6/-2,-", "0:7/-1,-"};
  EXPECT_EQ(Built(toListMixRL, feeds), parallel);
  EXPECT_EQ(Filled(toListMixRL, feeds), parallel);
  EXPECT_EQ(Built(toListMixRL, {1, 4}), (Lines{"-1:1/4,0/1", "-2:1/4,0/1"}));
  EXPECT_EQ(Filled(toListMixRL, {1, 4}), (Lines{"-1:1/4,0/1", "-2:1/4,0/1"}));
  EXPECT_EQ(Built(toListMixRL_LR, feeds), (Lines{"0:1/-7,-", "0:4/-4,-", "0:5/-3,-"}));
  EXPECT_EQ(Filled(toListMixRL_LR, feeds), (Lines{"0:0/-8,-", "0:1/-7,-", "0:4/-4,-", "0:5/-3,-"}));
  EXPECT_TRUE(Filled(toListMixRL_LR, {1, 2, 3, 4}).empty());
}

void ExpectVisible(const AUVXComplex& value, float re, float im, float weight) {
  EXPECT_EQ(value.re, re);
  EXPECT_EQ(value.im, im);
  EXPECT_EQ(value.weight, weight);
}

TEST(StokesVisible, FollowsTheFormulaOfItsId) {
  // p = 1 + 2i and q = 5 + 10i stand at places 2 and 0.
  AUVXComplex values[3] = {{5, 10, 4}, {77, 77, 1}, {1, 2, 2}};
  const float expected[][2] = {{0, 0}, {11, -3}, {-9, 7}, {4, 8}, {6, 12}, {1, 2},
                               {3, 6}, {3, 6},   {4, -2}, {2, 4}, {0, 0}};
  for (int id = -5; id <= 5; ++id) {
    const AStokesMix mix(id, AStokesItem(2, 0), AStokesItem(0, 0));
    SCOPED_TRACE(id);
    const float weight = std::abs(id) == 5 ? 1 : id == 0 ? 2 : 3;
    ExpectVisible(mix.GetVisible(values, 0), expected[id + 5][0], expected[id + 5][1], weight);
  }
  ExpectVisible(AStokesMix(0, AStokesItem(), AStokesItem(0, 0)).GetVisible(values, 0), 5, 10, 4);
}

TEST(StokesVisible, WeighsItsInputsAndIsFlaggedWithAnyOfThem) {
  AUVXComplex values[2] = {{1, 0, 2}, {3, 0, -1}};
  const AStokesMix sum(1, AStokesItem(0, -2), AStokesItem(1, -1));
  ExpectVisible(sum.GetVisible(values, 0), 2, 0, -1.5f);
  ExpectVisible(sum.GetVisible(values, 1), 2.5f, 0, -1.5f);
  const AStokesMix single(0, AStokesItem(1, -1), AStokesItem());
  ExpectVisible(single.GetVisible(values, 0), 3, 0, -1);
  values[1] = AUVXComplex(3, -4, -2);
  ExpectVisible(single.GetVisible(values, 1), 6, -8, -2);
  values[1].weight = 0;
  ExpectVisible(sum.GetVisible(values, 0), 2, -2, -1);
}

// A combination may come from a file that was damaged.
TEST(StokesVisible, TakesAnAbsentInputForAFlaggedZero) {
  AUVXComplex values[1] = {{4, 2, 6}};
  ExpectVisible(AStokesMix(2, AStokesItem(0, -3), AStokesItem()).GetVisible(values, 1), 12, 6, -3);
  EXPECT_FALSE(AStokesMix().GetVisible(values, 0).isValid());
}

TEST(StokesMixImage, IsSixBytes) {
  OpenTempFile file;
  AStokesMix mix(-258, AStokesItem(3, -1), AStokesItem());
  EXPECT_TRUE(mix.store(file));
  file.Seek(0);
  AStokesMix loaded;
  EXPECT_TRUE(loaded.load(file));
  EXPECT_EQ(file.Bytes(), std::string("\xfe\xfe\x03\xff\xff\x00", 6));
  EXPECT_EQ(loaded.id, -258);
  EXPECT_EQ(loaded.item1.code, -1);
  EXPECT_FALSE(loaded.item2.IsPresent());
  file.Seek(1);
  EXPECT_FALSE(loaded.load(file)) << "only five bytes are left";
  EXPECT_EQ(loaded.id, -258);
}

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include "tests/support/Elements.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/analysis/ABaseClosedSearch.h"
#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra::test {
namespace {

AUVXGroup GroupOf(int source, int ant1, int ant2, int flag = 0) {
  AUVXGroup group;
  group.source = static_cast<int16_t>(source);
  group.ant1 = static_cast<int8_t>(ant1);
  group.ant2 = static_cast<int8_t>(ant2);
  group.flag = static_cast<int8_t>(flag);
  return group;
}

// Each item as text, flagged ones with a star.
std::vector<std::string> Texts(const ABaseLine& list) {
  std::vector<std::string> texts;
  for (int i = 0; i < list.count(); ++i) texts.push_back(list(i).asString() + (list(i).isValid() ? "" : "*"));
  return texts;
}

using Strings = std::vector<std::string>;

TEST(BaseLineItem, KeepsSignedNumbersAndTheLowestFlagBit) {
  EXPECT_EQ(ABL(3, 7).Str(), "3-7");
  EXPECT_EQ(ABL(259, -1).Str(), "3-255");
  EXPECT_EQ(ABL(static_cast<short>(0xFF03)).Str(), "3-255");
  EXPECT_EQ(ABaseLineItem(-1, 7, false).asString(), "-1-7");
  EXPECT_FALSE(ABaseLineItem(GroupOf(1, 2, 3, 1)).isValid());
  EXPECT_TRUE(ABaseLineItem(GroupOf(1, 2, 3, 2)).isValid());
  EXPECT_FALSE(ABaseLineItem().setFlag(2).isValid());
  EXPECT_TRUE(ABaseLineItem().setFlag(256).isValid());
}

TEST(BaseLine, SortsByBothAntennasAndKeepsAFlagOnlyWhileAllAreFlagged) {
  ABaseLine list;
  int index = 5;
  EXPECT_FALSE(list.hasBase(ABaseLineItem(1, 2, false), index));
  EXPECT_EQ(index, -1);
  EXPECT_EQ(list.checkBase(ABaseLineItem(2, 3, true)), 0);
  EXPECT_EQ(list.checkBase(ABaseLineItem(1, 3, false)), 0);
  EXPECT_EQ(list.checkBase(ABaseLineItem(1, -2, true)), 0);
  EXPECT_EQ(list.checkBase(ABaseLineItem(2, 2, true)), 2);
  EXPECT_EQ(list.checkBase(ABaseLineItem(1, 3, true)), 1) << "a flagged occurrence changes nothing";
  EXPECT_EQ(Texts(list), (Strings{"1--2*", "1-3", "2-2*", "2-3*"}));
  EXPECT_FALSE(list.hasBase(ABaseLineItem(1, 9, false), index));
  EXPECT_EQ(index, 2);
  EXPECT_EQ(list.checkBase(ABaseLineItem(2, 3, false)), 3);
  EXPECT_EQ(list.GetMarkItem(), 2);

  char antennas[64];
  char flags[64];
  ASSERT_EQ(list.getScopeMap(antennas, flags), 4);
  EXPECT_EQ(std::vector<int>(antennas, antennas + 4), (std::vector<int>{-2, 1, 2, 3}));
  EXPECT_EQ(std::vector<int>(flags, flags + 4), (std::vector<int>{1, 0, 0, 0}));

  EXPECT_EQ(list.DeleteEQBase(), 1);
  EXPECT_EQ(list.deleteUnMarkItem(), 1);
  EXPECT_EQ(Texts(list), (Strings{"1-3", "2-3"}));
}

TEST(BaseLine, ListsAtMost64Antennas) {
  ABaseLine list;
  for (int i = 1; i < 100; ++i) list.checkBase(ABaseLineItem(0, i, false));
  std::vector<char> antennas(64 + 1, 'x');
  std::vector<char> flags(64 + 1, 'x');
  EXPECT_EQ(list.getScopeMap(antennas.data(), flags.data()), 64);
  EXPECT_EQ(antennas[63], 63);
  EXPECT_EQ(antennas[64], 'x');
  EXPECT_EQ(flags[64], 'x');
}

TEST(BaseLine, TakesOneSourceOutOfABaselineTable) {
  AUVXBaseLines table;
  for (const auto& [source, ant2, flag] : {std::tuple{3, 2, 0}, {2, 5, 1}, {2, 3, 0}, {-7, 2, 0}, {32767, 4, 0}}) {
    table.checkBase(AUVXBaseLineItem(GroupOf(source, 1, ant2, flag)));
  }
  ABaseLine list(table, 2);
  EXPECT_EQ(Texts(list), (Strings{"1-3", "1-5*"}));
  list.Init(table, -7);
  EXPECT_EQ(Texts(list), Strings{"1-2"});
  list.Init(table, 32767);
  EXPECT_EQ(Texts(list), Strings{"1-4"});
  for (const int absent : {1, 4, 32768, -2147483647 - 1}) {
    list.Init(table, absent);
    EXPECT_EQ(list.count(), 0) << absent;
  }
}

TEST(BaseLine, AdoptsABlockAndKeepsItsImageInAFile) {
  auto* block = static_cast<ABaseLineItem*>(std::malloc(2 * sizeof(ABaseLineItem)));
  block[0] = ABaseLineItem(1, 2, false);
  block[1] = ABaseLineItem(1, -3, true);
  ABaseLine list(block, 2);
  OpenTempFile file;
  ASSERT_TRUE(list.Store(file));
  EXPECT_EQ(file.Bytes(), std::string("\2\0\0\0\1\2\0\1\xFD\1", 10));
  file.Seek(0);
  EXPECT_EQ(Texts(ABaseLine(file)), Texts(list));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class Search : public ABaseClosedSearch {
 public:
  explicit Search(std::vector<ABL> baselines) : baselines_(std::move(baselines)) { EXPECT_TRUE(CaculateIndexes()); }

  std::vector<std::vector<int>> Chains() const {
    std::vector<std::vector<int>> chains;
    for (int i = 0; i < loops().count(); ++i) chains.push_back(Elements(*loops()(i)));
    return chains;
  }

  std::vector<ABL> baselines_;

 protected:
  int GetBaseLines() override { return static_cast<int>(baselines_.size()); }
  ABL GetBase(int i) override { return baselines_[static_cast<size_t>(i)]; }
};
#pragma GCC diagnostic pop

using Chains = std::vector<std::vector<int>>;

TEST(ClosedSearch, FindsTheTriangle) {
  Search search({ABL(1, 2), ABL(2, 3), ABL(1, 3)});
  ASSERT_TRUE(search.SearchBL(ABL(1, 3)));
  EXPECT_EQ(search.Chains(), (Chains{{3}, {1, 2}}));
  ASSERT_TRUE(search.SearchBL(ABL(3, 1)));
  EXPECT_EQ(search.Chains(), (Chains{{-3}, {-2, -1}}));
}

TEST(ClosedSearch, FindsChainsUpToTheLongestLengthInDepthFirstOrder) {
  Search search({ABL(1, 2), ABL(1, 3), ABL(1, 4), ABL(2, 3), ABL(2, 4), ABL(3, 4)});
  ASSERT_TRUE(search.SearchBL(ABL(1, 2)));
  EXPECT_EQ(search.Chains(), (Chains{{1}, {2, -4}, {2, 6, -5}, {3, -5}, {3, -6, -4}}));
  search.SetMaxLink(2);
  ASSERT_TRUE(search.SearchBL(ABL(1, 2)));
  EXPECT_EQ(search.Chains(), (Chains{{1}, {2, -4}, {3, -5}}));
  Search copy = search;
  ASSERT_TRUE(copy.SearchBL(ABL(3, 4)));
  EXPECT_EQ(search.Chains().size(), 3U) << "a copy has chains of its own";
  search.SetMaxLink(0);
  ASSERT_TRUE(search.SearchBL(ABL(1, 2)));
  EXPECT_EQ(search.Chains(), Chains{{1}});
}

TEST(ClosedSearch, KnowsOnlyBaselinesThatAreThere) {
  Search search({ABL(200, 3), ABL(7, 7), ABL(3, 1), ABL(200, 3)});
  EXPECT_EQ(Elements(search.GetScopeMap()), (std::vector<int>{1, 3, 200}));
  ASSERT_TRUE(search.SearchBL(ABL(200, 3)));
  EXPECT_EQ(search.Chains(), Chains{{4}}) << "the later of two equal baselines counts";
  EXPECT_FALSE(search.SearchBL(ABL(1, 200)));
  EXPECT_EQ(search.Chains(), Chains{});
  EXPECT_FALSE(search.SearchBL(ABL(7, 7)));
  EXPECT_FALSE(Search({}).SearchBL(ABL(1, 2)));
}

}  // namespace
}  // namespace zeltra::test

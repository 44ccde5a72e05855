// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXFqTbl.h"

#include "tests/support/OpenUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/uvx/AUVXSkanList.h"

namespace zeltra::test {
namespace {

constexpr double kFreq0 = SyntheticUVX::kFreq0;

// Setups with these identifiers, two IFs; IF i of setup s begins at 1000 s + 100 i Hz with channels of -(i + 1) Hz.
SyntheticUVXTable Frequencies(const std::vector<int>& ids) {
  SyntheticUVXTable table{"FQ"};
  table.columns = {{"FRQSEL", "", "1J"},
                   {"IF FREQ", "HZ", "2D"},
                   {"CH WIDTH", "HZ", "2E"},
                   {"TOTAL BANDWIDTH", "HZ", "2E"},
                   {"SIDEBAND", "", "2J"}};
  for (const int id : ids) table.Row(id, 1000.0 * id, 1000.0 * id + 100, -1.0F, -2.0F, 16.0F, 16.0F, 1, -1);
  return table;
}

// Scans {SOURCE ID, FREQ ID}.
SyntheticUVXTable Index(const std::vector<std::pair<int, int>>& scans) {
  SyntheticUVXTable table{"NX"};
  table.columns = {{"SOURCE ID", "", "1J"}, {"FREQ ID", "", "1J"}};
  for (const auto& [source, setup] : scans) table.Row(source, setup);
  return table;
}

SyntheticUVX Base(int IFs) {
  return SyntheticUVX().IFs(IFs).Channels(16);
}

// The table of a file, reduced to one source if `source` is given.
AUVXFqTbl TableOf(const SyntheticUVX& content, int source = INT_MIN) {
  OpenUVX file(content);
  return source == INT_MIN ? AUVXFqTbl(file.uvx) : AUVXFqTbl(file.uvx, source);
}

std::vector<int> Ids(const AUVXFqTbl& table) {
  std::vector<int> ids;
  for (int row = 0; row < table.GetFreqSels(); ++row) ids.push_back(table.GetFreqSelID(row));
  return ids;
}

TEST(FrequencyTable, GivesEveryChannel) {
  const AUVXFqTbl table = TableOf(Base(2).Table(Frequencies({4, 7})));
  EXPECT_EQ(Ids(table), (std::vector<int>{4, 7}));
  EXPECT_EQ(table.GetFreqSelNum(7), 1);
  EXPECT_EQ(table.GetFreqSelNum(5), -1);
  EXPECT_DOUBLE_EQ(table.GetStartIFFq(1, 1), kFreq0 + 7100);
  EXPECT_DOUBLE_EQ(table.GetDeltaIFFq(1, 0), -2);
  EXPECT_DOUBLE_EQ(table.GetFreq(3, 0, 0), kFreq0 + 4000 - 3);
  EXPECT_DOUBLE_EQ(table.GetFreq(19, 1), kFreq0 + 7100 - 6);
  EXPECT_DOUBLE_EQ(table.GetCenterIF(1, 0), kFreq0 + 4100 - 15);
}

TEST(FrequencyTable, ServesDataWithoutAnIFAxisAndOfOneChannel) {
  const AUVXFqTbl table = TableOf(Base(0).Channels(1).Table(Frequencies({1})));
  EXPECT_EQ(table.GetRealIFs(), 0);
  EXPECT_EQ(table.GetIFs(), 1);
  EXPECT_DOUBLE_EQ(table.GetCenterIF(0, 0), kFreq0 + 1000);
  EXPECT_EQ(table.GetFreq(0, 1, 0), 0) << "there is one IF only";
}

TEST(FrequencyTable, IsEmptyWithoutItsTable) {
  const AUVXFqTbl table = TableOf(Base(2), 1);
  EXPECT_EQ(table.GetFreqSels(), 0);
  EXPECT_EQ(table.GetIFs(), 2);
  EXPECT_EQ(table.GetFreq(0, 0, 0), 0);
  EXPECT_EQ(table.GetFreqSelID(0), 0);
  EXPECT_EQ(AUVXFqTbl().GetFreq(5, 0), 0);
}

TEST(FrequencyTable, RepeatsTheLastValueForFormatsItDoesNotKnow) {
  SyntheticUVXTable fq{"FQ"};
  fq.columns = {{"FREQID", "", "1J"}, {"BANDFREQ", "HZ", "2I"}, {"RXCODE", "", "32A"}, {"CH_WIDTH", "HZ", "2D"}};
  const AUVXFqTbl table = TableOf(Base(2).Table(fq.Row(3, 5.0, 6.0)));
  EXPECT_EQ(Ids(table), std::vector<int>{3});
  EXPECT_DOUBLE_EQ(table.GetStartIFFq(1, 0), kFreq0 + 3);
  EXPECT_DOUBLE_EQ(table.GetDeltaIFFq(0, 0), 5) << "what is not understood takes no bytes";
  EXPECT_DOUBLE_EQ(table.GetDeltaIFFq(1, 0), 6);
}

TEST(FrequencyTable, StaysInsideARowThatIsTooShort) {
  SyntheticUVXTable fq{"FQ"};
  fq.columns = {{"FRQSEL", "", "1J"}, {"IF FREQ", "HZ", "32767D"}, {"CH WIDTH", "", "32767B"}};
  const AUVXFqTbl table = TableOf(Base(3).Table(fq.Row(2, 5.0)));
  EXPECT_DOUBLE_EQ(table.GetStartIFFq(0, 0), kFreq0 + 5);
  EXPECT_DOUBLE_EQ(table.GetStartIFFq(1, 0), 0);
  EXPECT_DOUBLE_EQ(table.GetDeltaIFFq(2, 0), 5);
}

TEST(FrequencyTable, IsReducedToTheSetupsOfASource) {
  const SyntheticUVX content =
      Base(2).Table(Frequencies({1, 2, 3, 4})).Table(Index({{7, 3}, {8, 1}, {7, 2}, {7, 3}, {7, 9}}));
  const AUVXFqTbl table = TableOf(content, 7);
  EXPECT_EQ(Ids(table), (std::vector<int>{2, 3}));
  EXPECT_DOUBLE_EQ(table.GetStartIFFq(1, 0), kFreq0 + 2100);
  EXPECT_DOUBLE_EQ(table.GetStartIFFq(1, 1), kFreq0 + 3100);
  EXPECT_EQ(Ids(TableOf(content, -1)), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(Ids(TableOf(content, 5)), std::vector<int>{});
  EXPECT_EQ(Ids(TableOf(Base(2).Table(Frequencies({1, 2})), 7)), (std::vector<int>{1, 2})) << "nothing is known";
}

TEST(FrequencyTable, IsReducedQuicklyWhateverItsSize) {
  SyntheticUVXTable setups{"FQ"}, scans = Index({});
  setups.columns = {{"FRQSEL", "", "1J"}};
  for (int i = 0; i < 200000; ++i) setups.Row(i / 2), scans.Row(7, i + 100);
  // Searching all setups for each scan would take 10 s; this takes a tenth of a second.
  const AUVXFqTbl table = TableOf(Base(0).Table(setups).Table(scans), 7);
  EXPECT_EQ(table.GetFreqSels(), 99900) << "the first of two rows with the same identifier";
  EXPECT_EQ(table.GetFreqSelID(1), 101);
}

TEST(FrequencyTable, KeepsItsImageInAFile) {
  AUVXFqTbl table = TableOf(Base(2).Table(Frequencies({4, 7})));
  OpenTempFile file;
  ASSERT_TRUE(table.Store(file));
  const std::string bytes = file.Bytes();
  ASSERT_EQ(bytes.size(), 8 + 4 * 16 + 4 + 2 * 4 + 3 * 4U);
  EXPECT_EQ(bytes.substr(72), std::string("\2\0\0\0\4\0\0\0\7\0\0\0\2\0\0\0\2\0\0\0\20\0\0\0", 24));
  AUVXFqTbl loaded;
  file.Seek(0);
  ASSERT_TRUE(loaded.Load(file));
  EXPECT_EQ(Ids(loaded), Ids(table));
  EXPECT_EQ(loaded.GetFreq(19, 1), table.GetFreq(19, 1));
  for (size_t size = 0; size < bytes.size(); ++size) {
    OpenTempFile cut(bytes.substr(0, size));
    EXPECT_FALSE(loaded.Load(cut)) << size;
    EXPECT_EQ(loaded.GetFreqSels(), 0);
  }
}

TEST(ScanList, IsATable) {
  AUVXSkanList list;
  list.SetStartMJD(57754);
  list.SetSolutionInterval(10);
  list.Add({0.25, 0.5, 3, 2});
  list.Add({0.5, 0.75, 4, 1});
  const std::unique_ptr<AUVXTable> table(list.ToUVXTable());
  EXPECT_EQ(table->Code(), "SL");
  EXPECT_EQ(table->rowBytes(), 24);
  EXPECT_EQ(table->keywords()(0).Value(), "57754");
  EXPECT_EQ(std::string(table->keywords()(1).value), "    1.0000000000E+01");

  AUVXSkanList read;
  ASSERT_TRUE(read.Create(*table));
  ASSERT_EQ(read.count(), 2);
  EXPECT_EQ(read(1).tstart, 0.5);
  EXPECT_EQ(read(1).tstop, 0.75);
  EXPECT_EQ(read(0).source, 3);
  EXPECT_EQ(read.GetStartMJD(), 57754);
  EXPECT_EQ(read.GetSolutionInterval(), 1) << "read as an integer";

  AUVXSkanList moved(std::move(read));
  EXPECT_EQ(moved.GetStartMJD() + moved.count(), 57756);
  EXPECT_EQ(read.GetStartMJD() + read.GetSolutionInterval(), 0);

  AUVXTable other;
  other.Create(AUVXTable::toHash("SL", 0));
  other.AddColumn("TSTART", "DAYS", "1D");
  other.SetRows(3);
  EXPECT_FALSE(read.Create(other));
  EXPECT_EQ(read.count(), 3);
}

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include "tests/support/OpenUVX.h"
#include "tests/support/Progress.h"
#include "tests/support/Test.h"
#include "zeltra/platform/MessageBox.h"
#include "zeltra/readers/AUVXFastRead.h"
#include "zeltra/readers/AUVXPosIndex.h"
#include "zeltra/readers/AUVXRead.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra::test {
namespace {

using Indices = std::vector<int>;

std::vector<std::string> shown;

// A UVX file in memory.
class ReaderTest : public testing::Test {
 protected:
  ReaderTest() {
    SetMessageSink([](const char* text) { shown.push_back(text); });
  }
  ~ReaderTest() override {
    SetMessageSink(nullptr);
    shown.clear();
  }

  AUVXFile& Open(const SyntheticUVX& content) {
    uvx_ = AUVXFile();
    EXPECT_TRUE(uvx_.Attach(new MemoryFile(content.Bytes()), 0, 1));
    return uvx_;
  }

  AUVXFile uvx_;
};

// The indices that a reader gives; each record is checked against the builder's.
template <typename Reader>
Indices ReadAll(Reader& reader, const SyntheticUVX& content) {
  const std::vector<SyntheticRecord> records = content.Records();
  Indices indices;
  AUVXVisibility vis(reader.uvx());
  AUVXGroup group;
  int index = -1;
  while (reader.GetUVGVis(group, vis, index)) {
    indices.push_back(index);
    const SyntheticRecord& expected = records.at(static_cast<size_t>(index));
    EXPECT_EQ(group.uvTime(), expected.date);
    EXPECT_EQ(group.v(), expected.v);
    EXPECT_EQ(group.tlsc1(), expected.ant1);
    EXPECT_EQ(group.tlsc2(), expected.ant2);
    EXPECT_EQ(vis.count(), static_cast<int>(expected.values.size()));
    for (int k = 0; k < vis.count(); ++k) {
      const SyntheticRecord::Value& value = expected.values[static_cast<size_t>(k)];
      EXPECT_TRUE(vis.lpArray()[k].re == value.re && vis.lpArray()[k].weight == value.weight) << index << ", " << k;
    }
    if (indices.size() > 2 * records.size()) break;
  }
  EXPECT_FALSE(reader.GetUVGVis(group, vis, index)) << "the end stays the end";
  return indices;
}

Indices ListAll(AUVXPosIndex& list) {
  Indices indices;
  int index = -1;
  while (indices.size() < 1000 && list.GetIndex(index)) indices.push_back(index);
  return indices;
}

Indices Range(int first, int end) {
  Indices indices;
  for (int i = first; i < end; ++i) indices.push_back(i);
  return indices;
}

Indices operator+(Indices a, const Indices& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// An index table of scans {START VIS, END VIS, SOURCE ID, FREQ ID}.
SyntheticUVXTable Index(const std::vector<std::array<int, 4>>& scans) {
  SyntheticUVXTable table{"NX"};
  table.columns = {{"START VIS", "", "1J"}, {"END VIS", "", "1J"}, {"SOURCE ID", "", "1J"}, {"FREQ ID", "", "1J"}};
  for (const auto& scan : scans) table.Row(scan);
  return table;
}

// 30 records; source 1 has 0-9 in setup 1 and 20-29 in setup 2, source 2 the others.
SyntheticUVX ThreeScans() {
  return SyntheticUVX().Times(10).Tables().Edit([](SyntheticRecord& record) {
    record.source = record.index / 10 == 1 ? 2 : 1;
    record.frqsel = record.index < 20 ? 1 : 2;
  });
}

TEST_F(ReaderTest, DeliversTheScansOfOneSource) {
  AUVXFile& uvx = Open(ThreeScans());
  AUVXRead reader(&uvx, 1, nullptr);
  EXPECT_EQ(reader.count(), 20);
  EXPECT_EQ(ReadAll(reader, ThreeScans()), Range(0, 10) + Range(20, 30));
  AUVXRead second(&uvx, 2, nullptr);
  EXPECT_EQ(ReadAll(second, ThreeScans()), Range(10, 20));
  AUVXRead absent(&uvx, 3, nullptr);
  EXPECT_EQ(ReadAll(absent, ThreeScans()), Indices{});
  AUVXPosIndex list(&uvx, 1, nullptr);
  EXPECT_EQ(ListAll(list), Range(0, 10) + Range(20, 30));
}

TEST_F(ReaderTest, DeliversOneSetupOfASource) {
  AUVXFile& uvx = Open(ThreeScans());
  AUVXRead_FqS reader(&uvx, 1, 2, nullptr);
  EXPECT_EQ(ReadAll(reader, ThreeScans()), Range(20, 30));
  AUVXPosIndex_FqS list(&uvx, 1, 2, nullptr);
  EXPECT_EQ(ListAll(list), Range(20, 30));
  AUVXRead_FqS absent(&uvx, 2, 2, nullptr);
  EXPECT_EQ(ReadAll(absent, ThreeScans()), Indices{});
}

TEST_F(ReaderTest, EndsAtOnceWithoutAnIndex) {
  AUVXFile& uvx = Open(SyntheticUVX());
  AUVXRead reader(&uvx, 1, nullptr);
  EXPECT_EQ(shown, std::vector<std::string>{"AUVXREAD NX=NULL"});
  EXPECT_EQ(reader.count(), 0);
  EXPECT_EQ(ReadAll(reader, SyntheticUVX()), Indices{});
  AUVXPosIndex_FqS list(&uvx, 1, 1, nullptr);
  EXPECT_EQ(ListAll(list), Indices{});
  EXPECT_EQ(shown.size(), 2U);
}

TEST_F(ReaderTest, EndsWhereTheIndexPromisesWhatTheFileLacks) {
  struct Case {
    std::vector<std::array<int, 4>> scans;
    Indices expected;
  };
  for (const Case& c :
       {Case{{{1, 3, 1, 1}, {5, 9, 1, 1}, {2, 2, 1, 1}}, Range(0, 3) + Range(4, 6)}, Case{{{0, 6, 1, 1}}, {}},
        Case{{{-5, 6, 1, 1}}, {}}, Case{{{INT_MIN, INT_MAX, 1, 1}}, {}}, Case{{{7, 8, 1, 1}, {1, 3, 1, 1}}, {}},
        Case{{{INT_MAX, INT_MAX, 1, 1}}, {}}, Case{{{1, INT_MAX, 1, 1}, {INT_MIN, 0, 1, 1}}, Range(0, 6)},
        Case{{{1, 2, 1, 1}, {4, 3, 1, 1}, {5, 5, 1, 1}}, Range(0, 2) + Range(4, 5)},
        Case{{{4, 3, 1, 1}, {2, 3, 1, 1}}, Range(1, 3)}}) {
    const SyntheticUVX content = SyntheticUVX().Table(Index(c.scans));  // 6 records
    AUVXFile& uvx = Open(content);
    const testing::Message trace = testing::Message() << c.scans[0][0] << "-" << c.scans[0][1];
    AUVXRead reader(&uvx, 1, nullptr);
    EXPECT_EQ(ReadAll(reader, content), c.expected) << trace;
    AUVXRead_FqS setup(&uvx, 1, 1, nullptr);
    EXPECT_EQ(ReadAll(setup, content), c.expected) << trace;
    AUVXPosIndex list(&uvx, 1, nullptr);
    EXPECT_EQ(ListAll(list), c.expected) << trace;
  }
}

TEST_F(ReaderTest, DeliversOnlyTheRecordsThatAFileHolds) {
  const SyntheticUVX content = SyntheticUVX().Tables();
  AUVXFile& uvx = Open(SyntheticUVX(content).Put(16, 1000));  // the header claims 1000 records
  AUVXFastRead reader(&uvx, nullptr);
  EXPECT_EQ(ReadAll(reader, content), Range(0, 6));
  AUVXFile& empty = Open(SyntheticUVX().Times(0));
  AUVXFastRead none(&empty, nullptr);
  EXPECT_EQ(ReadAll(none, content), Indices{});
}

// Has its full size, but nothing from `limit` on can be read.
class BadDisk : public MemoryFile {
 public:
  using MemoryFile::MemoryFile;
  int Read(void* buf, int n) override {
    return MemoryFile::Read(buf, static_cast<int>(std::min<int64>(n, limit - Tell())));
  }
  int64 limit = LLONG_MAX;
};

TEST(ReaderFailure, NeverDeliversWhatCouldNotBeRead) {
  const SyntheticUVX content = SyntheticUVX().Tables();
  const int64 bytes = content.RecordBytes();
  for (const int64 limit : {3 * bytes, 3 * bytes + 10, 3 * bytes + 26, 4 * bytes - 1}) {
    BadDisk file(content.Bytes());
    AUVXFile uvx;
    ASSERT_TRUE(uvx.Attach(&file, 0, 0));
    AUVXRead reader(&uvx, 1, nullptr);
    AUVXFastRead fast(&uvx, nullptr);
    file.limit = SyntheticUVX::kDataOffset + limit;
    EXPECT_EQ(ReadAll(fast, content), Indices{}) << "the block is incomplete";
    uvx.SeekUVGroup(0);
    EXPECT_EQ(ReadAll(reader, content), Range(0, 3));
  }
}

TEST_F(ReaderTest, ReadsRecordsAndFilesLargerThanItsBlock) {
  const SyntheticUVX record = SyntheticUVX().Times(1).Channels(350000).Stokes({1});
  const SyntheticUVX file = SyntheticUVX().Antennas(20).Times(40).Channels(25);
  ASSERT_GT(record.RecordBytes(), 0x400000);
  ASSERT_GT(file.RecordBytes() * 190 * 40, 0x400000);
  for (const SyntheticUVX& content : {record, file}) {
    AUVXFastRead reader(&Open(content), nullptr);
    EXPECT_EQ(ReadAll(reader, content), Range(0, static_cast<int>(content.Records().size())));
  }
}

TEST_F(ReaderTest, ReadsIntoAVisibilityOfAnotherSize) {
  AUVXFile& uvx = Open(SyntheticUVX());
  AUVXFastRead reader(&uvx, nullptr);
  AUVXVisibility large(1, 1000, 4);
  AUVXVisibility none;
  AUVXGroup group;
  int index = -1;
  ASSERT_TRUE(reader.GetUVGVis(group, large, index));
  ASSERT_TRUE(reader.GetUVGVis(group, none, index));
  ASSERT_TRUE(reader.GetUVGVis(group, large, index));
  EXPECT_EQ(large(0, 0).re, 2) << "records keep their places";
}

TEST_F(ReaderTest, TellsEveryWholePercentOnce) {
  EXPECT_EQ(kProgressRange, 1025u);
  EXPECT_EQ(kProgressPosition, 1026u);
  const SyntheticUVX content = SyntheticUVX().Antennas(2).Times(250).Tables();
  AUVXFile& uvx = Open(content);
  Progress indexed, fast, listed;
  AUVXRead reader(&uvx, 1, &indexed);
  ReadAll(reader, content);
  AUVXFastRead fastReader(&uvx, &fast);
  ReadAll(fastReader, content);
  AUVXPosIndex list(&uvx, 1, &listed);
  ListAll(list);
  for (const Progress* progress : {&indexed, &fast, &listed}) {
    EXPECT_EQ(progress->ranges, Indices{100 << 16});
    EXPECT_EQ(progress->positions, Range(0, 101));
  }
}

TEST_F(ReaderTest, GivesTheFrequenciesOfTheLastRecord) {
  SyntheticUVXTable frequencies{"FQ"};
  frequencies.columns = {{"FRQSEL", "", "1J"}, {"IF FREQ", "HZ", "1D"}, {"CH WIDTH", "HZ", "1E"}};
  for (const int setup : {1, 2}) frequencies.Row(setup, setup * 1e6, 1e3F);
  // The builder's own "FQ" knows setup 1 only, so the tables are made one by one.
  const SyntheticUVX content = SyntheticUVX()
                                   .Times(10)
                                   .Table(frequencies)
                                   .Table(Index({{1, 10, 1, 1}, {21, 30, 1, 2}}))
                                   .Edit([](SyntheticRecord& record) { record.frqsel = record.index < 20 ? 1 : 2; });
  AUVXFile& uvx = Open(content);
  AUVXRead reader(&uvx, 1, nullptr);
  AUVXVisibility vis(uvx);
  AUVXGroup group;
  int index = -1;
  AUVXFreqs* first = reader.GetFreqs();
  EXPECT_DOUBLE_EQ((*first)(1, 0), SyntheticUVX::kFreq0 + 1e6 + 1e3);
  EXPECT_EQ(reader.GetFreqs(), first);
  for (int i = 0; i < 11; ++i) {
    ASSERT_TRUE(reader.GetUVGVis(group, vis, index));
    EXPECT_DOUBLE_EQ((*reader.GetFreqs())(0, 0), SyntheticUVX::kFreq0 + (i < 10 ? 1e6 : 2e6));
  }
  EXPECT_EQ(index, 20) << "asking for frequencies does not move the reader";
  const AUVXRead copy = reader;

  AUVXPosIndex_FqS list(&uvx, 1, 2, nullptr);
  EXPECT_DOUBLE_EQ((*std::unique_ptr<AUVXFreqs>(list.GetFreqs()))(0, 0), SyntheticUVX::kFreq0 + 2e6);
}

}  // namespace
}  // namespace zeltra::test

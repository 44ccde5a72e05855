// SPDX-License-Identifier: MIT
#include <functional>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra::test {
namespace {

AUVXHeader HeaderOf(int channels) {
  AUVXHeader header;
  header.info.dateObs = SyntheticUVX::kDateObs;
  header.IFs = 1;
  header.channels = channels;
  header.freq0 = SyntheticUVX::kFreq0;
  header.stokes.SetCount(1);
  header.stokes(0) = -1;
  return header;
}

std::string RecordsOf(const std::string& file, int records, int bytes) {
  return file.substr(SyntheticUVX::kDataOffset, static_cast<size_t>(records) * static_cast<size_t>(bytes));
}

// Records of 3 MiB, longer than any block, in one piece and one by one.
TEST(UVXWriter, WritesRecordsOfAnyLengthWithTheirRangesIndexAndBaselines) {
  constexpr int kChannels = 1 << 18, kBytes = 26 + 12 * kChannels;
  const std::string records = RecordsOf(
      SyntheticUVX().Antennas(3).Times(2).Sources(1).IFs(1).Channels(kChannels).Stokes({-1}).Bytes(), 6, kBytes);
  for (const int threads : {1, 2}) {
    TempFile file("uvx");
    JobOptions options;
    options.threads = threads;
    AUVXWriter writer;
    ASSERT_TRUE(writer.Create(file.path(), HeaderOf(kChannels), options));
    ASSERT_TRUE(writer.Append(records.data(), 1));
    ASSERT_TRUE(writer.Rewind());
    ASSERT_TRUE(writer.Append(records.data(), 6));
    ASSERT_TRUE(writer.AddBaseLines() && writer.AddIndex());
    EXPECT_FALSE(file.exists());
    ASSERT_TRUE(writer.Finish());

    EXPECT_EQ(RecordsOf(file.Bytes(), 6, kBytes), records);
    AUVXFile uvx;
    ASSERT_TRUE(uvx.Open(file.c_str(), 0));
    AUVXHeader header(uvx);
    EXPECT_EQ(header.info.count, 6);
    EXPECT_EQ(header.range.v().maximum, 5);
    EXPECT_EQ(header.range.re().minimum, 0);
    EXPECT_EQ(header.range.re().maximum, static_cast<float>(5 + (kChannels - 1) / 1024.0));
    const std::unique_ptr<AUVXTable> index(uvx.GetTable("NX")), baseLines(uvx.GetTable("BL"));
    ASSERT_TRUE(index && baseLines);
    EXPECT_EQ(index->rows(), 1);
    EXPECT_NEAR(index->Number(0, 0), 0.25 + SyntheticUVX::kStep / 2, 1e-7);
    EXPECT_EQ(index->Number(0, 5), 6);
    EXPECT_EQ(baseLines->rows(), 3);
  }
}

// Scans of a long list become rows of the table a few thousand at a time.
TEST(UVXWriter, MakesAScanOfEveryChangeOfSource) {
  constexpr int kScans = 10000;
  TempFile file("uvx");
  AUVXWriter writer;
  ASSERT_TRUE(writer.Create(file.path(), HeaderOf(1), {}));
  for (int i = 0; i < 2 * kScans; ++i) {
    AUVXGroup group;
    group.source = static_cast<int16_t>(1 + i / 2 % 2);
    group.date = SyntheticUVX::kDateObs + i / 864000.0;
    ASSERT_TRUE(writer.Append(group, "twelve bytes"));
    ASSERT_TRUE(i != 9000 || writer.index().rows() == 4501) << "a look at it changes nothing";
  }
  AUVXTable& index = writer.index();
  ASSERT_EQ(index.rows(), kScans);
  for (int i = 0; i < kScans; ++i) {
    ASSERT_NEAR(index.Number(i, 0), (2 * i + 0.5) / 864000, 3e-9);  // the rounding of a Julian date and of a float
    ASSERT_EQ(index.Number(i, 2), 1 + i % 2);
    ASSERT_EQ(index.Number(i, 4), 2 * i + 1);
    ASSERT_EQ(index.Number(i, 5), 2 * i + 2);
  }
}

// The scans of records of one source at these times, given by the numbers of their last records.
std::vector<int> ScansAt(const std::vector<double>& seconds, const std::function<void(AUVXWriter&, int)>& before) {
  TempFile file("uvx");
  AUVXWriter writer;
  EXPECT_TRUE(writer.Create(file.path(), HeaderOf(1), {}));
  AUVXGroup group;
  for (size_t i = 0; i < seconds.size(); ++i) {
    before(writer, static_cast<int>(i));
    group.date = SyntheticUVX::kDateObs + seconds[i] / 86400;
    EXPECT_TRUE(writer.Append(group, "twelve bytes"));
  }
  std::vector<int> ends;
  for (int row = 0; row < writer.index().rows(); ++row) {
    ends.push_back(static_cast<int>(writer.index().Number(row, 5)));
  }
  return ends;
}

TEST(UVXWriter, EndsScansAtGapsThatAreLongForTheSpacingOfTheirTimeStamps) {
  const auto nothing = [](AUVXWriter&, int) {};
  const std::vector<double> everyTenSeconds = {0, 10, 20, 20, 30, 110, 120, 202, 212, 150};
  EXPECT_EQ(ScansAt(everyTenSeconds, nothing), std::vector({7, 10}));
  EXPECT_EQ(ScansAt({0, 1, 2, 62, 63, 124}, nothing), std::vector({5, 6}));
  EXPECT_EQ(ScansAt({0, 600, 1200, 6000, 10801, 11401}, nothing), std::vector({4, 6}));
  const auto gap = [](AUVXWriter& writer, int) { writer.SetScanGap(79.9); };
  EXPECT_EQ(ScansAt(everyTenSeconds, gap), std::vector({5, 7, 10}));
  const auto given = [](AUVXWriter& writer, int record) { writer.BeginScan(record / 4, 3); };
  EXPECT_EQ(ScansAt(everyTenSeconds, given), std::vector({4, 8, 10}));
}

TEST(UVXWriter, LeavesNoFileUnlessFinished) {
  TempFile file("uvx");
  {
    AUVXWriter writer;
    ASSERT_TRUE(writer.Create(file.path(), HeaderOf(2), {}));
    ASSERT_TRUE(writer.AddIndex());
  }
  EXPECT_FALSE(file.exists());
  AUVXWriter writer;
  EXPECT_FALSE(writer.Finish());
  ASSERT_TRUE(writer.Create(file.path(), HeaderOf(2), {}));
  AUVXGroup* group = writer.BeginRecord();
  ASSERT_TRUE(group);
  *group = AUVXGroup();
  group->source = group->frqsel = -1;  // as a damaged file may have it
  EXPECT_NE(writer.Finish().message().find("incomplete"), std::string::npos);
}

TEST(UVXWriter, RefusesMoreTablesThanTheDirectoryHolds) {
  TempFile file("uvx");
  AUVXWriter writer;
  ASSERT_TRUE(writer.Create(file.path(), HeaderOf(1), {}));
  for (int i = 0; i < 128; ++i) ASSERT_TRUE(writer.AddIndex()) << i;
  EXPECT_NE(writer.AddIndex().message().find("128"), std::string::npos);
  EXPECT_FALSE(writer.BeginRecord());
}

}  // namespace
}  // namespace zeltra::test

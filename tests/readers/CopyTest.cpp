// SPDX-License-Identifier: MIT
#include "tests/support/MemoryFile.h"
#include "tests/support/SyntheticUVX.h"
#include "tests/support/Test.h"
#include "zeltra/readers/AWork2UVX.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra::test {
namespace {

// A source in memory, a destination, and what can be read from the destination once it is committed.
class CopyTest : public testing::Test {
 protected:
  void Open(const SyntheticUVX& content) {
    sourceFile_.bytes = content.Bytes();
    ASSERT_TRUE(source_.Attach(&sourceFile_, 0, 0));
    ASSERT_TRUE(destination_.Attach(&destinationFile_, 1, 0));
  }

  void Commit() {
    destination_.Close();
    resultFile_.bytes = destinationFile_.bytes;
    ASSERT_TRUE(result_.Attach(&resultFile_, 0, 0));
  }

  std::unique_ptr<AUVXTable> Table(const char* code) { return std::unique_ptr<AUVXTable>(result_.GetTable(code)); }

  std::vector<std::string> Codes() {
    const AUVXTableHeader directory(result_);
    std::vector<std::string> codes;
    for (int i = 0; i < directory.count(); ++i) {
      codes.push_back({static_cast<char>(directory(i).ID & 0xFF), static_cast<char>(directory(i).ID >> 8 & 0xFF)});
    }
    return codes;
  }

  MemoryFile sourceFile_, destinationFile_, resultFile_;
  AUVXFile source_, destination_, result_;
};

// A table of one 32-bit column.
SyntheticUVXTable Numbers(const std::string& code, const std::string& column, const std::vector<int32_t>& values) {
  SyntheticUVXTable table{code};
  table.columns = {{column, "", "1J"}};
  for (const int32_t value : values) table.Row(value);
  return table;
}

SyntheticUVX TwoSources() {
  return SyntheticUVX()
      .Antennas(4)
      .Sources(2)
      .Tables()
      .Table(Numbers("BL", "SOURCE", {7}))
      .Table(Numbers("SN", "SOURCE ID", {2, 1, 3, 2}))
      .Table(Numbers("TY", "OTHER", {5, 6}));
}

// Drops every record of source 1 and every record with antenna 3, and notes the indices that it is shown.
class Trim : public AWork2UVX {
 public:
  using AWork2UVX::AWork2UVX;
  int Init() override {
    const std::unique_ptr<AUVXTable> moves(source_->GetTable("AN"));
    return accept;
  }
  int Working(AUVXGroup& group, AUVXVisibility& vis, int index) override {
    indices.push_back(index);
    vis(0, 0).im = 1;
    return group.sourceNo() != 1 && group.tlsc1() != 3 && group.tlsc2() != 3;
  }
  int accept = 1;
  std::vector<int> indices;
};

TEST_F(CopyTest, PassesEverythingByDefault) {
  Open(TwoSources());
  AWork2UVX copy(&source_, &destination_, nullptr, nullptr);
  ASSERT_TRUE(copy.Run());
  Commit();
  EXPECT_EQ(result_.count(), 24);
  const size_t bytes = 24 * static_cast<size_t>(TwoSources().RecordBytes());
  EXPECT_TRUE(resultFile_.bytes.compare(SyntheticUVX::kDataOffset, bytes, sourceFile_.bytes, SyntheticUVX::kDataOffset,
                                        bytes) == 0);
  EXPECT_EQ(resultFile_.bytes.substr(16, 465), sourceFile_.bytes.substr(16, 465)) << "header with its ranges";
  EXPECT_EQ(Codes(), (std::vector<std::string>{"FQ", "AN", "SU", "NX", "BL", "SN", "TY"}));
  EXPECT_EQ(Table("SN")->rows(), 3) << "there is no source 3";
  EXPECT_EQ(AUVXBaseLines(*Table("BL")).count(), 12);
  const AUVXPosition index(*Table("NX"));
  ASSERT_EQ(index.count(), 2);
  EXPECT_EQ(index(1).startVis, 13);
  EXPECT_EQ(index(1).endVis, 24);
  EXPECT_EQ(index(1).sourceId, 2);
  // The class takes days for seconds, so the start is the number of the Julian date, to the precision of the table.
  EXPECT_NEAR(index(0).start, SyntheticUVX::kStart, 0.2);
}

TEST_F(CopyTest, TrimsTablesToTheRecordsWritten) {
  Open(TwoSources());
  Trim trim(&source_, &destination_, nullptr, nullptr);
  ASSERT_TRUE(trim.Run());
  Commit();
  EXPECT_EQ(trim.indices.size(), 24U);
  EXPECT_EQ(trim.indices.back(), 23);
  ASSERT_EQ(result_.count(), 6);
  AUVXHeader header(result_);
  EXPECT_EQ(header.range.v().minimum, 12);
  EXPECT_EQ(header.range.im().maximum, 1) << "ranges follow what was written";

  const AUVXAntenns antennas(*Table("AN"));
  ASSERT_EQ(antennas.count(), 3);
  EXPECT_EQ(antennas(2).id, 4);
  EXPECT_EQ(Table("SN")->rows(), 2);
  EXPECT_EQ(Table("SU")->rows(), 2) << "SOURCE holds names there";
  EXPECT_EQ(Table("TY")->rows(), 2);
  const AUVXPosition index(*Table("NX"));
  ASSERT_EQ(index.count(), 1);
  EXPECT_EQ(index(0).startVis, 1);
  EXPECT_EQ(index(0).endVis, 6);
}

TEST_F(CopyTest, StopsWhenRefusedOrCancelled) {
  Open(TwoSources());
  int cancel = 1;
  Trim trim(&source_, &destination_, nullptr, &cancel);
  EXPECT_FALSE(trim.Run());
  EXPECT_TRUE(trim.indices.empty());
  cancel = 0;
  trim.accept = 0;
  EXPECT_FALSE(trim.Run());
  EXPECT_TRUE(trim.indices.empty());
}

TEST_F(CopyTest, SurvivesAFullDiskAndDamagedTables) {
  const SyntheticUVX content = TwoSources();
  Open(content);
  destinationFile_.largest = 2000;
  EXPECT_TRUE(AWork2UVX(&source_, &destination_, nullptr, nullptr).Run()) << "writing is not checked";

  for (size_t entry = 0; entry < 7; ++entry) {
    SyntheticUVX damaged = content;
    const size_t offset = content.DirectoryOffset() + 2 + 16 * entry + 4;
    for (const int64 position : {int64{-1}, int64{1} << 60, int64{3}}) {
      MemoryFile from(SyntheticUVX(damaged).Put(offset, position).Bytes()), to;
      AUVXFile source, destination;
      ASSERT_TRUE(source.Attach(&from, 0, 0));
      ASSERT_TRUE(destination.Attach(&to, 1, 0));
      EXPECT_TRUE(AWork2UVX(&source, &destination, nullptr, nullptr).Run());
      EXPECT_EQ(destination.count(), 24);
    }
  }
}

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecordWalk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "zeltra/ops/AUVXFluxes.h"

namespace zeltra {
namespace {

using test::SyntheticRecord;
using test::SyntheticUVX;
using testing::HasSubstr;

class RecordWalkTest : public testing::Test {
 protected:
  void Open(const SyntheticUVX& builder) {
    file_.Put(builder.Bytes());
    const AResult result = input_.Open(file_.path());
    ASSERT_TRUE(result) << result.message();
  }

  // The first record of each run that was visited, and the one after its last. Records hold their number.
  std::vector<int> Visited(const RecordSelection& selection) {
    std::vector<int> runs;
    const AResult result = WalkRecords(input_, {}, selection, [&](const WalkedRecord& record) {
      EXPECT_EQ(record.group.vv, static_cast<float>(record.index));
      EXPECT_EQ(record.values[1].re, static_cast<float>(record.index + 1.0 / 1024));
      if (runs.empty() || runs.back() != record.index) runs.insert(runs.end(), {record.index, record.index});
      runs.back() = record.index + 1;
      return true;
    });
    EXPECT_TRUE(result) << result.message();
    return runs;
  }

  test::TempFile file_{"uvx"};
  AUVXInput input_;
};

// 24 records, three of each source in turn.
SyntheticUVX Scans(int channels) {
  return SyntheticUVX().Times(8).Channels(channels).Tables().Edit(
      [](SyntheticRecord& record) { record.source = record.index / 3 % 2 + 1; });
}

TEST_F(RecordWalkTest, ReadsOverShortScansAndPassesLongOnes) {
  for (const int channels : {3, 3000}) {
    Open(Scans(channels));
    EXPECT_THAT(Visited({}), testing::ElementsAre(0, 24));
    EXPECT_THAT(Visited({{2}, {}}), testing::ElementsAre(3, 6, 9, 12, 15, 18, 21, 24));
    EXPECT_THAT(Visited({{1, 2}, {7}}), testing::ElementsAre());
  }
}

TEST_F(RecordWalkTest, NamesTheRecordThatTheIndexDenies) {
  // Its source number lies behind two bytes; records have 26 bytes and six values.
  Open(Scans(3).Put(SyntheticUVX::kDataOffset + 10 * (26 + 6 * 12) + 2, int16_t{1}));
  const AResult result = WalkRecords(input_, {}, RecordSelection(), [](const WalkedRecord&) { return true; });
  EXPECT_THAT(result.message(), HasSubstr("record 10 is of source 1 in setup 1, which the index table NX denies"));
}

TEST_F(RecordWalkTest, NamesTheRecordThatCannotBeRead) {
  Open(Scans(3000));
  AUVXFluxes fluxes;
  ASSERT_TRUE(fluxes.Create(input_, {}));
  EXPECT_EQ(fluxes.baselines().count(), 6);
  // The file was whole when it was opened.
  std::filesystem::resize_file(file_.path(), static_cast<uintmax_t>(input_.uvx().DataOffset()) +
                                                 static_cast<uintmax_t>(input_.uvx().recSize()) * 17 + 100);
  int visited = 0;
  const AResult result = WalkRecords(input_, {}, 5, 24, [&](const WalkedRecord&) { return ++visited > 0; });
  EXPECT_THAT(result.message(), HasSubstr("cannot be read in record 17"));
  EXPECT_EQ(visited, 12);
  EXPECT_FALSE(fluxes.Create(input_, {}));
  EXPECT_EQ(fluxes.baselines().count(), 0);
  ACancelFlag cancel = 1;
  JobOptions options;
  options.cancel = &cancel;
  EXPECT_EQ(fluxes.Create(input_, options).code(), AResult::Cancelled);
}

}  // namespace
}  // namespace zeltra

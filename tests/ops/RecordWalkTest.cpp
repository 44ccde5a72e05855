// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecordWalk.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/ops/AUVXFluxes.h"
#include "zeltra/ops/RecordChoice.h"

namespace zeltra::test {
namespace {

using testing::HasSubstr;

UVXSelection Selection(void (*select)(UVXSelection&)) {
  UVXSelection selection;
  select(selection);
  return selection;
}

class RecordWalkTest : public testing::Test {
 protected:
  void Open(const SyntheticUVX& builder) {
    file_.Put(builder.Bytes());
    const AResult result = input_.Open(file_.path());
    ASSERT_TRUE(result) << result.message();
  }

  // The first record of each run that was visited, and the one after its last. Records hold their number.
  std::vector<int> Visited(const UVXSelection& selection) {
    std::vector<int> runs;
    RecordChoice choice;
    EXPECT_TRUE(choice.Open(input_, selection));
    const AResult result = WalkRecords(input_, {}, choice, [&](const WalkedRecord& record) {
      EXPECT_EQ(record.group.vv, static_cast<float>(record.index));
      EXPECT_EQ(record.values[1].re, static_cast<float>(record.index + 1.0 / 1024));
      if (runs.empty() || runs.back() != record.index) runs.insert(runs.end(), {record.index, record.index});
      runs.back() = record.index + 1;
      return true;
    });
    EXPECT_TRUE(result) << result.message();
    return runs;
  }

  TempFile file_{"uvx"};
  AUVXInput input_;
};

// 24 records: three of source 1, three of source 2, and so on.
SyntheticUVX Scans(int channels) {
  return SyntheticUVX().Times(8).Channels(channels).Tables().Edit(
      [](SyntheticRecord& record) { record.source = record.index / 3 % 2 + 1; });
}

TEST_F(RecordWalkTest, ReadsOverShortScansAndPassesLongOnes) {
  for (const int channels : {3, 3000}) {
    Open(Scans(channels));
    EXPECT_THAT(Visited({}), testing::ElementsAre(0, 24));
    EXPECT_THAT(Visited(Selection([](UVXSelection& s) { s.sources = {"2"}; })),
                testing::ElementsAre(3, 6, 9, 12, 15, 18, 21, 24));
    EXPECT_THAT(Visited(Selection([](UVXSelection& s) {
                  s.scans = {2, 0}, s.baselines = {"3-1"};
                })),
                testing::ElementsAre(1, 2, 7, 8));
  }
}

// A selection, and how many records it takes, or why it can take none.
struct Choice {
  void (*select)(UVXSelection&);
  const char* answer;
};

TEST_F(RecordWalkTest, TakesWhatIsSelectedOrTellsWhatThereIs) {
  // u is 1999, 2999, 2998 s on the baselines 1-2, 1-3, 2-3, v below 24 s; the channels are at 1.4, 1.401, 1.402 GHz.
  Open(Scans(3).Edit([](SyntheticRecord& record) { record.source = record.index / 3 % 2 + 1; }));
  const Choice choices[] = {
      {[](UVXSelection&) {}, "24"},
      {[](UVXSelection& s) { s.antennas = {"1"}; }, "16"},
      {[](UVXSelection& s) {
         s.antennas = {"ant1", "3"};
       },
       "8"},
      {[](UVXSelection& s) {
         s.antennas = {"2"}, s.baselines = {"3-1", "3-2"};
       },
       "8"},
      {[](UVXSelection& s) {
         s.sources = {"2"}, s.scans = {1, 2, 5};
       },
       "6"},
      {[](UVXSelection& s) {
         s.uvRange = {2e12, 3e12};
       },
       "8"},
      {[](UVXSelection& s) {
         s.channels = {2}, s.uvRange = {0, 2999 * 1.4021e9};
       },
       "24"},
      {[](UVXSelection& s) {
         s.channels = {2}, s.uvRange = {0, 2999 * 1.4018e9};
       },
       "16"},
      {[](UVXSelection& s) { s.sources = {"=1"}; }, "no record of source =1; there are 1 (SRC1), 2"},
      {[](UVXSelection& s) { s.scans = {8}; }, "no scan 9; there are 8, numbered from 1"},
      {[](UVXSelection& s) { s.sources = {"2"}, s.scans = {0}; }, "the scans are 1 of source 1 (SRC1) in setup 1"},
      {[](UVXSelection& s) { s.baselines = {"1-1"}; }, "antennas asked for, there are 1 (ANT1), 2 (ANT2)"},
      {[](UVXSelection& s) { s.sources = {"2"}, s.stop = 2457754.0; },
       "are 2017-01-01 06:00:10.0 to 2017-01-01 06:01:10.0"},
      {[](UVXSelection& s) {
         s.uvRange = {0, 1e12};
       },
       "the uv distances are 2801G to 4202G wavelengths"}};
  for (const auto& [select, answer] : choices) {
    RecordChoice choice;
    int taken = 0;
    AResult result = choice.Open(input_, Selection(select));
    if (result) {
      result = WalkRecords(input_, {}, choice, [&](const WalkedRecord& record) {
        EXPECT_TRUE(choice.Takes(record.group, record.index));
        return ++taken > 0;
      });
    }
    if (result && taken == 0) result = choice.NothingSelected(input_, {});
    EXPECT_THAT(result ? std::to_string(taken) : result.message(), HasSubstr(answer));
  }
}

TEST_F(RecordWalkTest, NamesTheRecordThatTheIndexDenies) {
  // The source number is at byte 2 of a record, which has 26 bytes and six values.
  Open(Scans(3).Put(SyntheticUVX::kDataOffset + 10 * (26 + 6 * 12) + 2, int16_t{1}));
  RecordChoice choice;
  ASSERT_TRUE(choice.Open(input_, {}));
  const AResult result = WalkRecords(input_, {}, choice, [](const WalkedRecord&) { return true; });
  EXPECT_THAT(result.message(), HasSubstr("record 11 is of source 1 in setup 1, which the index table NX denies"));
}

TEST_F(RecordWalkTest, NamesTheRecordThatCannotBeRead) {
  Open(Scans(3000));
  AUVXFluxes fluxes;
  ASSERT_TRUE(fluxes.Create(input_, {}, {}));
  EXPECT_EQ(fluxes.baselines().count(), 6);
  // The file is cut only after it was opened.
  std::filesystem::resize_file(file_.path(), static_cast<uintmax_t>(input_.uvx().DataOffset()) +
                                                 static_cast<uintmax_t>(input_.uvx().recSize()) * 17 + 100);
  int visited = 0;
  const AResult result = WalkRecords(input_, {}, 5, 24, [&](const WalkedRecord&) { return ++visited > 0; });
  EXPECT_THAT(result.message(), HasSubstr("cannot be read in record 18"));
  EXPECT_EQ(visited, 12);
  EXPECT_FALSE(fluxes.Create(input_, {}, {}));
  EXPECT_EQ(fluxes.baselines().count(), 0);
  ACancelFlag cancel = 1;
  JobOptions options;
  options.cancel = &cancel;
  EXPECT_EQ(fluxes.Create(input_, {}, options).code(), AResult::Cancelled);
}

}  // namespace
}  // namespace zeltra::test

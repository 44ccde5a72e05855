// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/JobFiles.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/ops/AverageFrequency.h"
#include "zeltra/ops/DeleteIFs.h"
#include "zeltra/ops/ShiftUVX.h"
#include "zeltra/ops/SqueezeUVX.h"
#include "zeltra/ops/UnfoldUVX.h"
#include "zeltra/uvx/AUVXFqTbl.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {
namespace {

using test::Error;
using test::Made;
using test::Source;
using test::SyntheticRecord;
using test::SyntheticUVX;
using test::SyntheticUVXTable;
using test::TempFile;
using testing::ElementsAre;
using testing::HasSubstr;

template <typename T = float>
SyntheticUVXTable TableOf(const std::string& code, std::vector<SyntheticUVXTable::Column> columns, int rows,
                          std::initializer_list<T> numbers) {
  SyntheticUVXTable table{code, rows, 0, {{"NO_IF", "9", true}}, std::move(columns)};
  for (const T number : numbers) test::Append(table.data, number);
  return table;
}

SyntheticUVXTable Flags(std::initializer_list<int32_t> numbers) {
  return TableOf<int32_t>("FG", {{"FREQ ID", "", "1J"}, {"IFS", "", "2J"}, {"CHANS", "", "2J"}},
                          static_cast<int>(numbers.size() / 5), numbers);
}

std::vector<double> Numbers(AUVXInput& input, const std::string& code) {
  std::vector<double> numbers;
  const auto table = input.Table(code);
  for (int row = 0; table && row < table->rows(); ++row) {
    for (int column = 0; column < table->columnCount(); ++column) {
      for (int i = 0; i < table->ParseFormat(column).count; ++i) numbers.push_back(table->Number(row, column, i));
    }
  }
  return numbers;
}

std::string Together(const CopySummary& summary) {
  std::string text;
  for (const std::string& remark : summary.remarks) text += remark + "\n";
  return text;
}

TEST(DeleteIFs, CutsWhatTablesSayOfIFs) {
  Source source(SyntheticUVX()
                    .IFs(3)
                    .Channels(2)
                    .Tables()
                    .Table(TableOf<float>("SN", {{"GEODELAY", "", "3E"}, {"REAL1", "", "3E"}}, 1, {7, 8, 9, 1, 2, 3}))
                    .Table(TableOf<float>("BP", {{"REAL 1", "", "6E"}}, 1, {1, 2, 3, 4, 5, 6}))
                    .Table(TableOf<float>("XX", {{"ANY", "", "3E"}}, 1, {1, 2, 3}))
                    .Table(Flags({-1, 0, 0, 0, 0, -1, 2, 2, 0, 0, -1, 1, 2, 1, 1, -1, 2, 3, 1, 1, -1, 3, 2, 0, 0})));
  DeleteIFsOptions options;
  options.deleted = {1};
  Made out;
  CopySummary summary;
  ASSERT_TRUE(DeleteIFs(source, out.path(), options, &summary));
  EXPECT_THAT(Together(summary), HasSubstr("may be: XX"));
  out.Look();
  EXPECT_THAT(Numbers(out, "SN"), ElementsAre(7, 8, 9, 1, 3));
  EXPECT_EQ(out.Table("SN")->keywords()(0).Value(), "2");
  EXPECT_THAT(Numbers(out, "BP"), ElementsAre(1, 2, 5, 6));
  EXPECT_THAT(Numbers(out, "FG"), ElementsAre(-1, 0, 0, 0, 0, -1, 1, 1, 1, 1, -1, 2, 2, 1, 1));
  options.deleted = {0, 1, 2};
  EXPECT_THAT(Error(DeleteIFs(source, out.path(), options)), HasSubstr("all of its IFs, 3"));
  options.deleted = {3};
  EXPECT_THAT(Error(DeleteIFs(source, out.path(), options)), HasSubstr("no IF 4; there are 3"));
  EXPECT_THAT(Error(DeleteIFs(source, out.path(), {})), HasSubstr("name either"));
}

TEST(AverageFrequency, TranslatesTables) {
  Source source(SyntheticUVX()
                    .Antennas(2)
                    .Times(1)
                    .IFs(3)
                    .Channels(6)
                    .Tables()
                    .Table(TableOf<float>("BP", {{"REAL 1", "", "18E"}}, 0, {}))
                    .Table(TableOf<float>("SN", {{"REAL1", "", "3E"}}, 1, {1, 2, 3}))
                    .Table(Flags({1, 0, 0, 0, 0, 1, 2, 0, 3, 4, 1, 1, 1, 2, 3, 1, 1, 2, 6, 6})));
  AverageFrequencyOptions options;
  options.channels = 2;
  Made out;
  CopySummary summary;
  ASSERT_TRUE(AverageFrequency(source, out.path(), options, &summary));
  EXPECT_THAT(Together(summary), HasSubstr("may be: BP\n2 entries of table FG left out"));
  out.Look();
  EXPECT_THAT(Numbers(out, "FG"), ElementsAre(1, 0, 0, 0, 0, 1, 2, 3, 2, 2));
  EXPECT_THAT(Numbers(out, "SN"), ElementsAre(1, 2, 3));
  Made trimmed;
  options.trim = 15;  // one channel at each end
  ASSERT_TRUE(AverageFrequency(source, trimmed.path(), options));
  trimmed.Look();
  EXPECT_THAT(Numbers(trimmed, "FG"), ElementsAre(1, 0, 0, 0, 0, 1, 1, 1, 1, 1));
}

TEST(AverageFrequency, JoinsIFsThatFollowEachOther) {
  const auto files = [](const char* keyword, float other) {
    SyntheticUVXTable antennas = TableOf<float>("AN", {{"POLCALA", "", "4E"}}, 1, {5, 6, 5, other});
    antennas.keywords.insert(antennas.keywords.end(), {{keyword, "1", true}, {"FREQ", "1.4D9", true}});
    return SyntheticUVX()
        .Antennas(2)
        .Times(1)
        .IFs(2)
        .Channels(100)
        .Table(antennas)
        .Table(TableOf<float>("SU", {{"IFLUX", "JY", "2E"}}, 1, {1, 4}))
        .Table(TableOf<float>("TY", {{"TSYS 1", "", "2E"}}, 1, {1, 4}))
        .Table(Flags({1, 2, 2, 0, 0, 1, 0, 0, 1, 50, 1, 0, 0, 1, 51}));
  };
  const auto setups = [](double second, double width) {
    return TableOf<double>("FQ", {{"IF FREQ", "HZ", "2D"}, {"CH WIDTH", "HZ", "2D"}}, 1, {0, second, 1e6, width});
  };
  Source source(files("NOPCAL", 7).Table(setups(1e8, 1e6)));
  AverageFrequencyOptions options;
  options.joinIFs = true;
  options.channels = 50;
  Made out;
  CopySummary summary;
  ASSERT_TRUE(AverageFrequency(source, out.path(), options, &summary));
  EXPECT_THAT(Together(summary), HasSubstr("may be: TY\ntable AN is left without polarisation terms"));
  EXPECT_THAT(Together(summary), HasSubstr("1 entry of table FG"));
  out.Look();
  EXPECT_EQ(out.uvx().channels(), 4);
  EXPECT_DOUBLE_EQ(AUVXFqTbl(out.uvx()).GetFreq(3, 0, 0), 1.4e9 + 174.5e6);
  EXPECT_THAT(Numbers(out, "SU"), ElementsAre(2.5));
  EXPECT_EQ(out.Table("AN")->columns()(0).Format(), "0E");
  EXPECT_EQ(out.Table("AN")->keywords()(1).Value(), "0");
  EXPECT_EQ(out.Table("AN")->keywords()(2).Value(), "1424500000");
  EXPECT_THAT(Numbers(out, "FG"), ElementsAre(1, 1, 1, 3, 4, 1, 0, 0, 1, 1, 1, 0, 0, 3, 3));
  const auto error = [&](const SyntheticUVXTable& table) {
    Source other(files("NOPCAL", 6).Table(table));
    return Error(AverageFrequency(other, out.path(), options));
  };
  options.overwrite = true;
  EXPECT_THAT(error(setups(1.01e8, 1e6)), HasSubstr("IF 2 does not begin where IF 1 ends"));
  EXPECT_THAT(error(setups(1e8, 2e6)), HasSubstr("another width"));
  EXPECT_THAT(error(setups(1e8, -1e6)), HasSubstr("other sideband"));
  EXPECT_THAT(error(TableOf<double>("FQ", {{"CH WIDTH", "", "1D"}, {"X", "", "1K"}}, 1, {1, 2})), HasSubstr("fill"));
  EXPECT_THAT(error(TableOf<float>("ZZ", {{"X", "", "1E"}}, 1, {1})), HasSubstr("no table FQ"));
}

TEST(AverageFrequency, KeepsWhatIsFlagged) {
  constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
  Source source(
      SyntheticUVX().Antennas(2).Times(1).Channels(8).Stokes({-1, -2, -3}).Tables().Edit([](SyntheticRecord& record) {
        const float weights[] = {1, -1, 0, 3, -3, 0, kNone, 2, kNone, 1, -2, kNone};
        for (size_t i = 0; i < record.values.size(); ++i) record.values[i] = {float(i), 1, weights[i % 12]};
      }));
  AverageFrequencyOptions options;
  options.channels = 4;
  for (const bool needsAll : {false, true}) {
    options.needsAll = needsAll;
    options.overwrite = true;
    Made out;
    ASSERT_TRUE(AverageFrequency(source, out.path(), options));
    out.Look();
    AUVXVisibility values(out.uvx());
    out.Group(0);
    ASSERT_TRUE(values.load(out.uvx()));
    EXPECT_FLOAT_EQ(values(0)[0].re, (3 * 3 + 9) / 5.f);
    EXPECT_EQ(values(0)[0].weight, needsAll ? -5 : 5);
    EXPECT_EQ(values(0)[1].weight, needsAll ? -2 : 2);
    EXPECT_EQ(values(0)[1].re, 7);
    EXPECT_EQ(values(0)[2].weight, 0);
    EXPECT_EQ(values(0)[2].re, 3.5f);
  }
}

TEST(Squeeze, TakesTheSetupsOfASource) {
  const auto setups = TableOf<double>("FQ", {{"FRQSEL", "", "1D"}, {"IF FREQ", "HZ", "2D"}, {"CH WIDTH", "HZ", "2D"}},
                                      2, {1, 0, 1e8, 1e6, 1e6, 2, 5e8, 7e8, 1e6, 3e6});
  Source two(
      SyntheticUVX()
          .IFs(2)
          .Channels(4)
          .Sources(2)
          .Table(setups)
          .Edit([](SyntheticRecord& record) { record.frqsel = record.source; })
          .Table(TableOf<int32_t>(
              "NX", {{"SOURCE ID", "", "1J"}, {"FREQ ID", "", "1J"}, {"START VIS", "", "1J"}, {"END VIS", "", "1J"}}, 2,
              {1, 1, 1, 6, 2, 2, 7, 12})));
  SqueezeOptions options;
  options.source = "2";
  Made out, channels, both;
  CopySummary summary;
  ASSERT_TRUE(SQFromIF(two, out.path(), options, &summary));
  EXPECT_THAT(Together(summary), HasSubstr("setup 2, from 1899.5 MHz to 2110.5 MHz"));
  out.Look();
  const AUVXFqTbl made(out.uvx());
  ASSERT_EQ(made.GetFreqSels(), 1);
  EXPECT_EQ(made.GetFreqSelID(0), 2);
  EXPECT_DOUBLE_EQ(out.uvx().freq0(), 1.4e9 + 6e8);
  EXPECT_DOUBLE_EQ(made.GetFreq(2, 0, 0), 1.4e9 + 6e8 + 2 * 2e6);
  EXPECT_EQ(out.uvx().count(), 6);
  ASSERT_TRUE(SQFromChannel(two, channels.path(), options));
  channels.Look();
  EXPECT_EQ(channels.uvx().channels(), 1);
  EXPECT_DOUBLE_EQ(AUVXFqTbl(channels.uvx()).GetFreq(0, 1, 0), 1.4e9 + 7e8 + 1.5 * 3e6);
  ASSERT_TRUE(SQFromChannel(two, both.path(), {}));
  both.Look();
  EXPECT_DOUBLE_EQ(both.uvx().freq0(), 1.4e9 + 1.5e6);
  EXPECT_DOUBLE_EQ(AUVXFqTbl(both.uvx()).GetFreq(0, 1, 1), 1.4e9 + 7e8 + 1.5 * 3e6);
}

TEST(Squeeze, GivesOneChannelTheWholeBandwidth) {
  const auto squeezed = [](double second, double width) {
    Source source(SyntheticUVX().IFs(2).Channels(4).Table(
        TableOf<double>("FQ", {{"IF FREQ", "HZ", "2D"}, {"CH WIDTH", "HZ", "2D"}, {"TOTAL BANDWIDTH", "HZ", "2D"}}, 1,
                        {0, second, 1e6, width, 4e6, 4e6})));
    SqueezeOptions options;
    options.IFs = options.channels = true;
    Made out;
    const AResult result = SaveAndSQ(source, out.path(), options);
    if (!result) return std::pair(result.message(), std::vector<double>());
    out.Look();
    return std::pair(result.message(), Numbers(out, "FQ"));
  };
  EXPECT_THAT(squeezed(4e6, 1e6).second, ElementsAre(0, 4e6, 8e6));
  EXPECT_THAT(squeezed(9e6, -1e6).second, ElementsAre(0, 4e6, 4e6));
  EXPECT_THAT(squeezed(std::numeric_limits<double>::quiet_NaN(), 1e6).first, HasSubstr("no frequencies for IF 2"));
}

TEST(FrequencyJobs, RefuseFrequenciesThatAreNotKnown) {
  Source source(
      SyntheticUVX().IFs(2).Table(TableOf<double>("SU", {{"RAEPO", "", "1D"}, {"DECEPO", "", "1D"}}, 1, {1, 2})));
  Made out;
  EXPECT_THAT(Error(ShiftUVX(source, out.path(), {}, nullptr)), HasSubstr("no table FQ"));
  DeleteIFsOptions options;
  options.deleted = {0};
  EXPECT_THAT(Error(DeleteIFs(source, out.path(), options)), HasSubstr("no table FQ"));
}

TEST(Unfold, GivesTablesARowForEverySetup) {
  Source source(SyntheticUVX()
                    .Antennas(2)
                    .IFs(2)
                    .Channels(3)
                    .Tables()
                    .Table(TableOf<float>("SN", {{"FREQ ID", "", "1E"}, {"REAL1", "", "2E"}}, 3,
                                          {-1, 10, 20, 1, 30, 40, 5, 0, 0}))
                    .Table(Flags({-1, 0, 0, 1, 3, 1, 2, 2, 2, 2}))
                    .Table(TableOf<float>("XX", {{"FREQ ID", "", "1E"}, {"ANY", "", "4E"}}, 1, {1, 1, 2, 3, 4})));
  UnfoldOptions options;
  options.IFs = true;
  Made out, channels;
  CopySummary summary;
  ASSERT_TRUE(UnfoldUVX(source, out.path(), options, &summary));
  EXPECT_THAT(Together(summary), HasSubstr("may be: XX"));
  out.Look();
  EXPECT_EQ(out.uvx().count(), 4);
  EXPECT_THAT(Numbers(out, "SN"), ElementsAre(1, 10, 2, 20, 1, 30, 2, 40));
  EXPECT_THAT(Numbers(out, "FG"), ElementsAre(1, 0, 0, 1, 3, 2, 0, 0, 1, 3, 2, 0, 0, 2, 2));
  EXPECT_EQ(AUVXFqTbl(out.uvx()).GetFreq(2, 0, 1), 1.4e9 + 1e8 + 2e6);
  EXPECT_EQ(AUVXPosition(*out.Table("NX")).count(), 2);
  options.IFs = false;
  options.channels = true;
  ASSERT_TRUE(UnfoldUVX(source, channels.path(), options));
  channels.Look();
  EXPECT_EQ(AUVXFqTbl(channels.uvx()).GetFreq(0, 1, 2), 1.4e9 + 1e8 + 2e6);
  AUVXVisibility values(channels.uvx());
  channels.Group(4);
  ASSERT_TRUE(values.load(channels.uvx()));
  EXPECT_EQ(values(1)->re, 10.f / 1024);
}

TEST(Unfold, RefusesSetupsThatThereCannotBe) {
  Source wide(SyntheticUVX().Antennas(2).Times(1).Channels(128).Tables());
  Source odd(SyntheticUVX().Antennas(2).Times(1).Tables().Edit([](SyntheticRecord& record) { record.frqsel = -3; }));
  UnfoldOptions options;
  options.channels = true;
  TempFile out("uvx");
  EXPECT_THAT(Error(UnfoldUVX(wide, out.path(), options)), HasSubstr("128 frequency setups"));
  EXPECT_THAT(Error(UnfoldUVX(odd, out.path(), options)), HasSubstr("record 1 is of the setup -3"));
  EXPECT_FALSE(out.exists());
}

}  // namespace
}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/ops/CopyUVX.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/JobFiles.h"
#include "tests/support/Test.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ClosedLoops.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/ops/RecomputeUVW.h"
#include "zeltra/ops/SimulateUVX.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra::test {
namespace {

using testing::HasSubstr;

TEST(CopyUVX, KeepsTheRecordsThatAreSelected) {
  Source source(SyntheticUVX().Antennas(4).Times(3).Sources(2).Tables().Edit([](SyntheticRecord& record) {
    record.flag = record.index == 7;
    if (record.index == 8) {
      for (auto& value : record.values) value.weight = -1;
    }
  }));
  const auto kept = [&](const CopyOptions& options) {
    Made copy;
    const AResult result = CopyUVX(source, copy.path(), options, nullptr);
    EXPECT_TRUE(result) << result.message();
    copy.Look();
    std::vector<int> records;
    // The builder counts records in v.
    for (int i = 0; i < copy.uvx().count(); ++i) records.push_back(static_cast<int>(copy.Group(i).vv));
    return records;
  };
  CopyOptions options;
  options.selection.antennas = {"ant2", "3", "4"};
  options.selection.sources = {"SRC1"};
  EXPECT_THAT(kept(options), testing::ElementsAre(3, 4, 5, 9, 10, 11, 15, 16, 17));
  options = CopyOptions();
  options.selection.start = SyntheticUVX::kStart + SyntheticUVX::kStep;
  options.selection.stop = *options.selection.start;
  EXPECT_THAT(kept(options), testing::ElementsAre(6, 7, 8, 9, 10, 11));
  options.dropFlagged = true;
  EXPECT_THAT(kept(options), testing::ElementsAre(6, 9, 10, 11));
}

TEST(CopyUVX, LeavesRowsOfAntennasAndSourcesOut) {
  SyntheticUVXTable bySource{"TY"};
  bySource.columns = {{"SOURCE ID", "", "1J"}};
  Source source(SyntheticUVX().Antennas(4).Sources(2).Tables().Table(bySource.Row(1).Row(2)));
  CopyOptions options;
  options.selection.antennas = {"1", "2", "3"};
  options.selection.sources = {"2"};
  Made copy;
  ASSERT_TRUE(CopyUVX(source, copy.path(), options, nullptr));
  copy.Look();
  EXPECT_EQ(copy.Table("AN")->rows(), 3);
  EXPECT_EQ(copy.Table("TY")->rows(), 1);
  EXPECT_EQ(copy.Table("TY")->Number(0, 0), 2);
  EXPECT_EQ(copy.Table("SU")->rows(), 1);
  EXPECT_EQ(copy.Table("SU")->Number(0, 0), 2);
  EXPECT_EQ(AUVXPosition(*copy.Table("NX")).CountForSrc(2), 6);
}

TEST(CopyUVX, KeepsFrequenciesRight) {
  Source source(SyntheticUVX().IFs(3).Channels(8).Tables());
  CopyOptions options;
  options.selection.IFs = {2, 1};
  options.selection.channels = {2, 4, 6};
  options.selection.stokes = {"LL"};
  Made copy;
  CopySummary summary;
  ASSERT_TRUE(CopyUVX(source, copy.path(), options, &summary));
  EXPECT_TRUE(summary.remarks.empty());
  copy.Look();
  EXPECT_EQ(copy.uvx().stokes(), 1);
  AUVXFreqs before(source.uvx(), 1), after(copy.uvx(), 1);
  ASSERT_EQ(after.count(), 6);
  EXPECT_EQ(copy.uvx().freq0(), before(2, 1));
  AUVXVisibility whole(source.uvx()), part(copy.uvx());
  for (int record = 0; record < copy.uvx().count(); ++record) {
    source.uvx().SeekUVVis(record);
    copy.uvx().SeekUVVis(record);
    ASSERT_TRUE(whole.load(source.uvx()) && part.load(copy.uvx()));
    for (int i = 0; i < 2; ++i) {
      for (int channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(after(channel, i), before(2 + 2 * channel, i + 1));
        EXPECT_EQ(part(channel, i, 0).re, whole(2 + 2 * channel, i + 1, 1).re);
      }
    }
  }
  const auto setups = copy.Table("FQ");
  EXPECT_EQ(setups->columns()(1).Format(), "2D");
  EXPECT_EQ(setups->Number(0, 1, 0), 0);
  EXPECT_EQ(setups->Number(0, 1, 1), 1e8);
  EXPECT_EQ(setups->Number(0, 3, 1), 6e6);
  EXPECT_EQ(setups->keywords()(0).Value(), "2");
  // The table after the one that shrank is whole.
  EXPECT_EQ(Image(copy, "SU"), Image(source, "SU"));
}

TEST(CopyUVX, ReducesColumnsThatAreAboutIFs) {
  SyntheticUVXTable sources{"SU"}, antennas{"AN"}, unknown{"XX"};
  sources.columns = {{"ID. NO.", "", "1J"}, {"SOURCE", "", "3A"}, {"FREQOFF", "HZ", "3E"}};
  sources.Row(1, std::string("ABC"), 1.f, 2.f, 3.f);
  antennas.columns = {{"STABXYZ", "METERS", "3D"}, {"NOSTA", "", "1J"}, {"POLCALA", "", "6E"}};
  for (int number = 1; number <= 3; ++number) antennas.Row(1., 2., 3., number, 10.f, 11.f, 20.f, 21.f, 30.f, 31.f);
  unknown.columns = {{"GAIN", "", "3E"}};
  Source source(SyntheticUVX().IFs(3).Table(sources).Table(antennas).Table(unknown));
  CopyOptions options;
  options.selection.IFs = {0, 2};
  Made copy;
  CopySummary summary;
  ASSERT_TRUE(CopyUVX(source, copy.path(), options, &summary));
  ASSERT_EQ(summary.remarks.size(), 2u);
  EXPECT_THAT(summary.remarks[1], HasSubstr("no table FQ"));
  EXPECT_THAT(summary.remarks[0],
              HasSubstr("left out, which are about IFs or channels that are not there any more, or may be: XX"));
  copy.Look();
  const auto made = copy.Table("SU"), array = copy.Table("AN");
  EXPECT_EQ(made->Text(0, 1), "ABC");
  EXPECT_EQ(made->rowBytes(), 4 + 3 + 8);
  EXPECT_EQ(made->Number(0, 2, 1), 3);
  EXPECT_EQ(array->Number(2, 0, 2), 3);
  const std::vector<double> kept = {array->Number(2, 2, 0), array->Number(2, 2, 1), array->Number(2, 2, 2),
                                    array->Number(2, 2, 3)};
  EXPECT_THAT(kept, testing::ElementsAre(10, 11, 30, 31));
}

TEST(CopyUVX, RefusesWhatIsNotThere) {
  Source source(SyntheticUVX().IFs(2).Channels(4).Tables());
  TempFile out("uvx");
  const auto error = [&](auto change) {
    CopyOptions options;
    change(options);
    const std::string message = Error(CopyUVX(source, out.path(), options, nullptr));
    EXPECT_FALSE(out.exists());
    return message;
  };
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.sources = {"SRC9"}; }), HasSubstr("there are 1 (SRC1)"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.antennas = {"4"}; }), HasSubstr("1 (ANT1), 2 (ANT2), 3 (ANT3)"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.IFs = {2}; }), HasSubstr("no IF 3; there are 2"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.channels = {-1}; }), HasSubstr("no channel 0; there are 4"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.channels = {0, 1, 3}; }), HasSubstr("evenly spaced"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.stokes = {"I"}; }), HasSubstr("there are RR, LL"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.start = 2460000.5; }),
              HasSubstr("the times of the records are 2017-01-01 06:00:00.0 to"));
  EXPECT_THAT(error([](CopyOptions& o) { o.selection.baselines = {"ANT1-1"}; }),
              HasSubstr("no baseline between the antennas asked for, there are 1 (ANT1)"));
  out.Put("precious");
  EXPECT_THAT(Error(CopyUVX(source, out.path(), {}, nullptr)), HasSubstr("exists already"));
  EXPECT_EQ(out.Bytes(), "precious");
}

TEST(CopyUVX, RefusesToLeaveFrequenciesWrong) {
  SyntheticUVXTable setups{"FQ", 1, 0, {}, {{"IF FREQ", "HZ", "1D"}, {"OTHER", "", "1K"}}, std::string(16, '\0')};
  Source source(SyntheticUVX().Channels(4).Table(setups));
  TempFile out("uvx");
  CopyOptions options;
  options.selection.channels = {1, 2};
  EXPECT_THAT(Error(CopyUVX(source, out.path(), options, nullptr)), HasSubstr("its table FQ"));
  EXPECT_FALSE(out.exists());
}

TEST(CopyUVX, RefusesRecordsThatAreTooLong) {
  Source source(SyntheticUVX().Antennas(2).Times(1).Channels((1 << 19) + 1).Tables());
  TempFile out("uvx");
  UVWDifference difference;
  EXPECT_THAT(Error(CopyUVX(source, out.path(), {}, nullptr)), HasSubstr("1048578 values are too long"));
  EXPECT_THAT(Error(RecomputeUVW(source, out.path(), {}, difference)), HasSubstr("too long"));
  EXPECT_THAT(Error(FormClosures(source, {}, nullptr)), HasSubstr("too long"));
}

TEST(CopyUVX, GivesAFileWithoutAnIndexOne) {
  Source source(SyntheticUVX().Sources(2));
  Made copy;
  ASSERT_TRUE(CopyUVX(source, copy.path(), {}, nullptr));
  copy.Look();
  EXPECT_EQ(AUVXPosition(*copy.Table("NX")).CountForSrc(2), 6);
  EXPECT_EQ(copy.Table("BL")->rows(), 6);
}

TEST(RecomputeUVW, TakesTheFrameThatFits) {
  TempFile simulated("uvx"), out("uvx");
  SimulateOptions options;
  options.minutes = 5;
  ASSERT_TRUE(SimulateUVX(simulated.path(), options));
  AUVXInput input;
  ASSERT_TRUE(input.Open(simulated.path()));
  UVWDifference difference;
  ASSERT_TRUE(RecomputeUVW(input, out.path(), {}, difference));
  EXPECT_EQ(difference.records, input.uvx().count());
  EXPECT_EQ(difference.frame.Text(), "geocentric right-handed antenna positions, sources of date");
  EXPECT_LT(difference.relative, 1e-7);
  Source unrelated(SyntheticUVX().Tables());
  TempFile none("uvx");
  EXPECT_THAT(Error(RecomputeUVW(unrelated, none.path(), {}, difference)), HasSubstr("do not follow"));
  EXPECT_FALSE(none.exists());
}

TEST(RecomputeUVW, RefusesPositionsThatAreNoNumbers) {
  SyntheticUVXTable antennas{"AN"}, sources{"SU"};
  antennas.columns = {{"STABXYZ", "", "1D"}, {"NOSTA", "", "1J"}};
  for (int number = 1; number <= 4; ++number) antennas.Row(std::nan(""), number);
  sources.columns = {{"ID. NO.", "", "1J"}};
  sources.Row(1);
  Source file(SyntheticUVX().Table(antennas).Table(sources));
  TempFile out("uvx");
  UVWDifference difference;
  EXPECT_THAT(Error(RecomputeUVW(file, out.path(), {}, difference)), HasSubstr("are no numbers"));
}

TEST(RecomputeUVW, NamesWhatIsMissing) {
  TempFile out("uvx");
  UVWDifference difference;
  Source bare(SyntheticUVX().Antennas(3));
  EXPECT_THAT(Error(RecomputeUVW(bare, out.path(), {}, difference)), HasSubstr("no table AN"));
  Source stranger(SyntheticUVX().Tables().Edit([](SyntheticRecord& record) { record.ant2 += record.index == 4; }));
  EXPECT_THAT(Error(RecomputeUVW(stranger, out.path(), {}, difference)), HasSubstr("antenna 4 of record 5"));
  Source other(SyntheticUVX().Tables().Edit([](SyntheticRecord& record) { record.source = 3; }));
  EXPECT_THAT(Error(RecomputeUVW(other, out.path(), {}, difference)), HasSubstr("source 3 of record 1"));
  EXPECT_FALSE(out.exists());
}

TEST(FindClosedLoops, ListsChainsOfUnflaggedBaselines) {
  Source source(SyntheticUVX().Antennas(4).Edit([](SyntheticRecord& record) {
    record.flag = record.ant1 == 3;
    if (record.ant2 == 4) record.ant2 = 200;
  }));
  // A copy has the list of baselines.
  Made copy;
  ASSERT_TRUE(CopyUVX(source, copy.path(), {}, nullptr));
  copy.Look();
  LoopOptions options;
  options.baseline = "200-1";
  std::vector<AChain> found;
  ASSERT_TRUE(FindClosedLoops(copy, options, found));
  std::string chains;
  for (const AChain& chain : found) {
    for (const ABL& leg : chain) chains += leg.Str() + " ";
    chains += "; ";
  }
  EXPECT_EQ(chains, "200-2 2-1 ; 200-2 2-3 3-1 ; ");
  options.baseline = "3-200";
  EXPECT_THAT(Error(FindClosedLoops(copy, options, found)), HasSubstr("those of antenna 3 are 1-3, 2-3"));
  options.baseline = "3";
  EXPECT_THAT(Error(FindClosedLoops(copy, options, found)), HasSubstr("not a baseline"));
}

AResult Averages(AUVXInput& input, const AverageOptions& options) {
  return Average(input, options, [](AUVXGroup&, AUVXVisibility&) { return AResult::Ok(); });
}

AverageOptions Every(double seconds) {
  AverageOptions options;
  options.interval = seconds;
  return options;
}

TEST(Average, TakesTheParallelHandsThatAreThere) {
  // In channel 2 of IF 2 RR is flagged.
  Source file(SyntheticUVX().Antennas(2).Times(1).IFs(2).Channels(4).Tables().Edit(
      [](SyntheticRecord& record) { record.values[10].weight = -1; }));
  AverageOptions options = Every(-1);
  options.selection.IFs = {1};
  options.selection.channels = {1, 2};
  options.selection.stokes = {"PI"};
  Made out;
  ASSERT_TRUE(AverageUVX(file, out.path(), options));
  out.Look();
  ASSERT_EQ(out.uvx().recSize(), 26 + 2 * 12);
  EXPECT_EQ(AUVXStokes(out.uvx())(0), 1);
  const AUVXFreqs frequencies(out.uvx(), 1);
  EXPECT_DOUBLE_EQ(frequencies(0), 1.501e9);
  EXPECT_DOUBLE_EQ(frequencies(1), 1.502e9);
  AUVXVisibility values(out.uvx());
  out.Group(0);
  ASSERT_TRUE(values.load(out.uvx()));
  // LL alone; then (RR + LL) / 2, with weights 1 and 2.
  EXPECT_EQ(values(0)->re, 11.f / 1024);
  EXPECT_EQ(values(0)->weight, 3);
  EXPECT_EQ(values(1)->re, 12.5f / 1024);
  EXPECT_FLOAT_EQ(values(1)->weight, 4 / 1.5f);
}

TEST(Average, RefusesWhatItWouldGetWrong) {
  Source backwards(SyntheticUVX().Antennas(2).Times(3).Tables().Edit([](SyntheticRecord& record) {
    if (record.index == 1) record.date -= 0.01;
  }));
  EXPECT_THAT(Error(Averages(backwards, Every(10))), HasSubstr("record 2 goes back in time"));
  Source unindexed(SyntheticUVX().Antennas(2));
  EXPECT_THAT(Error(Averages(unindexed, Every(10))), HasSubstr("no index table NX"));
  const SyntheticUVX builder = SyntheticUVX().Antennas(2).Sources(2).Tables();
  // The source number of the first record is changed.
  Source mislabelled(SyntheticUVX(builder).Put(481 + 2, int16_t{2}));
  EXPECT_THAT(Error(Averages(mislabelled, Every(10))), HasSubstr("record 1 is of source 2"));
  Source file(builder);
  AverageOptions options = Every(10);
  options.selection.setup = 4;
  EXPECT_THAT(Error(Averages(file, options)), HasSubstr("setup 4; there are 1"));
  options = Every(10);
  options.mix = AverageMix::Cross;
  EXPECT_THAT(Error(Averages(file, options)), HasSubstr("the polarisations are RR, LL"));
  EXPECT_THAT(Error(Averages(file, Every(0))), HasSubstr("0.001 s"));
  TempFile out("uvx");
  options = Every(10);
  options.selection.start = 2460000.5;
  EXPECT_THAT(Error(AverageUVX(file, out.path(), options)), HasSubstr("no record is selected"));
  EXPECT_THAT(Error(Averages(file, options)), HasSubstr("the times of the records are 2017-01-01 06:00:00.0 to"));
  EXPECT_FALSE(out.exists());
}

TEST(Average, EndsWhenItIsAskedTo) {
  Source file(SyntheticUVX().Antennas(2).Times(3).Tables());
  ACancelFlag cancel = 0;
  int taken = 0;
  AverageOptions options = Every(-1);
  options.cancel = &cancel;
  const auto stop = [&](AUVXGroup&, AUVXVisibility&) { return ++taken == 2 ? AResult::Fail("full") : AResult::Ok(); };
  EXPECT_EQ(Error(Average(file, options, stop)), "full");
  cancel = 1;
  EXPECT_EQ(Average(file, options, stop).code(), AResult::Cancelled);
  EXPECT_EQ(taken, 2);
}

struct Thrower : CProgressCtrl {
  std::intptr_t SendMessage(unsigned message, std::uintptr_t, std::intptr_t) override {
    return message == kProgressPosition ? throw std::runtime_error("the host has had enough") : 0;
  }
};

TEST(Average, LetsWhatTheHostThrowsPass) {
  Source file(SyntheticUVX().Antennas(4).Times(400).Tables());
  Thrower thrower;
  AverageOptions options = Every(-1);
  options.progress = &thrower;
  for (options.threads = 1; options.threads <= 3; ++options.threads) {
    const auto take = [](AUVXGroup&, AUVXVisibility&) { return AResult::Ok(); };
    EXPECT_THROW((void)Average(file, options, take), std::runtime_error) << options.threads;
  }
}

TEST(FormClosures, ClosesTheTrianglesOfAntennas) {
  // The last baseline of the second time, 3-200, is not valid.
  Source file(SyntheticUVX().Antennas(4).Times(2).Tables().Edit([](SyntheticRecord& record) {
    if (record.ant2 == 4) record.ant2 = 200;
    if (record.index == 11) {
      for (auto& value : record.values) value.weight = 0;
    }
  }));
  ClosureOptions options;
  std::vector<std::string> triangles;
  const auto sink = [&](const AClosure& closure) {
    const int* a = closure.antennas;
    triangles.push_back(std::to_string(a[0]) + "-" + std::to_string(a[1]) + "-" + std::to_string(a[2]));
    return AResult::Ok();
  };
  ASSERT_TRUE(FormClosures(file, options, sink));
  EXPECT_THAT(triangles, testing::UnorderedElementsAre("1-2-3", "1-2-200", "1-3-200", "2-3-200", "1-2-3", "1-2-200"));
  triangles.clear();
  options.selection.antennas = {"2"};
  options.selection.stop = SyntheticUVX::kStart;
  ASSERT_TRUE(FormClosures(file, options, sink));
  EXPECT_THAT(triangles, testing::UnorderedElementsAre("1-2-3", "1-2-200", "2-3-200"));
  options.selection.antennas = {"ANT9"};
  EXPECT_THAT(Error(FormClosures(file, options, sink)), HasSubstr("no antenna ANT9; there are 1 (ANT1)"));
  options = ClosureOptions();
  options.selection.stokes = {"RL"};
  EXPECT_THAT(Error(FormClosures(file, options, sink)), HasSubstr("as they are stored, RR, LL, or PI, and not of RL"));
  options.selection.stokes = {"I"};
  EXPECT_THAT(Error(FormClosures(file, options, sink)), HasSubstr("as they are stored, RR, LL, or PI, and not of I"));
  options.selection.stokes.clear();
  options.selection.channels = {2};
  EXPECT_THAT(Error(FormClosures(file, options, sink)), HasSubstr("no channel 3; there are 2"));
}

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ClosurePhases.h"

namespace zeltra {
namespace {

using test::SyntheticRecord;
using test::SyntheticUVX;
using test::TempFile;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr double kStart = 21600;  // seconds since 0 h of the first time of a synthetic file

struct Row {
  double seconds;
  int source, ant1, ant2;
  double u;
  AUVXComplex first;
};

class Given : public AUVXInput {
 public:
  explicit Given(const SyntheticUVX& builder) : file_("uvx") {
    file_.Put(builder.Bytes());
    const AResult result = Open(file_.path());
    EXPECT_TRUE(result) << result.message();
  }

  AResult Averages(const AverageOptions& options, std::vector<Row>& rows) {
    rows.clear();
    return Average(*this, options, [&](AUVXGroup& group, AUVXVisibility& values) {
      const double seconds = std::round((group.uvTime() - SyntheticUVX::kDateObs) * 864e4) / 100;
      rows.push_back({seconds, group.sourceNo(), group.tlsc1(), group.tlsc2(), group.u(), values(0, 0)});
      return AResult::Ok();
    });
  }
  std::vector<Row> Averages(const AverageOptions& options) {
    std::vector<Row> rows;
    const AResult result = Averages(options, rows);
    EXPECT_TRUE(result) << result.message();
    return rows;
  }

 private:
  TempFile file_;
};

AverageOptions Every(double seconds) {
  AverageOptions options;
  options.interval = seconds;
  return options;
}

std::string Error(const AResult& result) {
  EXPECT_EQ(result.code(), AResult::Failed);
  return result.message();
}

TEST(Average, MeansTheRecordsOfEachSourceInTimeOrder) {
  // Times 0, 10 and 20 s are of source 1, 30, 40 and 50 s of source 2; record i has the value i.
  Given file(SyntheticUVX().Antennas(2).Times(3).Sources(2).Tables());
  const std::vector<Row> rows = file.Averages(Every(20));
  ASSERT_EQ(rows.size(), 4u);
  const double seconds[] = {10, 30, 30, 50}, means[] = {0.5, 2, 3, 4.5};
  const int sources[] = {1, 1, 2, 2};
  for (size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].seconds, kStart + seconds[i]);
    EXPECT_EQ(rows[i].source, sources[i]);
    EXPECT_EQ(rows[i].first.re, means[i]);
    EXPECT_EQ(rows[i].u, 1999);
  }
  AverageOptions options = Every(-1);
  options.source = "src2";
  options.start = SyntheticUVX::kStart + 4 * SyntheticUVX::kStep;
  const std::vector<Row> single = file.Averages(options);
  ASSERT_EQ(single.size(), 2u);
  EXPECT_EQ(single[0].seconds, kStart + 40);
  EXPECT_EQ(single[1].first.re, 5);
}

TEST(Average, TakesSourcesThatAlternateInTimeOrder) {
  // The first record, which would be of the first interval, is flagged.
  Given file(SyntheticUVX().Antennas(2).Times(6).Tables().Edit([](SyntheticRecord& record) {
    record.source = 1 + record.index % 2;
    record.flag = record.index == 0;
  }));
  std::vector<std::pair<double, int>> rows;
  for (const Row& row : file.Averages(Every(20))) rows.push_back({row.seconds - kStart, row.source});
  EXPECT_THAT(rows,
              ElementsAre(std::pair(10, 2), std::pair(30, 1), std::pair(30, 2), std::pair(50, 1), std::pair(50, 2)));
}

TEST(Average, KeepsTimeStampsApart) {
  // A tenth of a second apart: a reader that works in days would take up to 0.86 s for one time.
  Given file(SyntheticUVX().Antennas(2).Times(5).Tables().Edit(
      [](SyntheticRecord& record) { record.date = SyntheticUVX::kStart + record.index / 864000.0; }));
  EXPECT_EQ(file.Averages(Every(-1)).size(), 5u);
  const std::vector<Row> rows = file.Averages(Every(0.2));
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_NEAR(rows[2].seconds, kStart + 0.5, 1e-9);
}

TEST(Average, KeepsWhatIsNoNumberOut) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  Given file(SyntheticUVX().Antennas(2).Times(4).Tables().Edit([=](SyntheticRecord& record) {
    if (record.index == 0) record.values[0] = {kNaN, 0, 5};
    if (record.index == 1) record.values[0].weight = std::numeric_limits<float>::infinity();
    if (record.index == 2) record.values[0] = {7, 0, 3};
  }));
  AverageOptions options = Every(40);
  options.stop = SyntheticUVX::kStart + 2.5 * SyntheticUVX::kStep;
  for (const bool complexMean : {true, false}) {
    options.complexMean = complexMean;
    const std::vector<Row> rows = file.Averages(options);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].first.re, 7);
    EXPECT_EQ(rows[0].first.weight, 3);
  }
}

TEST(Average, UnwrapsFromTheFirstValidPhase) {
  // Phases around -3.05 behind a flagged one of 3: unwrapped from that, one of them would be taken for 3.18.
  const float phases[] = {3.0F, -3.0F, -3.1F};
  Given file(SyntheticUVX().Antennas(2).Times(3).Tables().Edit([&](SyntheticRecord& record) {
    const float phase = phases[record.index];
    record.values[0] = {std::cos(phase), std::sin(phase), record.index == 0 ? -1.F : 1.F};
  }));
  AverageOptions options = Every(60);
  options.complexMean = false;
  EXPECT_NEAR(file.Averages(options)[0].first.phase(), -3.05, 1e-5);
}

TEST(Average, RefusesWhatItWouldGetWrong) {
  std::vector<Row> rows;
  Given backwards(SyntheticUVX().Antennas(2).Times(3).Tables().Edit([](SyntheticRecord& record) {
    if (record.index == 1) record.date -= 0.01;
  }));
  EXPECT_THAT(Error(backwards.Averages(Every(10), rows)), HasSubstr("record 1 goes back in time"));
  Given unindexed(SyntheticUVX().Antennas(2));
  EXPECT_THAT(Error(unindexed.Averages(Every(10), rows)), HasSubstr("no index table NX"));
  const SyntheticUVX builder = SyntheticUVX().Antennas(2).Sources(2).Tables();
  // The source number of the first record.
  Given mislabelled(SyntheticUVX(builder).Put(481 + 2, int16_t{2}));
  EXPECT_THAT(Error(mislabelled.Averages(Every(10), rows)), HasSubstr("record 0 is of source 2"));
  Given file(builder);
  AverageOptions options = Every(10);
  options.freqSel = 4;
  EXPECT_THAT(Error(file.Averages(options, rows)), HasSubstr("setup 4; there are 1"));
  options = Every(10);
  options.mix = AverageMix::Cross;
  EXPECT_THAT(Error(file.Averages(options, rows)), HasSubstr("the polarisations are RR, LL"));
  EXPECT_THAT(Error(file.Averages(Every(0), rows)), HasSubstr("0.001 s"));
  TempFile out("uvx");
  options = Every(10);
  options.start = 2460000.5;
  EXPECT_THAT(Error(AverageUVX(file, out.path(), options)), HasSubstr("no record is selected"));
  EXPECT_THAT(Error(file.Averages(options, rows)), HasSubstr("the Julian dates 2457754.75"));
  EXPECT_FALSE(out.exists());
}

TEST(Average, EndsWhenItIsAskedTo) {
  Given file(SyntheticUVX().Antennas(2).Times(3).Tables());
  int cancel = 0, taken = 0;
  AverageOptions options = Every(-1);
  options.cancel = &cancel;
  const auto stop = [&](AUVXGroup&, AUVXVisibility&) { return ++taken == 2 ? AResult::Fail("full") : AResult::Ok(); };
  EXPECT_EQ(Error(Average(file, options, stop)), "full");
  cancel = 1;
  EXPECT_EQ(Average(file, options, stop).code(), AResult::Cancelled);
  EXPECT_EQ(taken, 2);
}

// Phases of the antennas 1, 2, 3 and 200, and an own phase of each triangle's third baseline.
TEST(ClosurePhases, ClosesTrianglesWhateverTheOrderOfAntennas) {
  const auto number = [](int antenna) { return antenna == 4 ? 200 : antenna; };
  Given file(SyntheticUVX().Antennas(4).Times(2).Tables().Edit([&](SyntheticRecord& record) {
    double phase = record.ant1 * 0.7 - record.ant2 * 0.7 + (record.ant1 == 1 && record.ant2 == 3 ? -0.5 : 0);
    record.ant1 = number(record.ant1);
    record.ant2 = number(record.ant2);
    if (record.index % 2) {
      std::swap(record.ant1, record.ant2);
      phase = -phase;
    }
    record.values[0] = {static_cast<float>(std::cos(phase)), static_cast<float>(std::sin(phase)), 1};
    if (record.index == 11) record.values[0].weight = 0;
  }));
  ClosureOptions options;
  std::vector<std::string> triangles;
  std::vector<double> phases;
  const auto sink = [&](const AClosurePhase& closure) {
    const int* a = closure.antennas;
    triangles.push_back(std::to_string(a[0]) + "-" + std::to_string(a[1]) + "-" + std::to_string(a[2]));
    phases.push_back(closure.phase);
    return AResult::Ok();
  };
  // The last record, of 3-200 at the second time, is not valid.
  ASSERT_TRUE(ClosurePhases(file, options, sink));
  EXPECT_THAT(triangles, testing::UnorderedElementsAre("1-2-3", "1-2-200", "1-3-200", "2-3-200", "1-2-3", "1-2-200"));
  for (size_t i = 0; i < phases.size(); ++i) {
    const double wanted = triangles[i] == "1-2-3" ? 0.5 : triangles[i] == "1-3-200" ? -0.5 : 0;
    EXPECT_NEAR(phases[i], wanted, 1e-6) << triangles[i];
  }
  triangles.clear();
  options.antenna = "2";
  options.stop = SyntheticUVX::kStart;
  ASSERT_TRUE(ClosurePhases(file, options, sink));
  EXPECT_THAT(triangles, testing::UnorderedElementsAre("1-2-3", "1-2-200", "2-3-200"));
  options.antenna = "ANT9";
  EXPECT_THAT(Error(ClosurePhases(file, options, sink)), HasSubstr("no antenna ANT9; there are 1 (ANT1)"));
  options = ClosureOptions();
  options.stokes = "RL";
  EXPECT_THAT(Error(ClosurePhases(file, options, sink)), HasSubstr("no polarisation RL; there are RR, LL, I, V"));
  options.stokes = "I";
  options.channel = 2;
  EXPECT_THAT(Error(ClosurePhases(file, options, sink)), HasSubstr("no channel 2; there are 2"));
}

}  // namespace
}  // namespace zeltra

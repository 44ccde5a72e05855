// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

#include "tests/support/TempFile.h"
#include "zeltra/ops/SimulateUVX.h"
#include "zeltra/readers/CalculateUVW.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {
namespace {

using test::TempFile;
using Complex = std::complex<double>;

constexpr double kRadian = std::numbers::pi / 180;

struct Record {
  AUVXGroup group;
  AUVXVisibility values;
};

// A simulated file with everything that is in it.
class Simulated {
  const TempFile file_;  // goes after what has it open

 public:
  explicit Simulated(const SimulateOptions& options) : file_("uvx") {
    const AResult result = SimulateUVX(file_.path(), options);
    EXPECT_TRUE(result) << result.message();
    EXPECT_TRUE(uvx.Open(file_.c_str(), 0));
    for (int i = 0; i < uvx.count(); ++i) {
      Record record{AUVXGroup(), AUVXVisibility(uvx)};
      uvx.SeekUVGroup(i);
      EXPECT_TRUE(record.group.load(uvx) && record.values.load(uvx));
      records.push_back(record);
    }
  }
  std::unique_ptr<AUVXTable> Table(const char* code) { return std::unique_ptr<AUVXTable>(uvx.GetTable(code)); }
  std::string Bytes() const { return file_.Bytes(); }

  AUVXFile uvx;
  std::vector<Record> records;
};

SimulateOptions Quick() {
  SimulateOptions options;
  options.minutes = 6;
  options.integration = 20;
  options.antennas = 4;
  return options;
}

TEST(SimulateUVX, ProjectsBaselinesOnTheSky) {
  SimulateOptions options = Quick();
  options.antennas = 10;
  Simulated file(options);
  AUVXAntenns antennas(*file.Table("AN"));
  AUVXSources sources(*file.Table("SU"));
  EXPECT_TRUE(antennas.IsRight());
  ASSERT_GT(file.records.size(), 0u);
  for (const Record& record : file.records) {
    const AUVXGroup& group = record.group;
    const AUVXSourceItem& source = sources.ForID(group.sourceNo());
    const AUVXTlscItem &first = antennas.ForID(group.tlsc1()), &second = antennas.ForID(group.tlsc2());
    const double b[3] = {first.x - second.x, first.y - second.y, first.z - second.z};
    // Sidereal time by Meeus, Astronomical Algorithms (12.4), and the axes as vectors fixed to the Earth.
    const double days = group.uvTime() - 2451545.0;
    const double t = days / 36525;
    const double gmst = 280.46061837 + 360.98564736629 * days + 0.000387933 * t * t;
    const double longitude = (source.raApp - gmst) * kRadian, dec = source.decApp * kRadian;
    const double s[3] = {std::cos(dec) * std::cos(longitude), std::cos(dec) * std::sin(longitude), std::sin(dec)};
    const double east[3] = {-std::sin(longitude), std::cos(longitude), 0};
    const double north[3] = {s[1] * east[2] - s[2] * east[1], s[2] * east[0] - s[0] * east[2],
                             s[0] * east[1] - s[1] * east[0]};
    const auto along = [&](const double* axis) {
      return (b[0] * axis[0] + b[1] * axis[1] + b[2] * axis[2]) / 299792458;
    };
    // The sidereal times differ by less than 1e-7 rad, over at most 0.03 s.
    EXPECT_NEAR(group.u(), along(east), 5e-9);
    EXPECT_NEAR(group.v(), along(north), 5e-9);
    EXPECT_NEAR(group.w(), along(s), 5e-9);

    // What a file of right-handed positions holds is what the library makes of it.
    AUVXGroup again = group;
    AUVXSourceItem copy = source;
    CalculateUVW(again, antennas, group.tlsc1() - 1, group.tlsc2() - 1, copy, antennas.IsRight());
    EXPECT_NEAR(again.u(), group.u(), 1e-8);
    EXPECT_NEAR(again.v(), group.v(), 1e-8);
    EXPECT_NEAR(again.w(), group.w(), 1e-8);
  }
}

TEST(SimulateUVX, GivesTheVisibilityOfPointSources) {
  SimulateOptions options = Quick();
  options.noise = 0;
  Simulated file(options);
  constexpr double kMas = kRadian / 3600e3;
  for (const Record& record : file.records) {
    const auto& components = kSimulatedSources[record.group.sourceNo() - 1].components;
    for (int f = 0; f < 8; ++f) {
      Complex sum = 0;
      for (const SimulatedComponent& c : components) {
        const double turns = (8.4e9 + 4e6 * f) * kMas * (record.group.u() * c.east + record.group.v() * c.north);
        sum += c.flux * std::exp(Complex(0, 2 * std::numbers::pi * turns));
      }
      // u and v are rounded to 24 bits, of up to some turns.
      EXPECT_NEAR(std::abs(Complex(record.values(f, 0).FC()) - sum), 0, 2e-5);
      EXPECT_NEAR(std::abs(Complex(record.values(f, 1).FC()) - sum), 0, 2e-5);
      EXPECT_NEAR(std::abs(Complex(record.values(f, 2).FC()) - sum * std::polar(0.05, 60 * kRadian)), 0, 2e-6);
      EXPECT_NEAR(std::abs(Complex(record.values(f, 3).FC()) - sum * std::polar(0.05, -60 * kRadian)), 0, 2e-6);
    }
  }
  options.components = 1;
  for (const Record& record : Simulated(options).records) EXPECT_EQ(record.values(0, 0).im, 0);
}

Complex Closure(const std::vector<Record>& records, size_t time, int f) {
  // Baselines 1-2, 1-3, 2-3 of four antennas.
  const Record* r = &records[6 * time];
  return Complex(r[0].values(f, 0).FC()) * Complex(r[3].values(f, 0).FC()) * std::conj(Complex(r[1].values(f, 0).FC()));
}

TEST(SimulateUVX, ClosesThePhasesOfAntennas) {
  SimulateOptions options = Quick();
  options.noise = 0;
  const Simulated clean(options);
  options.phaseErrors = true;
  const Simulated wrong(options);
  ASSERT_EQ(clean.records.size(), wrong.records.size());
  double most = 0, closure = 0;
  for (size_t i = 0; i < clean.records.size(); ++i) {
    most = std::max<double>(most, std::abs(clean.records[i].values(0, 0).FC() - wrong.records[i].values(0, 0).FC()));
  }
  EXPECT_GT(most, 1);
  for (size_t time = 0; time < clean.records.size() / 6; ++time) {
    const Complex truth = Closure(clean.records, time, 5);
    closure = std::max(closure, std::fabs(std::arg(truth)));
    EXPECT_NEAR(std::arg(Closure(wrong.records, time, 5) * std::conj(truth)), 0, 1e-5);
  }
  EXPECT_GT(closure, 0.1) << "two components must not close by themselves";
}

TEST(SimulateUVX, WeighsTheNoiseThatItAdds) {
  SimulateOptions options = Quick();
  options.noise = 3;
  const Simulated noisy(options);
  options.noise = 0;
  const Simulated clean(options);
  double sum = 0;
  int64 n = 0;
  for (size_t i = 0; i < clean.records.size(); ++i) {
    for (int k = 0; k < clean.records[i].values.count(); ++k) {
      const AUVXComplex &a = noisy.records[i].values.lpArray()[k], &b = clean.records[i].values.lpArray()[k];
      sum += std::fabs(a.weight) * std::norm(Complex(a.FC()) - Complex(b.FC()));
      n += 2;
      EXPECT_EQ(a.weight < 0, b.weight < 0) << "flags must not move with the noise";
      EXPECT_NEAR(b.weight / a.weight, 9, 1e-5);
    }
  }
  // The mean of n squares of variance 2 at most.
  EXPECT_NEAR(sum / static_cast<double>(n), 1, 5 * std::sqrt(2.0 / static_cast<double>(n)));
}

TEST(SimulateUVX, FlagsSomeRecords) {
  SimulateOptions options = Quick();
  options.minutes = 60;
  options.channels = 1;
  options.ifs = 1;
  options.antennas = 10;
  const Simulated file(options);
  int byWeight = 0, byFlag = 0;
  for (const Record& record : file.records) {
    byWeight += record.values(0, 0).weight < 0;
    byFlag += record.group.flag != 0;
  }
  const double n = static_cast<double>(file.records.size());
  EXPECT_NEAR(byWeight, n / 256, 5 * std::sqrt(n / 256));
  EXPECT_NEAR(byFlag, n / 1024, 5 * std::sqrt(n / 1024));
}

TEST(SimulateUVX, DescribesItself) {
  SimulateOptions options = Quick();
  options.ifs = 3;
  options.channels = 5;
  Simulated file(options);
  AUVXHeader header(file.uvx);
  EXPECT_EQ(int{header.IFs}, 3);
  EXPECT_EQ(int{header.channels}, 5);
  EXPECT_EQ(double{header.info.dateObs}, 2458928.5);
  AUVXMinMax range;
  for (const Record& record : file.records) {
    record.group.check(range);
    record.values.check(range);
  }
  EXPECT_EQ(std::memcmp(&range, &header.range, sizeof range), 0);

  AUVXPosition scans(*file.Table("NX"));
  ASSERT_EQ(scans.count(), 6);
  int next = 1;
  for (int i = 0; i < scans.count(); ++i) {
    const AUVXPositionItem& scan = scans(i);
    EXPECT_EQ(scan.startVis, next);
    next = scan.endVis + 1;
    const AUVXGroup &first = file.records[static_cast<size_t>(scan.startVis - 1)].group,
                    &last = file.records[static_cast<size_t>(scan.endVis - 1)].group;
    EXPECT_EQ(scan.sourceId, first.sourceNo());
    EXPECT_EQ(scan.sourceId, last.sourceNo());
    // The table holds days as 32-bit floats.
    EXPECT_NEAR(scan.start, (first.uvTime() - 2458928.5) * 86400, 0.01);
    EXPECT_NEAR(scan.start + scan.duration, (last.uvTime() - 2458928.5) * 86400, 0.01);
  }
  EXPECT_EQ(next, file.uvx.count() + 1);
  EXPECT_EQ(AUVXBaseLines(*file.Table("BL")).count(), 2 * 6);
  const auto setups = file.Table("FQ");
  EXPECT_EQ(setups->Number(0, setups->FindColumn("IF FREQ"), 2), 32e6);
  EXPECT_EQ(setups->Number(0, setups->FindColumn("CH WIDTH"), 2), 3.2e6);
}

TEST(SimulateUVX, RepeatsItselfByteForByte) {
  SimulateOptions options = Quick();
  const std::string bytes = Simulated(options).Bytes();
  EXPECT_EQ(Simulated(options).Bytes(), bytes);
  options.seed = 2;
  EXPECT_NE(Simulated(options).Bytes(), bytes);
}

TEST(SimulateUVX, RefusesWhatCannotBe) {
  const auto message = [](auto change) {
    const TempFile file("uvx");
    SimulateOptions options;
    change(options);
    const AResult result = SimulateUVX(file.path(), options);
    EXPECT_EQ(result.code(), AResult::Failed);
    EXPECT_FALSE(file.exists());
    return result.message();
  };
  EXPECT_THAT(message([](auto& o) { o.antennas = 11; }), testing::HasSubstr("2 to 10 antennas"));
  EXPECT_THAT(message([](auto& o) { o.minutes = std::nan(""); }), testing::HasSubstr("minutes"));
  EXPECT_THAT(message([](auto& o) { o.integration = 0; }), testing::HasSubstr("integration"));
  EXPECT_THAT(message([](auto& o) { o.ifs = o.channels = 1 << 20; }), testing::HasSubstr("channels"));
  EXPECT_THAT(message([](auto& o) { o.minutes = 1e6, o.integration = 1e-3; }), testing::HasSubstr("records"));
  EXPECT_THAT(message([](auto& o) { o.components = 0; }), testing::HasSubstr("components"));
}

TEST(SimulateUVX, LeavesNoFileWhenCancelledAndNoneReplacedUnasked) {
  const TempFile file("uvx");
  SimulateOptions options = Quick();
  int cancel = 1;
  options.cancel = &cancel;
  EXPECT_EQ(SimulateUVX(file.path(), options).code(), AResult::Cancelled);
  EXPECT_FALSE(file.exists());
  cancel = 0;
  file.Put("precious");
  EXPECT_EQ(SimulateUVX(file.path(), options).code(), AResult::Failed);
  EXPECT_EQ(file.Bytes(), "precious");
  options.overwrite = true;
  EXPECT_TRUE(SimulateUVX(file.path(), options));
}

}  // namespace
}  // namespace zeltra

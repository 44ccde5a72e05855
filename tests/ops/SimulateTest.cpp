// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <complex>

#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/ops/SimulateUVX.h"
#include "zeltra/readers/CalculateUVW.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra::test {
namespace {

using Complex = std::complex<double>;

struct Record {
  AUVXGroup group;
  AUVXVisibility values;
};

// A simulated file with all of its contents.
class Simulated {
  const TempFile file_;  // declared first, so removed after everything that has it open

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

TEST(SimulateUVX, HoldsTheCoordinatesOfItsAntennas) {
  SimulateOptions options = Quick();
  options.antennas = 10;
  Simulated file(options);
  AUVXAntenns antennas(*file.Table("AN"));
  AUVXSources sources(*file.Table("SU"));
  EXPECT_TRUE(antennas.IsRight());
  ASSERT_GT(file.records.size(), 0u);
  for (const Record& record : file.records) {
    const AUVXGroup& group = record.group;
    AUVXGroup again = group;
    AUVXSourceItem source = sources.ForID(group.sourceNo());
    CalculateUVW(again, antennas, group.tlsc1() - 1, group.tlsc2() - 1, source, antennas.IsRight());
    EXPECT_NEAR(again.u(), group.u(), 1e-8);
    EXPECT_NEAR(again.v(), group.v(), 1e-8);
    EXPECT_NEAR(again.w(), group.w(), 1e-8);
  }
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
  // The mean of n squares, each with a variance of at most 2.
  EXPECT_NEAR(sum / static_cast<double>(n), 1, 5 * std::sqrt(2.0 / static_cast<double>(n)));
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

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include <random>

#include "tests/support/OpenUVX.h"
#include "tests/support/Test.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(Complex, IsValidUnlessItsWeightIsKnownToBeZeroOrLess) {
  EXPECT_TRUE(AUVXComplex().isValid());
  EXPECT_FALSE(AUVXComplex(1, 1, 0).isValid());
  EXPECT_FALSE(AUVXComplex(1, 1, -0.0).isValid());
  EXPECT_FALSE(AUVXComplex(1, 1, -2).isValid());
  EXPECT_TRUE(AUVXComplex(1, 1, kNaN).isValid());
}

TEST(Records, ReadTheirImagesFromFilesAndFromMemory) {
  const SyntheticUVX synthetic = SyntheticUVX().IFs(2).Channels(3).Stokes({-1, -2, -3, -4});
  OpenUVX open(synthetic);
  AUVXFile& uvx = open.uvx;
  AUVXGroup group;
  AUVXVisibility vis(uvx), copied(uvx);
  ASSERT_EQ(vis.count(), 24);
  ASSERT_TRUE(uvx.SeekUVGroup(4));
  ASSERT_TRUE(group.load(uvx));
  ASSERT_TRUE(vis.load(uvx));
  EXPECT_EQ(group.tlsc2(), 3);
  EXPECT_EQ(group.uvTime(), SyntheticUVX::kStart + SyntheticUVX::kStep);
  // IF 1, channel 2, polarisation 3 is value (3 + 2) x 4 + 3.
  EXPECT_EQ(vis.index(2, 1, 3), 23);
  EXPECT_EQ(vis(2, 1, 3).Re(), 4 + 23 / 1024.0);
  EXPECT_EQ(&vis(2, 1, 3), &vis(5, 3));
  EXPECT_EQ(&vis(2, 1, 0), vis(5));

  std::string image = open.file.bytes.substr(481 + 4 * static_cast<size_t>(uvx.recSize()));
  AUVXGroup other;
  char* p = copied.load(other.load(image.data()));
  EXPECT_EQ(p - image.data(), uvx.recSize());
  EXPECT_EQ(std::memcmp(&other, &group, sizeof group), 0);
  other.ant2 = -56;
  EXPECT_EQ(other.antenna1() + 1000 * other.antenna2(), 200000 + other.tlsc1());
  EXPECT_EQ(std::memcmp(copied.lpArray(), vis.lpArray(), 24 * 12), 0);
  std::string stored(static_cast<size_t>(uvx.recSize()), '\0');
  EXPECT_EQ(vis.store(group.store(stored.data())) - stored.data(), uvx.recSize());
  EXPECT_EQ(image.compare(0, stored.size(), stored), 0);
}

TEST(Records, AShortReadOrWriteIsAFailure) {
  MemoryFile file(std::string(25, '\0'));
  AUVXGroup group;
  EXPECT_FALSE(group.load(file));
  AUVXVisibility vis(1, 1, 2);
  vis.ZeroInit();
  ASSERT_TRUE(file.Seek(2));
  EXPECT_FALSE(vis.load(file));
  ASSERT_TRUE(file.Seek(1));
  EXPECT_TRUE(vis.load(file));
  file.largest = 30;
  ASSERT_TRUE(file.Seek(0));
  EXPECT_TRUE(group.store(file));
  EXPECT_FALSE(vis.store(file));
  AUVXFile closed;
  EXPECT_FALSE(group.load(closed));
  EXPECT_FALSE(vis.store(closed));
}

TEST(Visibility, HoldsNoStorageForAnEmptyShape) {
  AUVXVisibility vis(0, 5, 2);
  EXPECT_EQ(vis.count(), 10) << "no IF axis counts as one IF";
  EXPECT_EQ(vis.freqs(), 5);
  EXPECT_EQ(vis.GrowBy(3, 5, 2), 30);
  EXPECT_EQ(vis.freqs(), 15);
  EXPECT_EQ(vis.GrowBy(0, 0, 4), 0);
  EXPECT_EQ(vis.lpArray(), nullptr);
  EXPECT_EQ(vis.GrowBy(1, 3, -4), -12);
  EXPECT_EQ(vis.count(), 0);
  EXPECT_EQ(vis.GrowBy(1 << 20, 1 << 20, 1 << 24), 0) << "2^64 is no size";
  EXPECT_EQ(vis.count(), 0);
  EXPECT_EQ(vis.GrowBy(4, 1 << 30, 0), 0);
  EXPECT_EQ(vis.freqs(), 0) << "2^32 points are no shape";
}

/// Does what CheckRange has to do, one value after another.
void CheckSlowly(const std::vector<AUVXComplex>& values, AUVXMinMax& range) {
  for (const AUVXComplex& value : values) {
    range.re().check(value.re);
    range.im().check(value.im);
    range.weight().check(value.weight);
  }
}

TEST(Ranges, AreThoseOfTheValuesOneByOne) {
  std::mt19937 random(20170101);
  const float special[] = {0.0f, -0.0f, kNaN, -kNaN, std::numeric_limits<float>::infinity(), -3e38f, 1e-40f};
  for (int round = 0; round < 300; ++round) {
    std::vector<AUVXComplex> values(random() % 1200);
    const int specials = round % 3 == 0 ? 0 : static_cast<int>(random() % 5);
    const float scale = round % 2 ? 1.0f : 0.0f;  // in every second round all values are zeros of either sign
    for (AUVXComplex& value : values) {
      for (int i = 0; i < 3; ++i) value(i) = scale * (static_cast<float>(random() % 2000) - 1000.0f);
    }
    for (int i = 0; i < specials && !values.empty(); ++i) {
      values[random() % values.size()](static_cast<int>(random() % 3)) = special[random() % 7];
    }
    AUVXMinMax expected, range;
    if (round % 7 == 0) expected.re().minimum = range.re().minimum = kNaN;
    if (round % 7 == 1) expected.im().maximum = range.im().maximum = kNaN;
    CheckSlowly(values, expected);
    bool finite = true;
    for (AUVXComplex& value : values) {
      for (int i = 0; i < 3; ++i) finite = finite && std::isfinite(value(i));
    }
    EXPECT_EQ(CheckRange(values.data(), static_cast<int64>(values.size()), range), finite) << "round " << round;
    EXPECT_EQ(std::memcmp(&expected, &range, sizeof range), 0) << "round " << round;
  }
}

}  // namespace
}  // namespace zeltra::test

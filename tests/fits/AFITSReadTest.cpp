// SPDX-License-Identifier: MIT
#include "zeltra/fits/AFITSRead.h"

#include <bit>

#include "tests/support/OpenFITS.h"
#include "tests/support/Progress.h"
#include "tests/support/Test.h"
#include "zeltra/core/Dates.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra::test {
namespace {

AUVXGroup FirstGroup(const SyntheticFITS& synthetic) {
  OpenFITS file(synthetic);
  EXPECT_TRUE(file.fits.SeekToGroup(0));
  return AUVXGroup(file.fits);
}

double Nothing(int, int) {
  return 0;
}

/// One complex value per group; the parameters have these names and values.
SyntheticFITS Parameters(const std::vector<std::string>& names, std::vector<double> values) {
  SyntheticFITS fits;
  fits.Axis("COMPLEX", 3);
  for (const std::string& name : names) fits.Parameter(name);
  fits.Groups(
      1, [values](int, int i) { return values[static_cast<size_t>(i)]; }, Nothing);
  return fits;
}

TEST(FITSGroup, TellsItsParametersByTheFirstLettersOfTheirNames) {
  AUVXGroup group =
      FirstGroup(Parameters({"UU---SIN", "VV", "WW-L", "BASELINE", "DATE", "_DATE", "DATE", "FREQSEL", "FLAG", "SOURCE",
                             "INTTIM", "UU2", "ANTENNA1", "XX", "FILTER", "", "uu"},
                            {0.5, -0.25, 8, 259, 2457754, 100, 0.5, 3, 7, 300, 99, 0.125, 9, 9, 9, 9, 9}));
  EXPECT_EQ(group.uvTime(), 2457754.5);
  EXPECT_EQ((std::vector{group.u(), group.v(), group.w()}), (std::vector{0.625, -0.25, 8.0})) << "repeats add up";
  EXPECT_EQ((std::vector<int>{group.tlsc1(), group.tlsc2(), group.freqSel(), group.flag, group.sourceNo()}),
            (std::vector{1, 3, 3, 7, 300}));
}

TEST(FITSGroup, ScalesIntegersAndRoundsByAddingOneHalf) {
  for (int bitpix : {16, 32}) {
    SyntheticFITS synthetic;
    synthetic.Bitpix(bitpix).Axis("COMPLEX", 3);
    synthetic.Parameter("UU", 0.001, 5).Parameter("BASELINE").Parameter("BASELINE", 0.01).Parameter("DATE", 0.25, 2e6);
    synthetic.Parameter("SOURCE", 0.1).Parameter("FREQSEL", -1);
    const double values[] = {-1.5, 258, 0.01, 2000000.75, 2.6, -3};
    synthetic.Groups(
        1, [&](int, int i) { return values[i]; }, Nothing);
    const AUVXGroup group = FirstGroup(synthetic);
    EXPECT_EQ(group.u(), -1.5);
    EXPECT_EQ(group.tlsc1(), 1) << "a subarray in hundredths does not count";
    EXPECT_EQ(group.tlsc2(), 2);
    EXPECT_EQ(group.uvTime(), 2000000.75);
    EXPECT_EQ(group.sourceNo(), 3);
    EXPECT_EQ(group.freqSel(), -2) << "negative numbers move towards zero";
  }
}

TEST(FITSGroup, ANumberOfAnotherTypeLeavesTheValueBefore) {
  SyntheticFITS synthetic;
  synthetic.Bitpix(-64).Axis("COMPLEX", 3);
  synthetic.Parameter("UU", 3, 7).Parameter("VV", 2, 1).Parameter("DATE", 1, 0.5);
  synthetic.Groups(
      1, [](int, int) { return 1000; }, [](int, int i) { return i; });
  OpenFITS file(synthetic);
  ASSERT_TRUE(file.fits.SeekToGroup(0));
  AUVXGroup group;
  AUVXVisibility vis(0, 1, 1);
  ASSERT_TRUE(group.load(file.fits));
  EXPECT_EQ(group.u(), 7);
  EXPECT_EQ(group.v(), 15);
  EXPECT_EQ(group.uvTime(), 15.5);
  ASSERT_TRUE(vis.load(file.fits)) << "the parameters have been passed over";
  EXPECT_EQ(vis(0, 0).Weight(), 2);
}

TEST(FITSGroup, SurvivesNumbersThatNoIntegerHolds) {
  for (double absurd : {1e30, -1e30, std::nan(""), HUGE_VAL}) {
    const AUVXGroup group = FirstGroup(Parameters({"BASELINE", "BASELINE", "SOURCE", "FREQSEL", "FLAG", "UU", "DATE"},
                                                  {absurd, absurd, absurd, absurd, absurd, absurd, absurd}));
    EXPECT_FALSE(std::abs(group.u()) < 1e29);
  }
  const AUVXGroup wrapped = FirstGroup(Parameters({"BASELINE", "BASELINE"}, {65535, 2}));
  EXPECT_EQ(256 * wrapped.tlsc1() + wrapped.tlsc2(), 1) << "the sum has 16 bits";
}

/// The big-endian floats in a text.
std::vector<float> Floats(const std::string& bytes) {
  std::vector<float> floats;
  for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
    uint32_t word = 0;
    for (size_t k = 0; k < 4; ++k) word = word << 8 | static_cast<uint8_t>(bytes[i + k]);
    floats.push_back(std::bit_cast<float>(word));
  }
  return floats;
}

TEST(FITSGroup, IsWrittenWithItsAntennasExchangedAfterwards) {
  AUVXGroup group;
  group.uu = 0.5f, group.vv = -1, group.ww = 2;
  group.ant1 = 1, group.ant2 = 3;
  group.date = 2451545.123456;
  group.source = 4, group.frqsel = 5;
  OpenTempFile file;
  ASSERT_TRUE(group.ToFITS(file, 1));
  std::vector<float> floats = Floats(file.Bytes());
  ASSERT_EQ(floats.size(), 8u);
  EXPECT_NEAR(floats[5], 0.003456, 5e-10) << "as exact as a double near 2451545";
  floats[5] = 0;
  EXPECT_EQ(floats, (std::vector<float>{0.5f, -1, 2, 259, 2451545.12f, 0, 4, 5}));
  EXPECT_EQ(group.tlsc1(), 3);
  EXPECT_EQ(group.tlsc2(), 1);

  group.date = -1.239;
  group.ant1 = static_cast<int8_t>(200);
  ASSERT_TRUE(file.Seek(0) && file.Trunc() && group.ToFITS(file, 0));
  floats = Floats(file.Bytes());
  ASSERT_EQ(floats.size(), 6u);
  EXPECT_EQ(floats[3], 200 * 256 + 1 - 65536) << "a signed 16-bit number";
  EXPECT_EQ(floats[4], -1.23f);
  EXPECT_NEAR(floats[5], -0.009, 1e-9);
}

TEST(FITSVisibility, CopiesFloatsBitForBit) {
  // A NaN with a payload and a denormal would not survive arithmetic.
  const uint32_t bits[] = {0x7FC12345, 0x00000001, 0x80000000, 0xFF800000, 0x3F800000, 0x7F812345};
  const SyntheticFITS synthetic = SyntheticFITS::UV(2, 1, 1).Groups(1, Nothing, Nothing);
  std::string bytes = synthetic.Bytes();
  OpenFITS file(synthetic);
  const int groupBytes = file.fits.main()->groupBytes();
  ASSERT_EQ(groupBytes, 4 * (6 + 6));
  std::string group(static_cast<size_t>(groupBytes), '\0');
  for (size_t i = 0; i < 6; ++i) {
    for (size_t k = 0; k < 4; ++k) group[24 + 4 * i + k] = static_cast<char>(bits[i] >> (24 - 8 * k));
  }
  AUVXVisibility vis(file.fits);
  ASSERT_EQ(vis.count(), 2);
  EXPECT_EQ(vis.load(file.fits, AUVXGroup().load(file.fits, group.data())) - group.data(), groupBytes);
  EXPECT_EQ(std::memcmp(vis.lpArray(), bits, sizeof bits), 0);

  OpenTempFile out;
  ASSERT_TRUE(vis.ToFITS(out));
  EXPECT_EQ(out.Bytes(), group.substr(24));
  EXPECT_EQ(std::memcmp(vis.lpArray(), group.data() + 24, 24), 0) << "the object is left big-endian";
}

TEST(FITSVisibility, ScalesNumbersOfEveryType) {
  const auto value = [](int group, int i) { return 10.0 * group + 2 * i; };
  for (int bitpix : {8, 16, 32, -32, -64}) {
    SyntheticFITS synthetic = SyntheticFITS::UV(2, 2, 2).Bitpix(bitpix).Scale(0.5, -4).Groups(3, Nothing, value);
    OpenFITS file(synthetic);
    AUVXVisibility vis(file.fits);
    ASSERT_EQ(vis.count(), 8);
    ASSERT_TRUE(file.fits.SeekToVis(2));
    ASSERT_TRUE(vis.load(file.fits));
    for (int i = 0; i < 8; ++i) {
      for (int k = 0; k < 3; ++k) EXPECT_EQ(vis.lpArray()[i](k), value(2, 3 * i + k)) << "BITPIX " << bitpix;
    }
    ASSERT_TRUE(file.fits.SeekToVis(1));
    EXPECT_EQ(AUVXComplex(file.fits).Im(), value(1, 1));
    EXPECT_EQ(AUVXComplex(file.fits).Re(), value(1, 3));
  }
}

TEST(FITSVisibility, NeverReadsBeyondItsGroup) {
  OpenFITS file(SyntheticFITS::UV(1, 1, 2).Groups(1, Nothing, [](int, int) { return 5; }));
  std::vector<char> group(static_cast<size_t>(file.fits.main()->groupBytes()), '\1');
  AUVXVisibility vis(1, 2, 4);
  char* values = group.data() + 24;
  EXPECT_EQ(vis.load(file.fits, values) - values, 2 * 12);
  EXPECT_TRUE(vis(0, 1).isValid());
  EXPECT_FALSE(vis(0, 2).isValid());
  EXPECT_FALSE(vis(1, 3).isValid());
}

TEST(FITSHeader, BecomesAUVXHeader) {
  SyntheticFITS synthetic;
  synthetic.Axis("COMPLEX", 3).Axis("STOKES", 4, -1, -1).Axis("FREQ", 16, 1.4e9, 1e6, 5).Axis("IF", 2);
  synthetic.Groups(7, Nothing, Nothing).Card("BUNIT", "UNCALIBRATED").Card("OBSERVER", "A NAME OF MORE THAN SIXTEEN");
  synthetic.Card("TELESCOP", "EVN").Card("INSTRUME", "VLBA").Card("DATE-OBS", "17/11/58").Card("EPOCH", 1950);
  OpenFITS file(synthetic);
  AUVXHeader header(file.fits);
  EXPECT_EQ(double{header.info.dateObs}, JulianDateOf("1958-11-17"));
  EXPECT_STREQ(header.info.bunit, "UNCALIBRA");
  EXPECT_STREQ(header.info.observer, "A NAME OF MORE ");
  EXPECT_STREQ(header.info.telescope, "VLBA");
  EXPECT_EQ(double{header.range.u().minimum}, 1e38);
  EXPECT_EQ(double{header.freq0}, 1.396e9);
  ASSERT_EQ(header.stokes.count(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(header.stokes(i), -1 - i);
}

TEST(FITSHeader, TruncatesPolarisationCodesAndTheirList) {
  OpenFITS odd(SyntheticFITS().Axis("COMPLEX", 3).Axis("STOKES", 11, -1.75, -0.5, 1).Groups(1, Nothing, Nothing));
  const AUVXStokes stokes(odd.fits);
  ASSERT_EQ(stokes.count(), 8);
  EXPECT_EQ(stokes(0), -1);
  EXPECT_EQ(stokes(1), -2);
  EXPECT_EQ(stokes(7), -5);
  OpenFITS huge(SyntheticFITS().Axis("COMPLEX", 3).Axis("STOKES", 2, 1e300, 1e300).Groups(1, Nothing, Nothing));
  EXPECT_EQ(AUVXStokes(huge.fits).count(), 2);
  OpenFITS none(SyntheticFITS().Axis("COMPLEX", 3).Groups(1, Nothing, Nothing));
  EXPECT_EQ(AUVXStokes(none.fits).count(), 0);
  EXPECT_EQ(double{AUVXHeader(none.fits).freq0}, 0);
  AFITS unread;
  EXPECT_EQ(int{AUVXHeader(unread).channels}, 0);
}

double ByGroup(int group, int parameter) {
  return parameter == 3 ? 258 : parameter == 0 ? group : 0;
}

TEST(FITSReader, DeliversEveryGroupOnceAndInOrder) {
  struct Case {
    int groups, channels;  // channels set the size of a group: 24 + 24 x channels bytes
  };
  for (const Case c : {Case{1, 4}, Case{100, 4}, Case{68, 4}, Case{69, 4}, Case{3, 1000}, Case{0, 4}}) {
    OpenFITS file(SyntheticFITS::UV(2, 1, c.channels).Groups(c.groups, ByGroup, [](int g, int i) { return g + i; }));
    AFITSRead reader(&file.fits, nullptr);
    AUVXGroup group;
    AUVXVisibility vis(file.fits);
    int index = -1;
    for (int i = 0; i < c.groups; ++i) {
      ASSERT_TRUE(reader.GetUVGVis(group, vis, index)) << i << " of " << c.groups;
      EXPECT_EQ(index, i);
      EXPECT_EQ(group.u(), i);
      EXPECT_EQ(group.tlsc2(), 2);
      EXPECT_EQ(vis.lpArray()[vis.count() - 1].weight, static_cast<float>(i + 6 * c.channels - 1));
    }
    EXPECT_FALSE(reader.GetUVGVis(group, vis, index));
    EXPECT_EQ(index, c.groups - 1) << "nothing changes at the end";
  }
}

TEST(FITSReader, SendsEveryPercentOnce) {
  OpenFITS file(SyntheticFITS::UV(2, 1, 4).Groups(100, ByGroup, Nothing));
  ASSERT_EQ(file.fits.main()->groupBytes(), 120);
  Progress progress;
  AFITSRead reader(&file.fits, &progress);
  EXPECT_EQ(progress.ranges, std::vector{6553600});
  AUVXGroup group;
  AUVXVisibility vis(file.fits);
  int index;
  while (reader.GetUVGVis(group, vis, index)) {
  }
  EXPECT_EQ(progress.positions.size(), 100u);
}

TEST(FITSReader, EndsWhereADamagedFileEnds) {
  const auto delivered = [](const SyntheticFITS& synthetic) {
    OpenFITS file(synthetic);
    AFITSRead reader(&file.fits, nullptr);
    AUVXGroup group;
    AUVXVisibility vis(file.fits);
    int index, count = 0;
    while (reader.GetUVGVis(group, vis, index)) ++count;
    EXPECT_EQ(reader.Complete(), count == 100);
    return count;
  };
  const SyntheticFITS whole = SyntheticFITS::UV(2, 1, 4).Groups(100, ByGroup, Nothing);
  const size_t start = static_cast<size_t>(OpenFITS(whole).fits.main()->dataStart());
  EXPECT_EQ(delivered(SyntheticFITS(whole).Truncate(start + 80 * 120 + 119)), 80);
  EXPECT_EQ(delivered(SyntheticFITS(whole).Truncate(start)), 0);
  EXPECT_EQ(delivered(whole), 100);
  const std::string lie = SyntheticCard("GCOUNT", 2000000007);
  EXPECT_LE(delivered(SyntheticFITS(whole).ReplaceCard("GCOUNT", lie)), 120) << "what the padded block holds";
  EXPECT_EQ(delivered(SyntheticFITS(whole).ReplaceCard("BITPIX", SyntheticCard("BITPIX", 0))), 0);
}

}  // namespace
}  // namespace zeltra::test

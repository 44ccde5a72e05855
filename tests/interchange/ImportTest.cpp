// SPDX-License-Identifier: MIT
#include <filesystem>
#include <fstream>

#include "tests/support/Progress.h"
#include "tests/support/SyntheticFITS.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITS.h"
#include "zeltra/fits/AFITSRead.h"
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/interchange/ImportUVFITS.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra::test {
namespace {

constexpr double kDay = 2450000.5;

// Parameters of the builder's standard list: three baselines at each time, 10 s apart.
double Parameter(int group, int parameter) {
  const double baselines[] = {258, 259, 515};
  const double values[] = {1e-3 * group, -2e-3, 5e-4, baselines[group % 3], kDay + 0.25, group / 3 * 10 / 86400.0};
  return parameter < 6 ? values[parameter] : 30;
}

double Value(int group, int element) {
  return group + 0.125 * element + 1;
}

SyntheticFITS Small(int groups = 6) {
  return SyntheticFITS::UV(2, 1, 2).Groups(groups, Parameter, Value);
}

// Thousands of files are made here.
JobOptions Unsynced() {
  JobOptions options;
  options.sync = false;
  return options;
}

struct Imported {
  explicit Imported(const SyntheticFITS& fits) : Imported(fits.Bytes()) {}
  explicit Imported(const std::string& bytes) {
    in.Put(bytes);
    result = ImportUVFITS(in.path(), out.path(), Unsynced(), &summary);
    if (result) uvx.Open(out.c_str(), 0);
  }
  AUVXGroup Group(int i) {
    AUVXGroup group;
    uvx.SeekUVGroup(i);
    group.load(uvx);
    return group;
  }
  AUVXVisibility Visibility(int i) {
    AUVXVisibility visibility(uvx);
    uvx.SeekUVVis(i);
    visibility.load(uvx);
    return visibility;
  }
  bool Remarks(const std::string& part) const {
    for (const std::string& remark : summary.remarks) {
      if (remark.find(part) != std::string::npos) return true;
    }
    return false;
  }

  TempFile in{"uvfits"}, out{"uvx"};
  ImportSummary summary;
  AResult result = AResult::Ok();
  AUVXFile uvx;
};

TEST(Import, NeverReplacesAFileUnasked) {
  const TempFile in("uvfits"), out("uvx");
  in.Put(Small().Bytes());
  out.Put("precious");
  JobOptions options;
  EXPECT_FALSE(ImportUVFITS(in.path(), out.path(), options, nullptr));
  EXPECT_EQ(out.Bytes(), "precious");
  ACancelFlag cancel = 1;
  options.overwrite = true;
  options.cancel = &cancel;
  EXPECT_EQ(ImportUVFITS(in.path(), out.path(), options, nullptr).code(), AResult::Cancelled);
  EXPECT_EQ(out.Bytes(), "precious") << "a cancelled import leaves the old file";
  cancel = 0;
  EXPECT_TRUE(ImportUVFITS(in.path(), out.path(), options, nullptr));
  EXPECT_FALSE(ImportUVFITS(in.path(), "/no/such/folder/x.uvx", options, nullptr));
  EXPECT_FALSE(ImportUVFITS("/no/such/file", out.path(), options, nullptr));
}

TEST(Import, ReportsItsStepsAndPercentages) {
  Progress control;
  const TempFile in("uvfits"), out("uvx");
  in.Put(Small(3)
             .Groups(
                 3, [](int g, int p) { return p == 4 ? kDay - g : Parameter(g, p); }, Value)
             .Bytes());
  JobOptions options;
  options.progress = &control;
  ASSERT_TRUE(ImportUVFITS(in.path(), out.path(), options, nullptr));
  EXPECT_EQ(
      control.texts,
      "Reading file informatiom...|Writing data into output file...|Sorting data...|Writing data into output file...|");
  EXPECT_EQ(control.positions.back(), 100);
}

TEST(Import, SortsByTimeThenBaselineWhereTimeGoesBack) {
  const int times[] = {2, 2, 1, 1, 0, 3}, baselines[] = {259, 258, 515, 258, 258, 258}, order[] = {4, 3, 2, 1, 0, 5};
  for (const bool equalTimes : {false, true}) {
    Imported file(Small().Groups(
        6,
        [&](int g, int p) { return p == 3                  ? baselines[g]
                                   : p == 5 && !equalTimes ? times[g] / 64.0
                                                           : Parameter(0, p); },
        Value));
    ASSERT_TRUE(file.result) << file.result.message();
    EXPECT_EQ(file.summary.sorted, !equalTimes);
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(file.Visibility(i)(0, 0, 0).Re(), Value(equalTimes ? i : order[i], 0)) << i;
    }
  }
}

TEST(Import, CountsWhatIsDoubtful) {
  constexpr float kInf = std::numeric_limits<float>::infinity(), kNaN = std::numeric_limits<float>::quiet_NaN();
  Imported file(Small()
                    .RawCard("HISTORY AIPS   SORT ORDER = 'TB'")
                    .Groups(
                        6, [](int g, int p) { return p == 3   ? 700 - g
                                                     : p == 5 ? 0
                                                              : Parameter(g, p); },
                        [=](int g, int e) {
                          return g == 1 && e == 0 ? kNaN : g == 2 && e % 3 == 2 ? kInf : Value(g, e);
                        })
                    .Append("tail"));
  ASSERT_TRUE(file.result) << file.result.message();
  EXPECT_TRUE(file.Remarks("1 values have a part that is not a finite number"));
  EXPECT_TRUE(file.Remarks("4 weights are infinite"));
  EXPECT_TRUE(file.Remarks("5 groups break the order time, then baseline, that the history claims"));
  EXPECT_TRUE(file.Remarks("4 bytes after the last table"));
  SyntheticFITS unnamed = Small().Table(SyntheticTable("AIPS XX").Columns({{"X", "1J"}}));
  const std::string at = std::to_string(unnamed.Bytes().find("XTENSION"));
  const Imported told(unnamed.ReplaceCard("XTENSION", "COMMENT"));
  EXPECT_TRUE(told.Remarks("the extension header at byte " + at + " does not begin with the card XTENSION"));
  EXPECT_TRUE(std::isnan(file.Visibility(1)(0, 0, 0).Re()));
}

TEST(Import, BlankIntegersAreFlagged) {
  Imported file(Small()
                    .Bitpix(16)
                    .Card("BLANK", -32768.0)
                    .Groups(
                        3, [](int g, int p) { return p == 4            ? kDay
                                                     : p < 3 || p == 5 ? 0
                                                                       : Parameter(g, p); },
                        [](int g, int e) { return g == 1 && e == 4 ? -32768 : e; }));
  ASSERT_TRUE(file.result) << file.result.message();
  const AUVXVisibility visibility = file.Visibility(1);
  EXPECT_FALSE(visibility(0, 0, 1).isValid());
  EXPECT_TRUE(std::isnan(visibility(0, 0, 1).Re()));
  EXPECT_TRUE(visibility(0, 0, 0).isValid());
}

TEST(Import, ChecksAnIndexBeforeItKeepsIt) {
  const auto index = [](int lastEnd) {
    return SyntheticTable("AIPS NX")
        .Columns({{"TIME", "1E", "DAYS"},
                  {"TIME INTERVAL", "1E", "DAYS"},
                  {"SOURCE ID", "1J"},
                  {"SUBARRAY", "1J"},
                  {"START VIS", "1J"},
                  {"END VIS", "1J"},
                  {"FREQ ID", "1J"}})
        .Row({0.25, 0.01, 1, 1, 1, 3, 1})
        .Row({0.26, 0.01, 1, 1, 4, lastEnd, 1});
  };
  for (const int lastEnd : {6, 7, 5, 3, -1}) {
    Imported file(Small().Table(index(lastEnd)));
    ASSERT_TRUE(file.result) << file.result.message();
    const std::unique_ptr<AUVXTable> table(file.uvx.GetTable("NX"));
    EXPECT_EQ(table->rows(), lastEnd == 6 ? 2 : 1) << lastEnd;
    EXPECT_EQ(file.Remarks("index table"), lastEnd != 6);
  }
}

TEST(Import, CarriesColumnsBesideThoseItCannot) {
  // 40000 elements are more than 16 bits can count; 4A2 is two texts of 2 characters.
  Imported file(Small()
                    .Table(SyntheticTable("AIPS TY")
                               .Columns({{"ID", "J"},
                                         {"COUNT", "1K"},
                                         {"REAL 1", "40000E"},
                                         {"NAME", "4A2"},
                                         {"HEAP", "1PE(3)"},
                                         {"VALUE", "2D"}})
                               .Row({7, 9, 1, std::string("A\0BC", 4), 0, {1.5, -2.5}})
                               .Card("RDATE", "2000-01-02")
                               .RawCard("TSCAL1  = 2.0")
                               .RawCard("TZERO2  = 100")
                               .RawCard("TZERO6  = 3.5")
                               .Heap("0123"))
                    .Table(SyntheticTable("AIPS BL").Columns({{"TIME", "1E"}}).Row({1}))
                    .Table(SyntheticTable("AIPS AN")
                               .Columns({{"ANNAME", "8A"}, {"BITS", "8X"}, {"NOSTA", "1J"}})
                               .Row({"NORTH", 0x80, 5})));
  ASSERT_TRUE(file.result) << file.result.message();
  const std::unique_ptr<AUVXTable> table(file.uvx.GetTable("TY"));
  ASSERT_TRUE(table);
  ASSERT_EQ(table->columnCount(), 3);
  EXPECT_EQ(table->rowBytes(), 4 + 4 + 16);
  EXPECT_EQ(table->Number(0, 0), 7);
  EXPECT_EQ(table->Text(0, 1), "A");
  EXPECT_EQ(table->Number(0, 2, 1), -2.5);
  for (const char* remark : {"COUNT (1K), REAL 1 (40000E), HEAP (1PE(3))", "bytes after the end of 1 texts",
                             "the column that TSCAL1 scales", "table \"AIPS BL\" is left out"}) {
    EXPECT_TRUE(file.Remarks(remark)) << remark;
  }
  const AUVXTableKeyWord& last = table->keywords()(table->keywords().count() - 1);
  EXPECT_EQ(last.Key(), "TZERO3") << "it follows its column";
  EXPECT_EQ(std::unique_ptr<AUVXTable>(file.uvx.GetTable("BL"))->FindColumn("ANT1"), 1);
  const AUVXAntenns antennas(*std::unique_ptr<AUVXTable>(file.uvx.GetTable("AN")));
  EXPECT_EQ(antennas(0).id, 5) << "bits come after what the list reads";
}

TEST(Import, AddsUpRepeatedParameters) {
  // After the standard six: a setup in two parts, a source in two parts, and a second part of the baseline. Its two
  // halves add up to an integer; AUVXGroup would round up each of them.
  SyntheticFITS fits = SyntheticFITS::UV(1, 1, 1);
  for (const char* name : {"FREQSEL", "FREQSEL", "SOURCE", "SOURCE", "BASELINE"}) fits.Parameter(name);
  const double parts[] = {2, 1, 300, 5, 129.5};
  Imported file(fits.Groups(
      1, [&](int g, int p) { return p >= 6   ? parts[p - 6]
                                    : p == 3 ? 129.5
                                             : Parameter(g, p); }, Value));
  ASSERT_TRUE(file.result) << file.result.message();
  const AUVXGroup group = file.Group(0);
  EXPECT_EQ(group.freqSel(), 3);
  EXPECT_EQ(group.sourceNo(), 305);
  EXPECT_EQ(group.tlsc1(), 1);
  EXPECT_EQ(group.tlsc2(), 3);
}

// The importer decodes many groups at a time, but stores what the classes make of one group after another. There are
// more groups than it decodes at once, groups smaller and larger than its steps, and parameters of every kind.
TEST(Import, StoresWhatTheClassesDecode) {
  for (const int bitpix : {16, 32, -32}) {
    for (const bool scaled : {false, true}) {
      for (const int channels : {3, 601}) {
        SCOPED_TRACE(testing::Message() << bitpix << (scaled ? " scaled, " : " plain, ") << channels << " channels");
        SyntheticFITS fits = SyntheticFITS::UV(2, 1, channels);
        fits.Bitpix(bitpix).Parameter("SOURCE", scaled ? 0.5 : 1, scaled ? 1 : 0).Parameter("FREQSEL");
        fits.Parameter("FLAG").Parameter("UU", 1.0 / 3, 0.1).Parameter("DATE", 1.0 / 8192);
        if (scaled) fits.Scale(1.0 / 7, -3);
        const auto parameter = [](int group, int i) {
          const std::vector<double> values = {
              group * 3.0,       -7, 11, group % 3 + 258.0, kDay, 0, 2.0 + group / 50, 3, group % 2 + 0.0, group / 3.0,
              group / 3 / 8192.0};
          return values[static_cast<size_t>(i)];
        };
        const std::string bytes = fits.Groups(150, parameter, Value).Bytes();
        Imported file(bytes);
        ASSERT_TRUE(file.result) << file.result.message();

        AFITS input;
        ASSERT_TRUE(input.Open(file.in.path()) && input.ReadHeaders());
        AFITSRead reader(&input, nullptr);
        AUVXGroup group;
        AUVXVisibility visibility(input);
        int count = 0;
        for (int i; reader.GetUVGVis(group, visibility, i); ++count) {
          const AUVXGroup stored = file.Group(i);
          ASSERT_EQ(std::memcmp(&stored, &group, sizeof group), 0) << "group " << i;
          const AUVXVisibility values = file.Visibility(i);
          ASSERT_EQ(values.count(), visibility.count());
          ASSERT_EQ(std::memcmp(values.lpArray(), visibility.lpArray(), sizeof(AUVXComplex) * 2u * size_t(channels)), 0)
              << "group " << i;
        }
        EXPECT_EQ(count, 150);
      }
    }
  }
}

TEST(Import, TakesNoOtherTableForThatOfSources) {
  Imported file(Small()
                    .Table(SyntheticTable("SUMMARY RESULTS").Columns({{"FLUX", "1E"}}).Row({1}))
                    .Table(SyntheticTable("AIPS SU").Columns({{"FLUX", "1E"}}).Row({1})));
  ASSERT_TRUE(file.result) << file.result.message();
  EXPECT_TRUE(file.Remarks("\"AIPS SU\" is left out: it has no column ID"));
  const std::unique_ptr<AUVXTable> table(file.uvx.GetTable("SU"));
  ASSERT_EQ(table->rows(), 1);
  EXPECT_EQ(table->Number(0, 0), 1) << "the source that the header names";
}

TEST(Import, TakesColumnsOfFITSIDIInTablesOfAIPS) {
  Imported file(
      Small()
          .Table(SyntheticTable("AIPS FQ")
                     .Columns({{"FREQID", "1J"}, {"BANDFREQ", "1D"}, {"CH_WIDTH", "1E"}, {"TOTAL_BANDWIDTH", "1E"}})
                     .Row({1, 8e6, 5e5, 1e6}))
          .Table(SyntheticTable("AIPS SU").Columns({{"ID_NO.", "1J"}, {"SOURCE", "8A"}}).Row({1, "3C84"})));
  ASSERT_TRUE(file.result) << file.result.message();
  EXPECT_EQ(AUVXFreqs(file.uvx, 1)(1, 0), 1.4e9 + 8e6 + 5e5);
  EXPECT_EQ(std::unique_ptr<AUVXTable>(file.uvx.GetTable("SU"))->FindColumn("ID.NO."), 0);
}

TEST(Import, TakesAntennaNumbersInPlaceOfABaseline) {
  for (const double last : {255, 256}) {
    SyntheticFITS fits = Small().ReplaceCard("PTYPE4", "PTYPE4  = 'ANTENNA1'");
    const std::vector<std::vector<double>> numbers = {{200, 254, 1}, {200, last, 2}};
    Imported file(
        fits.Parameter("ANTENNA2")
            .Parameter("SUBARRAY")
            .Groups(
                2,
                [&](int g, int p) {
                  return p == 3 ? numbers[size_t(g)][0] : p > 5 ? numbers[size_t(g)][size_t(p) - 5] : Parameter(g, p);
                },
                Value));
    EXPECT_EQ(bool{file.result}, last == 255) << file.result.message();
    EXPECT_EQ(file.result.message().find("group 2 has ANTENNA1 200 and ANTENNA2 256;") == std::string::npos,
              last == 255);
    if (!file.result) continue;
    EXPECT_EQ(static_cast<uint8_t>(file.Group(1).ant1), 200);
    EXPECT_EQ(static_cast<uint8_t>(file.Group(1).ant2), 255);
    EXPECT_EQ(file.Group(1).sourceNo(), 1);
    EXPECT_TRUE(file.Remarks("1 groups belong to another subarray"));
  }
}

TEST(Import, MatchesAntennasOfSubarraysByTheFirstRowOfEachNumber) {
  const SyntheticTable table =
      SyntheticTable("AIPS AN").Columns({{"ANNAME", "8A"}, {"STABXYZ", "3D"}, {"NOSTA", "1J"}}).Card("EXTVER", 1.);
  const SyntheticTable first = SyntheticTable(table).Row({"A", 0, 1}).Row({"B", 5, 1}).Row({"C", 10, 2});
  const SyntheticTable second = SyntheticTable(table).Card("EXTVER", 2.).Row({"B", 5, 1}).Row({"C", 10, 2});
  const auto parameter = [](int g, int p) { return p == 3 ? 258 + g / 100. : Parameter(g, p); };
  Imported file(Small().Groups(2, parameter, Value).Table(first).Table(second));
  ASSERT_TRUE(file.result) << file.result.message();
  EXPECT_EQ(file.Group(0).ant1, 1);
  EXPECT_EQ(file.Group(1).ant1, 3) << "1 is A to all who look it up";
  EXPECT_EQ(file.Group(1).ant2, 2);
}

TEST(Import, BlankScalesAreThoseOfTheStandard) {
  SyntheticFITS fits = Small();
  for (const char* card : {"BSCALE  =                      / none", "BZERO   ="}) fits.RawCard(card);
  Imported file(fits.ReplaceCard("PSCAL4", "PSCAL4  = '        '").ReplaceCard("PZERO4", "PZERO4  = /none"));
  ASSERT_TRUE(file.result) << file.result.message();
  EXPECT_EQ(file.Visibility(2)(0, 0, 0).Re(), Value(2, 0));
  EXPECT_EQ(file.Group(2).tlsc2(), 3);
}

TEST(Import, ReadsTheEquinoxAsNumberOrText) {
  const std::pair<const char*, double> cases[] = {{"EPOCH   = 'B1950   '", 1950},
                                                  {"EPOCH   = 1975.5", 1975.5},
                                                  {"EQUINOX = 'J2000   '", 2000},
                                                  {"EPOCHS  = 1", 2000}};
  for (const auto& [card, years] : cases) {
    Imported file(Small().ReplaceCard("EPOCH", card));
    ASSERT_TRUE(file.result) << file.result.message();
    EXPECT_EQ(double{AUVXHeader(file.uvx).info.epoch}, years) << card;
    EXPECT_EQ(file.Remarks("2000 is assumed"), card == std::string("EPOCHS  = 1")) << card;
  }
}

TEST(ImportRefuses, WhatDoesNotFitWithASentence) {
  const auto idi = SyntheticTable("UV_DATA").Columns({{"FLUX", "1E"}});
  const auto image = [] { return Small().ReplaceCard("GROUPS", "").ReplaceCard("NAXIS1", "NAXIS1  = 3"); };
  const auto baseline = [](double value) {
    return Small().Groups(
        6, [=](int g, int p) { return p == 3 && g == 2 ? value : Parameter(g, p); }, Value);
  };
  const std::pair<SyntheticFITS, const char*> cases[] = {
      {Small().ReplaceCard("SIMPLE", "SIMPLER = T"), "does not begin with a SIMPLE card"},
      {Small().ReplaceCard("GROUPS", "GROUPS  = 1"), "no card GROUPS = T"},
      {image(), "an image of 3 x 3 pixels"},
      {Small().ReplaceCard("GROUPS", "").Table(idi), "FITS-IDI"},
      {Small().ReplaceCard("NAXIS1", "NAXIS1  =  777777701").ReplaceCard("NAXIS2", "NAXIS2  = 0"), "UVTABLE"},
      {Small().Bitpix(-64), "BITPIX = -64"},
      {Small().ReplaceCard("NAXIS2", "NAXIS2  = 2"), "axis 2, COMPLEX, has length 2"},
      {Small().ReplaceCard("CTYPE2", "CTYPE2  = 'RA      '"), "axis 2 is not COMPLEX"},
      {Small().ReplaceCard("CTYPE3", "CTYPE3  = 'FREQ    '").ReplaceCard("CTYPE4", "CTYPE4  = 'STOKES  '"),
       "in that order"},
      {Small().ReplaceCard("CTYPE4", "CTYPE4  = 'BAND    '"), "no axis FREQ"},
      {Small().ReplaceCard("CTYPE4", "CTYPE4  = 'FREQ-IF '").ReplaceCard("CTYPE5", "CTYPE5  = 'RA      '"),
       "in that order"},
      {Small().ReplaceCard("NAXIS", "NAXIS   = 1"), "axis 2 is not COMPLEX"},
      {Small().ReplaceCard("NAXIS", "NAXIS   = 0"), "FITS-IDI"},
      {image().ReplaceCard("NAXIS2", "NAXIS2  = 2000000000"), "an image"},
      {SyntheticFITS::UV(9, 1, 1).Groups(1, Parameter, Value), "STOKES has length 9"},
      {SyntheticFITS::UV(1, 1, 1).Axis("PIXEL", 2).Groups(1, Parameter, Value), "axis 8, \"PIXEL\", has length 2"},
      {Small().ReplaceCard("PTYPE4", "PTYPE4  = 'BASE    '"), "no random parameter BASELINE"},
      {Small().ReplaceCard("GCOUNT", "GCOUNT  = 0"), "holds no groups"},
      {Small().ReplaceCard("GCOUNT", "GCOUNT  = 7000"), "of 7000"},
      {Small().Card("BSCALE", "1,5"), "the card BSCALE = 1,5 is not a number"},
      {Small().Card("BZERO", "none"), "the card BZERO = none is not a number"},
      {Small().RawCard("BSCALE  = 0.0"), "the card BSCALE = 0.0 would make every value 0"},
      {Small().ReplaceCard("PSCAL4", "PSCAL4  = 0"), "the card PSCAL4 = 0 would"},
      {Small().ReplaceCard("PZERO5", "PZERO5  = 245X"), "the card PZERO5 = 245X is not a number"},
      {Small().ReplaceCard("CDELT4", "CDELT4  = 1.0.E6"), "the card CDELT4 = 1.0.E6 is not a number"},
      {Small().ReplaceCard("NAXIS3", "NAXIS3  = 2E0"), "the card NAXIS3 = 2E0 is not a whole number"},
      {Small().ReplaceCard("GCOUNT", "GCOUNT  = 3000000000"), "the card GCOUNT = 3000000000 promises more groups"},
      {Small().Table(SyntheticTable("AIPS TY")).ReplaceCard("NAXIS2", "NAXIS2  = 1,5", 1),
       "table \"AIPS TY\": the card NAXIS2 = 1,5 is not"},
      {Small().Table(idi).Append(Small().Bytes()), "a second FITS file begins at byte 11520;"},
      {Small().Truncate(5760 + 432).Append(Small().Bytes()), "a second FITS file begins at byte 6192;"},
      {baseline(0), "group 3 has BASELINE 0"},
      {baseline(67586), "group 3 has BASELINE 67586"},
      {baseline(512), "group 3 has BASELINE 512"},
      {baseline(std::numeric_limits<double>::quiet_NaN()), "group 3 has BASELINE nan"},
      {Small().Groups(
           6, [](int g, int p) { return p == 5 ? HUGE_VAL : Parameter(g, p); }, Value),
       "group 1 has a time"},
  };
  for (const auto& [fits, sentence] : cases) {
    Imported file(fits);
    EXPECT_FALSE(file.result) << sentence;
    EXPECT_NE(file.result.message().find(sentence), std::string::npos)
        << file.result.message() << "\nnot: " << sentence;
    EXPECT_EQ(file.result.message().find(file.in.path()), 0u) << "the sentence begins with the file";
    EXPECT_FALSE(file.out.exists());
  }
}

TEST(ImportRefuses, WhatIsNoFileOfVisibilitiesByItsName) {
  const TempFile folder("ms"), zipped("uvfits.gz");
  std::filesystem::create_directory(folder.path());
  zipped.Put("\x1F\x8B\x08");
  std::vector<std::pair<std::string, const char*>> cases = {
      {folder.path(), "a folder"}, {folder.path(), "a Measurement Set"}, {zipped.path(), "compressed with gzip"}};
  if (std::filesystem::is_character_file("/dev/null")) cases.emplace_back("/dev/null", "a device");
  const TempFile pipe("pipe");
  if (std::system(("mkfifo " + pipe.path()).c_str()) == 0) cases.emplace_back(pipe.path(), "a pipe");
  for (const auto& [path, sentence] : cases) {
    const TempFile out("uvx");
    EXPECT_EQ(ImportUVFITS(path, out.path(), JobOptions(), nullptr).message().find(path + ": " + sentence), 0u);
    EXPECT_EQ(AUVXInput().Open(path).message().find(path + ": " + sentence), 0u);
    std::ofstream(folder.path() + "/table.dat") << "";
  }
  std::filesystem::remove_all(folder.path());
}

TEST(ImportDamage, ASetupNumberThatIsNoneIsReported) {
  Imported file(Small()
                    .Table(SyntheticTable("AIPS FQ")
                               .Columns({{"FRQSEL", "1E"}, {"IF FREQ", "1D"}})
                               .Row({std::numeric_limits<double>::quiet_NaN(), 0})
                               .Row({1.5, 0}))
                    .Table(SyntheticTable("AIPS SU").Columns({{"ID. NO.", "1J"}}).Row({3}).Row({2}).Row({1})));
  ASSERT_TRUE(file.result) << file.result.message();
  EXPECT_TRUE(file.Remarks("setup 1 occurs in the data"));
  EXPECT_FALSE(file.Remarks("source 1 occurs in the data")) << "its table is in no order";
}

SyntheticFITS WithTables() {
  return Small().Table(SyntheticTable("AIPS AN")
                           .Columns({{"ANNAME", "8A"}, {"STABXYZ", "3D", "METERS"}, {"NOSTA", "1J"}})
                           .Row({"ONE", {1, 2, 3}, 1})
                           .Card("ARRAYX", 0.0));
}

// A file that is accepted gives an output that opens and holds what it says; one that is refused leaves no output.
void ExpectRightOrRefused(const std::string& bytes, const std::string& what) {
  Imported file(bytes);
  if (file.result) {
    EXPECT_EQ(file.uvx.HeldRecords(), file.summary.records) << what;
    const TempFile back("uvfits");
    EXPECT_TRUE(ExportUVFITS(file.out.path(), back.path(), Unsynced())) << what;
  } else {
    EXPECT_FALSE(file.result.message().empty()) << what;
    EXPECT_FALSE(file.out.exists()) << what;
  }
}

TEST(ImportDamage, EveryPrefixIsRefusedOrRight) {
  const std::string whole = WithTables().Bytes();
  for (size_t size = 0; size < whole.size(); size += 80)
    ExpectRightOrRefused(whole.substr(0, size), std::to_string(size));
}

TEST(ImportDamage, EveryHeaderByteFlipped) {
  const SyntheticFITS whole = WithTables();
  const std::string bytes = whole.Bytes();
  for (size_t at = 0; at < 2880; ++at) {
    if (bytes[at] == ' ' && at % 80 >= 30) continue;  // comments
    for (const unsigned char mask : {0x01, 0x80}) {
      ExpectRightOrRefused(SyntheticFITS(whole).Flip(at, mask).Bytes(), std::to_string(at));
    }
  }
}

TEST(ImportDamage, AbsurdNumbers) {
  const char* cards[] = {"NAXIS   = 2147483647",  "NAXIS   = -1",         "NAXIS   = 999",        "NAXIS2  = -3",
                         "NAXIS3  = 2147483647",  "NAXIS4  = 2147483647", "PCOUNT  = 2147483647", "PCOUNT  = -1",
                         "PCOUNT  = 999",         "GCOUNT  = 2147483647", "GCOUNT  = -5",         "BITPIX  = 0",
                         "BITPIX  = -2147483648", "GCOUNT  = 1e99",       "PSCAL1  = 1E400",      "CRPIX3  = 1E30",
                         "CDELT3  = NAN",         "PZERO4  = -1E300",     "DATE-OBS= '99999-1-1'"};
  for (const char* card : cards) {
    ExpectRightOrRefused(WithTables().ReplaceCard(Trimmed(std::string(card, 8)), card).Bytes(), card);
  }
  const char* tableCards[] = {"NAXIS1  = 2147483647", "NAXIS2  = 2147483647", "NAXIS2  = -1",  "TFIELDS = 999",
                              "TFIELDS = -1",         "TFORM1  = '32767D'",   "TFORM2  = 'D'", "TFORM2  = '3M'",
                              "PCOUNT  = 2147483647", "GCOUNT  = 2147483647", "NAXIS   = 0",   "EXTNAME = ''"};
  for (const char* card : tableCards) {
    const std::string key = Trimmed(std::string(card, 8));
    const int occurrence = key[0] == 'T' || key[0] == 'E' ? 0 : 1;
    ExpectRightOrRefused(WithTables().ReplaceCard(key, card, occurrence).Bytes(), card);
  }
}

}  // namespace
}  // namespace zeltra::test

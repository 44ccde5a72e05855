// SPDX-License-Identifier: MIT
#include <type_traits>

#include "tests/support/Elements.h"
#include "tests/support/OpenFITS.h"
#include "tests/support/OpenUVX.h"
#include "tests/support/Test.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"
#include "zeltra/uvx/BaseLineCollectorInternal.h"

namespace zeltra::test {
namespace {

AUVXGroup Group(int source, int freqSel, double time, int ant1 = 1, int ant2 = 2, int flag = 0) {
  AUVXGroup group;
  group.source = static_cast<int16_t>(source);
  group.frqsel = static_cast<int8_t>(freqSel);
  group.date = time;
  group.ant1 = static_cast<int8_t>(ant1);
  group.ant2 = static_cast<int8_t>(ant2);
  group.flag = static_cast<int8_t>(flag);
  return group;
}

AUVXBaseLines BaseLines(const std::vector<AUVXGroup>& groups) {
  AUVXBaseLines list;
  for (const AUVXGroup& group : groups) list.checkBase(AUVXBaseLineItem(group));
  return list;
}

std::string ColumnText(const AUVXTable& table) {
  std::string text;
  for (int i = 0; i < table.columnCount(); ++i) {
    const AUVXTableManual& column = table.columns()(i);
    text += std::string(column.name) + "|" + column.unit + "|" + column.format + "\n";
  }
  return text;
}

/// "AN" with a column of each further kind. The third antenna has no number.
AUVXTable AntennaTable() {
  AUVXTable table;
  table.AddColumn("ANNAME", "", "20A");
  table.AddColumn("STABXYZ", "METERS", "3D");
  table.AddColumn("DERXYZ", "M/SEC", "3E");
  table.AddColumn("ORBPARM", "", "0D");
  table.AddColumn("NOSTA", "", "1J");
  table.AddColumn("MNTSTA", "", "1J");
  table.AddColumn("STAXOF", "METERS", "2E");
  table.SetRows(3);
  for (int row = 0; row < 3; ++row) {
    table.SetText(row, 0, "  ANTENNA" + std::to_string(row) + "IS LONG");
    for (int i = 0; i < 3; ++i) {
      table.SetNumber(row, 1, i, 100 * row + i);
      table.SetNumber(row, 2, i, 0.5 * i);
    }
    table.SetNumber(row, 4, 0, row < 2 ? 10 * (row + 1) : 0);
    table.SetNumber(row, 5, 0, row);
    table.SetNumber(row, 6, 0, 2.5);
    table.SetNumber(row, 6, 1, -1);
  }
  return table;
}

TEST(AUVXAntenns, AreReadFromTheirTable) {
  const AUVXTable table = AntennaTable();
  AUVXAntenns list(table);
  ASSERT_EQ(list.count(), 3);
  EXPECT_STREQ(list(1).name, "  ANTENNA1IS LONG") << "17 characters";
  EXPECT_EQ(list(1).Name(), "ANTENNA1IS LONG");
  EXPECT_EQ((std::vector{list(1).x, list(1).y, list(1).z}), (std::vector{100.0, 101.0, 102.0}));
  EXPECT_EQ(list(2).id, 3) << "a number 0 becomes that of the row";
  EXPECT_EQ(list.IndexForID(20), 1);
  EXPECT_EQ(list.IndexForID(4), -1);
  EXPECT_EQ(list.ForID(4).id, 10) << "the first one";

  AUVXAntennsEx extended(table);
  EXPECT_EQ(extended(2).dz, 1);
  EXPECT_TRUE(extended(1).IsGround());
  EXPECT_FALSE(extended(2).IsGround());
  EXPECT_EQ(extended(0).offset[1], -1);
  EXPECT_EQ(extended(0).offset[2], 0) << "beyond the repeat count";
}

TEST(AUVXAntenns, TakeDERXYZBeforeNOSTA) {
  AUVXTable table;
  table.AddColumn("NOSTADERXYZ", "", "3E");
  table.SetRows(1);
  for (int i = 0; i < 3; ++i) table.SetNumber(0, 0, i, 4 + i);
  AUVXAntennsEx extended(table);
  EXPECT_EQ((std::vector{extended(0).dx, extended(0).dz, double(extended(0).id)}), (std::vector{4.0, 6.0, 0.0}));
  EXPECT_EQ(AUVXAntenns(table)(0).id, 6) << "the short list knows no DERXYZ";
}

TEST(AUVXAntenns, AnEmptyListGivesAnEmptyItem) {
  AUVXAntenns antennas;
  antennas.ForID(1).id = 7;
  EXPECT_EQ(antennas.ForID(1).id, 0);
  EXPECT_EQ(AUVXSources().ForID(1).Name(), "");
}

TEST(AUVXAntenns, KnowTheirFrameFromKeywords) {
  const auto isRight = [](std::initializer_list<std::pair<const char*, const char*>> keyWords) {
    AUVXTable table;
    for (const auto& [key, value] : keyWords) table.AddKeyWord(key, value, false);
    EXPECT_EQ(AUVXAntenns(table).IsRight(), AUVXAntennsEx(table).IsRight());
    return AUVXAntenns(table).IsRight();
  };
  EXPECT_FALSE(isRight({}));
  EXPECT_FALSE(isRight({{"FRAME", "ITRF"}}));
  EXPECT_TRUE(isRight({{"FRAME", "GEOCENTRIC"}}));
  EXPECT_TRUE(isRight({{"XYZHAND", "RIGHT"}, {"FRAME", "????"}}));
  EXPECT_FALSE(isRight({{"FRAME", "GEOCENTRIC"}, {"XYZHAND", "LEFT"}}));
  EXPECT_TRUE(isRight({{"FRAME", "GEOCENTRIC"}, {"XYZHAND", "?"}}));
  EXPECT_FALSE(AUVXAntenns().IsRight());
  EXPECT_TRUE(AUVXAntennsEx().IsRight());
}

template <typename... Lists>
constexpr bool kMoveWithoutAllocating = ((std::is_nothrow_move_constructible_v<Lists> &&
                                          std::is_nothrow_move_assignable_v<Lists>)&&...);
static_assert(kMoveWithoutAllocating<AUVXVisibility, AUVXFreqs, AUVXPosition, AUVXBaseLines, AUVXSources, AUVXTable>);
static_assert(std::is_nothrow_move_constructible_v<AUVXAntenns> && !std::is_nothrow_move_assignable_v<AUVXAntenns>);

TEST(AUVXAntenns, CopiesCarryItemsOnly) {
  AUVXTable table = AntennaTable();
  table.AddKeyWord("ARRAYX", "-1.6E+06", true);
  table.AddKeyWord("ARRAYZ", "3.5D+06", true);
  table.AddKeyWord("XYZHAND", "LEFT", false);
  const AUVXAntenns list(table), copy(list);
  EXPECT_EQ(list.ArrayX(), -1.6e6);
  EXPECT_EQ(list.ArrayZ(), 3.5e6);
  EXPECT_EQ(copy.count(), 3);
  EXPECT_TRUE(copy.IsRight());
  EXPECT_EQ(copy.ArrayX(), 0);
  AUVXAntenns source(table), moved(std::move(source));
  EXPECT_EQ(moved.ArrayX() + moved.count(), -1.6e6 + 3) << "a move takes all of it";
  EXPECT_EQ(source.count(), 0);
  AUVXAntenns assigned;
  assigned = list;
  EXPECT_EQ(assigned.count(), 3);
  EXPECT_FALSE(assigned.IsRight());
  AUVXAntennsEx empty, full(table);
  swap(empty, full);
  EXPECT_EQ(empty.ArrayX() + empty.count(), -1.6e6 + 3);
  EXPECT_TRUE(full.IsRight() && !empty.IsRight());
}

TEST(AUVXAntenns, WithoutBaselinesAreListedForDeletion) {
  AUVXTable table = AntennaTable();
  table.SetNumber(0, 4, 0, 256 + 200);
  AUVXBaseLines baseLines = BaseLines({Group(1, 1, 0, 3, 200)});
  EXPECT_EQ(Elements(AUVXAntenns(table).GetDeleteRows(baseLines)), std::vector{1});

  const AUVXAntenns made(baseLines);
  ASSERT_EQ(made.count(), 2);
  EXPECT_EQ(made(1).Name(), "TLSC2");
  EXPECT_EQ(made(1).id, 200);
}

TEST(AUVXAntenns, BecomeATable) {
  const std::unique_ptr<AUVXTable> table(AUVXAntenns(AntennaTable()).ToUVXTable());
  EXPECT_EQ(table->ID(), 0x4E41);
  EXPECT_EQ(ColumnText(*table), "ANNAME  ||8A\nSTABXYZ |METERS  |3D\nNOSTA   ||1J\n");
  EXPECT_EQ(table->Text(1, 0), "ANTENNA1");
  EXPECT_EQ(table->Number(1, 1, 2), 102);
  EXPECT_EQ(table->Number(2, 2), 3);
}

TEST(AUVXLists, PassOverLettersWithoutSize) {
  // Columns of letter X take no bytes here, nor do those of letter B.
  SyntheticUVXTable table{"AN"};
  table.columns = {
      {"BITS", "", "8X"}, {"BYTES", "", "2B"}, {"FLAG", "", "2L"}, {"NOSTA", "", "1I"}, {"STABXYZ", "", "9D"}};
  MemoryFile file(table.Row(int16_t{0}, int16_t{5}, 1.0, 2.0).Image());
  const AUVXAntenns list{AUVXTable(file)};
  ASSERT_EQ(list.count(), 1);
  EXPECT_EQ(list(0).id, 5);
  EXPECT_EQ(list(0).y, 2.0);
  EXPECT_EQ(list(0).z, 0) << "not inside the row";
}

TEST(AUVXLists, TakeNumbersNoIntegerHolds) {
  AUVXTable table;
  table.AddColumn("NOSTA", "", "1D");
  table.SetRows(3);
  const double numbers[] = {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300};
  for (int row = 0; row < 3; ++row) table.SetNumber(row, 0, 0, numbers[row]);
  const AUVXAntenns list(table);
  EXPECT_EQ(list(0).id, 1) << "no number counts as 0";
  EXPECT_EQ(list(1).id, INT32_MAX);
  EXPECT_EQ(list(2).id, INT32_MIN);
}

TEST(AUVXSources, AreReadFromEitherKindOfTable) {
  AUVXTable table;
  table.AddColumn("SOURCE_ID", "", "1J");
  table.AddColumn("SOURCE", "", "16A");
  for (const char* name : {"EPOCH", "RAEPO", "DECEPO", "RAAPP", "DECAPP"}) table.AddColumn(name, "", "1D");
  table.SetRows(2);
  for (int row = 0; row < 2; ++row) {
    table.SetNumber(row, 0, 0, 7 - row);
    table.SetText(row, 1, row ? "3C 84" : "M 87");
    for (int i = 2; i < 7; ++i) table.SetNumber(row, i, 0, 10 * row + i);
  }
  const auto values = [](const AUVXSourceItem& item) {
    return std::vector{item.epoch, item.raEpoch, item.decEpoch, item.raApp, item.decApp};
  };
  AUVXSources list(table);
  ASSERT_EQ(list.count(), 2);
  EXPECT_EQ(list.ForID(6).Name(), "3C 84");
  EXPECT_EQ(values(list.ForID(6)), (std::vector{12.0, 13.0, 14.0, 15.0, 16.0}));

  const std::unique_ptr<AUVXTable> made(list.ToUVXTable());
  EXPECT_EQ(made->ID(), 0x5553);
  EXPECT_EQ(ColumnText(*made),
            "ID. NO. ||1J\nSOURCE  ||16A\nEPOCH   |YEARS   |1D\nRAAPP   |DEGREES |1D\nDECAPP  |DEGREES |1D\n");
  AUVXSources again(*made);
  EXPECT_EQ(again.ForID(6).Name(), "3C 84");
  EXPECT_EQ(values(again.ForID(6)), (std::vector{12.0, 0.0, 0.0, 15.0, 16.0}));

  AUVXBaseLines baseLines = BaseLines({Group(6, 1, 0), Group(9, 1, 0)});
  EXPECT_EQ(Elements(list.GetDeleteRows(baseLines)), std::vector{0});
}

TEST(AUVXLists, OfAFITSFileWithoutTablesAreMadeOfItsHeader) {
  SyntheticFITS made;
  made.Axis("COMPLEX", 3).Axis("STOKES", 1).Axis("FREQ", 4, 1.4e9, -1e6, 3);
  made.Axis("RA---SIN", 1, 187.5, 0.5, 3).Axis("DEC--SIN", 1, 12.0).Card("OBJECT", "M87").Card("EPOCH", 1950.0);
  OpenFITS file(made);
  AUVXSources list(file.fits);
  ASSERT_EQ(list.count(), 1);
  EXPECT_EQ(list(0).id, 1);
  EXPECT_EQ(list(0).Name(), "M87");
  EXPECT_EQ(list(0).raApp, 186.5);
  EXPECT_EQ(list(0).raEpoch, 186.5);
  EXPECT_EQ(list(0).decApp, 12);
  EXPECT_EQ(list(0).epoch, -1950);
  const AUVXFreqs freqs(file.fits, 1);
  ASSERT_EQ(freqs.freqs(), 4);
  EXPECT_EQ(freqs(0), 1.402e9);
  EXPECT_EQ(freqs(3), 1.399e9);

  OpenFITS channel(made.ReplaceCard("NAXIS4", "NAXIS4  = 1").ReplaceCard("CDELT4", "CDELT4  = 8E6"));
  const std::unique_ptr<AUVXTable> single(AUVXFreqs(channel.fits, 1).ToUVXTable(1.4e9));
  EXPECT_EQ(single->Number(0, single->FindColumn("CH WIDTH")), 8e6) << "a single channel keeps its width";
  EXPECT_EQ(single->Number(0, single->FindColumn("TOTAL BANDWIDTH")), 8e6);
}

TEST(AUVXSources, ArePrecessedOnce) {
  AUVXSources list;
  AUVXSourceItem item;
  item.raApp = 1.0;
  item.decApp = 0.5;
  for (double epoch : {-2000.0, 2000.0, -1950.0, -1900.0}) {
    item.epoch = epoch;
    list.Add(item);
  }
  const double jd = 2451544.5 + 3652.5;
  list.CorrectRADEC(jd);
  // For this date n = 20.04546367648217 and m = 46.11594459032817 arc seconds a year.
  EXPECT_EQ(list(0).epoch, 2000);
  EXPECT_NEAR(list(0).raApp, 1.1536999434658401, 1e-14);
  EXPECT_NEAR(list(0).decApp, 0.5300856709493835, 1e-14);
  EXPECT_EQ(list(1).raApp, 1.0) << "an epoch that is not negative";
  EXPECT_EQ(list(2).epoch, 1950);
  EXPECT_NEAR(list(2).raApp, 1.9221786204194804, 1e-14);
  EXPECT_NEAR(list(3).decApp, 0.8309341434354298, 1e-14);
  const double corrected = list(0).raApp;
  list.CorrectRADEC(jd);
  EXPECT_EQ(list(0).raApp, corrected);
}

TEST(AUVXPosition, IsMadeOfRecordsInTheirOrder) {
  AUVXPosition index;
  int record = 0;
  for (const auto& [source, setup, time] :
       {std::tuple{1, 1, 10.0}, {1, 1, 15.0}, {1, 1, 12.0}, {2, 1, 20.0}, {1, 1, 30.0}, {1, 2, 31.0}, {1, 2, 28.0}}) {
    AUVXGroup group = Group(source, setup, time);
    index.CheckUVGroup(group, record++);
  }
  // Source, first and last record, start and duration. An earlier time than the start does not move the start.
  const double expected[][5] = {{1, 1, 3, 10, 5}, {2, 4, 4, 20, 0}, {1, 5, 5, 30, 0}, {1, 6, 7, 31, 3}};
  ASSERT_EQ(index.count(), 4);
  for (int i = 0; i < 4; ++i) {
    const AUVXPositionItem& scan = index(i);
    const double found[] = {double(scan.sourceId), double(scan.startVis), double(scan.endVis), scan.start,
                            scan.duration};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(found[k], expected[i][k]) << i << ", " << k;
  }
  EXPECT_EQ(index.CountForSrc(1), 6);
  EXPECT_EQ(index.CountForSrc(3), 0);
  EXPECT_EQ(index.FreqSelForSrc(2), 1);
  EXPECT_EQ(index.FreqSelForSrc(3), 1);
  index(0).freqId = 9;
  EXPECT_EQ(Elements(index.GetFreqSels(1)), (std::vector{1, 2, 9}));
  AArray<int> setups;
  setups.Add(99);
  EXPECT_EQ(index.GetFreqSels(3, setups).count(), 0);
  index(3).startVis = INT32_MIN;
  index(3).endVis = INT32_MAX;
  EXPECT_EQ(index.CountForSrc(1), INT32_MAX);
}

TEST(AUVXPosition, HoldsSecondsAndItsTableDays) {
  AUVXTable given;
  for (const char* name : {"TIME", "TIME INTERVAL"}) given.AddColumn(name, "DAYS", "1D");
  for (const char* name : {"SOURCE ID", "SUBARRAY", "START VIS", "END VIS", "FREQ ID"}) given.AddColumn(name, "", "1I");
  given.SetRows(1);
  const double row[] = {0.5, 0.01, 3, 2, 11, 20, 4};
  for (int i = 0; i < 7; ++i) given.SetNumber(0, i, 0, row[i]);
  const AUVXPosition index(given);
  ASSERT_EQ(index.count(), 1);
  EXPECT_NEAR(index(0).start, 42768, 1e-9);
  EXPECT_NEAR(index(0).duration, 864, 1e-9);

  const std::unique_ptr<AUVXTable> table(index.ToUVXTable());
  EXPECT_EQ(table->ID(), 0x584E);
  EXPECT_EQ(ColumnText(*table),
            "TIME    |DAYS    |1E\nTIME INTERVAL|DAYS    |1E\nSOURCE ID||1J\nSUBARRAY||1J\nSTART VIS||1J\n"
            "END VIS ||1J\nFREQ ID ||1J\n");
  for (int i = 0; i < 7; ++i) EXPECT_EQ(table->Number(0, i), static_cast<float>(row[i]));
}

TEST(AUVXPosition, IsShiftedByTheTimeOfDay) {
  const auto shifted = [](double julianDate) {
    AUVXPosition index;
    AUVXGroup group = Group(1, 1, 100);
    index.CheckUVGroup(group, 0);
    index.AddStartTime(julianDate);
    return index(0).start;
  };
  EXPECT_EQ(shifted(2457754.5), 100) << "midnight";
  EXPECT_EQ(shifted(2457754.75), 100 + 21600);
  EXPECT_EQ(shifted(2457755.25), 100 + 64800);
}

TEST(AUVXBaseLines, AreSortedAndEachThereOnce) {
  AUVXBaseLines list;
  EXPECT_EQ(list.checkBase(AUVXBaseLineItem(Group(2, 1, 0, 1, 2))), 0);
  EXPECT_EQ(list.checkBase(AUVXBaseLineItem(Group(1, 1, 0, 3, 4, 1))), 0);
  EXPECT_EQ(list.checkBase(AUVXBaseLineItem(Group(1, 1, 0, 1, 200, 3))), 0);
  EXPECT_EQ(list.checkBase(AUVXBaseLineItem(Group(1, 1, 0, 1, 2))), 1) << "200 sorts as a negative number";
  EXPECT_EQ(list.checkBase(AUVXBaseLineItem(Group(-1, 1, 0, 255, 255))), 0);
  ASSERT_EQ(list.count(), 5);
  EXPECT_EQ(list(3).flag, 1);
  EXPECT_EQ(list.checkBase(AUVXBaseLineItem(Group(1, 1, 0, 3, 4, 2))), 3) << "bit 1 is no flag";
  EXPECT_EQ(list(3).flag, 0);
  list.checkBase(AUVXBaseLineItem(Group(1, 1, 0, 3, 4, 1)));
  EXPECT_EQ(list(3).flag, 0) << "one usable record is enough";

  EXPECT_EQ(Elements(list.getSourceMap()), (std::vector<short>{-1, 1, 2}));
  EXPECT_EQ(Elements(list.getTlscMap()), (std::vector{1, 2, 3, 4, 200, 255}));
}

TEST(AUVXBaseLines, AreCollectedQuicklyHoweverManyThereAre) {
  constexpr int kBaselines = 1 << 18;  // inserted one by one, they would take seconds
  BaseLineCollector collector;
  for (int i = 0; i < 2 * kBaselines; ++i) {
    const int scrambled = static_cast<int>(i * 2654435761u % kBaselines);  // each number twice
    const int flag = i < kBaselines || scrambled % 2;
    collector.Take(Group(scrambled >> 16, 1, 0, scrambled >> 8, scrambled, flag));
  }
  ASSERT_EQ(collector.list().count(), kBaselines);
  int wrong = 0, number = 0;
  for (const AUVXBaseLineItem& item : collector.list()) {
    const int source = number >> 16, tlsc1 = (number >> 8 & 0xFF) - 128, tlsc2 = (number & 0xFF) - 128;
    wrong += item.source != source || item.tlsc1 != tlsc1 || item.tlsc2 != tlsc2 || item.flag != number % 2;
    ++number;
  }
  EXPECT_EQ(wrong, 0);
}

TEST(AUVXBaseLines, ComeBackFromTheirTableInAnyOrder) {
  const AUVXBaseLines list =
      BaseLines({Group(2, 1, 0, 1, 2), Group(1, 1, 0, 3, 4, 1), Group(1, 1, 0, 1, 200), Group(-5, 1, 0, 1, 1)});
  const std::unique_ptr<AUVXTable> table(list.ToUVXTable());
  EXPECT_EQ(table->ID(), 0x14C42);
  ASSERT_EQ(table->rows(), 4);
  EXPECT_EQ(table->Number(1, table->FindColumn("ANT2")), 200);
  AUVXTable turned = *table;
  for (int row = 0; row < 4; ++row) std::memcpy(turned.Row(row), table->Row(3 - row), 8);
  const AUVXBaseLines back(turned);
  ASSERT_EQ(back.count(), list.count());
  EXPECT_EQ(std::memcmp(back.lpArray(), list.lpArray(), 4 * sizeof(AUVXBaseLineItem)), 0);

  for (int i = 0; i < 4; ++i) turned.SetNumber(0, i, 0, turned.Number(1, i));
  turned.SetNumber(0, 3, 0, 1);
  turned.SetNumber(1, 3, 0, 0);
  const AUVXBaseLines merged(turned);
  EXPECT_EQ(merged.count(), 3);
  EXPECT_EQ(AUVXBaseLines(AntennaTable()).count(), 1) << "a table without its columns says nothing";
}

SyntheticUVXTable Setups() {
  SyntheticUVXTable table{"FQ"};
  table.columns = {{"FREQID", "", "1J"}, {"BANDFREQ", "HZ", "2D"}, {"CH_WIDTH", "HZ", "2E"}};
  for (int setup : {1, 3}) table.Row(setup, 0.0, 5e7 * setup, 1e6f, -2e6f);
  return table;
}

TEST(AUVXFreqs, ComeFromTheSetupOfAFile) {
  OpenUVX file(SyntheticUVX().IFs(2).Channels(3).Table(Setups()));
  const AUVXFreqs third(file.uvx, 3);
  ASSERT_EQ(third.freqs(), 6);
  EXPECT_EQ(third(2, 0), 1.402e9);
  EXPECT_EQ(third(2, 1), 1.4e9 + 1.5e8 - 4e6);
  EXPECT_EQ(third(3), 1.55e9);
  EXPECT_EQ(AUVXFreqs(file.uvx, 1)(0, 1), 1.45e9);
  EXPECT_EQ(AUVXFreqs(file.uvx, 2)(0, 1), 1.45e9) << "an unknown setup falls back to the first row";

  OpenUVX bare(SyntheticUVX().IFs(0).Channels(2));
  const AUVXFreqs flat(bare.uvx, 1);
  ASSERT_EQ(flat.count(), 2);
  EXPECT_EQ(flat(1), 1.4e9) << "that of the header";
}

TEST(AUVXFreqs, BecomeATable) {
  AUVXFreqs freqs(4, 2);
  for (int channel = 0; channel < 4; ++channel) {
    freqs(channel, 0) = 1.5e9 + 1e6 * channel;
    freqs(channel, 1) = 1.6e9 - 5e5 * channel;
  }
  const std::unique_ptr<AUVXTable> table(freqs.ToUVXTable(1.5e9));
  EXPECT_EQ(table->ID(), 0x5146);
  EXPECT_EQ(ColumnText(*table),
            "FRQSEL  ||1J\nIF FREQ |HZ      |2D\nCH WIDTH|HZ      |2E\nTOTAL BANDWIDTH|HZ      |2E\nSIDEBAND||2J\n");
  EXPECT_EQ(table->keywords()(0).Key(), "NO_IF");
  EXPECT_EQ(table->keywords()(0).Number(), 2);
  ASSERT_EQ(table->rows(), 1);
  const double expected[5][2] = {{1, 0}, {0, 1e8}, {1e6, -5e5}, {4e6, 2e6}, {1, -1}};
  for (int column = 0; column < 5; ++column) {
    for (int i = 0; i < (column ? 2 : 1); ++i) EXPECT_EQ(table->Number(0, column, i), expected[column][i]) << column;
  }
}

TEST(AUVXFreqs, AreNotTakenWhereTheFileCannotHoldThem) {
  OpenUVX file(SyntheticUVX().Times(0).Stokes({-1}).Put(214, int32_t{100000000}));
  EXPECT_EQ(AUVXFreqs(file.uvx, 1).count(), 0);
  EXPECT_EQ(AUVXFreqs(-1, 2).count(), 0);
  EXPECT_EQ(AUVXFreqs(65536, 65536).count(), 0);
  EXPECT_EQ(AUVXFreqs().count(), 1);
  EXPECT_EQ(AUVXFreqs(3, 0).count(), 3);
}

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include "tests/support/OpenFITS.h"
#include "tests/support/OpenUVX.h"
#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

std::string Header(const SyntheticUVX& builder) {
  MemoryFile out;
  return OpenUVX(builder).uvx.ToFITSHeader(out) ? out.bytes : "";
}

std::vector<std::string> Cards(const std::string& header) {
  std::vector<std::string> cards;
  for (size_t i = 0; i + 80 <= header.size(); i += 80) {
    const std::string card = header.substr(i, 80);
    cards.push_back(card.substr(0, card.find_last_not_of(' ') + 1));
    if (cards.back() == "END") break;
  }
  return cards;
}

/// The value of the first card with this keyword, "" if there is none.
std::string Value(const std::string& header, const std::string& keyword) {
  for (const std::string& card : Cards(header)) {
    if (card.substr(0, 10) != (keyword + std::string(8, ' ')).substr(0, 8) + "= ") continue;
    std::string value = card.substr(10);
    value = value.substr(0, value.find_last_of('/'));
    const size_t first = value.find_first_not_of(' ');
    return first == std::string::npos ? "" : value.substr(first, value.find_last_not_of(' ') - first + 1);
  }
  return "";
}

TEST(AUVXToFITSHeader, HoldsTheCardsInTheOrderOfTheStandard) {
  const std::string header = Header(SyntheticUVX().IFs(2).Channels(3).Stokes({-1, -2}).Antennas(3).Times(2).Tables());
  ASSERT_EQ(header.size(), 3u * 2880);
  const std::vector<std::string> cards = Cards(header);
  const char* expected[] = {
      "SIMPLE  =                    T /", "BITPIX  =                  -32 /", "NAXIS   =                    7 /",
      "NAXIS1  =                    0 /", "NAXIS2  =                    3 /", "NAXIS3  =                    2 /",
      "NAXIS4  =                    3 /", "NAXIS5  =                    2 /", "NAXIS6  =                    1 /",
      "NAXIS7  =                    1 /", "EXTEND  =                    T /", "GROUPS  =                    T /",
      "PCOUNT  =                    6 /", "GCOUNT  =                    6 /", "PTYPE1  = 'UU      '           /",
      "PSCAL1  =    1.00000000000E+00 /", "PZERO1  =    0.00000000000E+00 /"};
  for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(cards[i], expected[i]);
  EXPECT_EQ(header.substr(cards.size() * 80), std::string(header.size() - cards.size() * 80, ' '));
}

TEST(AUVXToFITSHeader, WritesEveryDigitOfItsNumbers) {
  AUVXTable table;
  table.Create(AUVXTable::toHash("SU", 0));
  table.AddColumn("RAEPO", "", "1D");
  table.AddColumn("DECEPO", "", "1D");
  table.SetRows(1);
  table.SetNumber(0, 0, 0, 187.70593075958);
  table.SetNumber(0, 1, 0, -1.0 / 3);
  OpenUVX in(SyntheticUVX().Put(218, 229071093750.0625).Bytes());
  in.uvx.AddTable(table);
  MemoryFile out;
  ASSERT_TRUE(in.uvx.ToFITSHeader(out));
  const OpenFITS file(out.bytes);
  ASSERT_TRUE(file.result);
  const auto& fits = file.fits;
  EXPECT_EQ(fits.main()->axes()(0, 3), 229071093750.0625);
  EXPECT_EQ(fits.main()->axes()(0, 5), 187.70593075958);
  EXPECT_EQ(fits.main()->axes()(0, 6), -1.0 / 3);
}

TEST(AUVXToFITSHeader, NeedsPolarisationsInConstantSteps) {
  const auto axis = [](std::vector<int> codes) {
    const std::string header = Header(SyntheticUVX().Stokes(std::move(codes)));
    return Value(header, "CRVAL3").substr(0, 2) + " " + Value(header, "CDELT3").substr(0, 2);
  };
  EXPECT_EQ(axis({1}), "1. 1.");
  EXPECT_EQ(axis({-7}), "-7 -1");
  EXPECT_EQ(axis({-5, -6, -7, -8}), "-5 -1");
  EXPECT_EQ(axis({-8, -6}), "-8 2.");
  EXPECT_EQ(Header(SyntheticUVX().Stokes({-1, -2, -4})), "");
  EXPECT_EQ(Header(SyntheticUVX().Stokes({})), "");
}

TEST(AUVXToFITSHeader, NamesSourceAndSetupWhereTheyDiffer) {
  const auto needs = [](const SyntheticUVX& builder) { return OpenUVX(builder).uvx.NeedsSourceAndFreqSel(); };
  const SyntheticUVX plain = SyntheticUVX().Tables();
  EXPECT_FALSE(needs(plain));
  EXPECT_TRUE(needs(SyntheticUVX())) << "nothing tells what the records hold";
  EXPECT_TRUE(needs(SyntheticUVX().Sources(2).Tables()));
  EXPECT_TRUE(needs(SyntheticUVX(plain).Edit([](SyntheticRecord& record) { record.source = 7; })));
  EXPECT_TRUE(needs(SyntheticUVX(plain).Edit([](SyntheticRecord& record) { record.frqsel = 2; })));
  EXPECT_TRUE(needs(SyntheticUVX(plain).Put(16, int32_t{7}))) << "a record after the index";
  EXPECT_EQ(Value(Header(SyntheticUVX().Sources(2).Tables()), "OBJECT"), "'MULTI   '");
}

AUVXTable SmallTable() {
  AUVXTable table;
  table.Create(AUVXTable::toHash("TY", 0));
  table.AddColumn("NAME", "", "4A");
  table.AddColumn("TSYS", "KELVIN", "1E");
  table.AddColumn("USED", "", "1L");
  table.AddKeyWord("NO_POL", "2", true);
  table.AddKeyWord("RDATE", "it's 2017", false);
  table.AddKeyWord("FREQ", "1.2D+09", true);
  table.AddKeyWord("SMALL", "1.5e-07", true);
  table.AddKeyWord("OK", "F", true);
  table.AddKeyWord("ODD", "1.2 Hz", true);
  table.AddKeyWord("low#3", "x", false);
  for (const char* key : {"NAXIS2", "TDISP1", "EXTVER", "HISTORY", "COMMENT", "CHECKSUM", "", "TFIELDS"}) {
    table.AddKeyWord(key, "9", true);
  }
  table.SetRows(2);
  std::memcpy(table.Row(0), "A\0\xFFz", 4);
  std::memcpy(table.Row(1), "\x01yes", 4);
  table.SetNumber(0, 1, 0, 1.5);
  table.SetNumber(1, 1, 0, -2);
  *(table.Row(0) + 8) = 'T';
  *(table.Row(1) + 8) = '?';
  return table;
}

TEST(AUVXToFITSTable, IsABinaryTableInWholeBlocks) {
  AUVXTable table = SmallTable();
  const std::string before(table.data(), 18);
  MemoryFile out;
  ASSERT_TRUE(table.ToFITS(out, 3));
  ASSERT_EQ(out.bytes.size(), 2u * 2880);
  const std::vector<std::string> cards = Cards(out.bytes);
  const std::vector<std::string> expected = {
      "XTENSION= 'BINTABLE'           /", "BITPIX  =                    8 /", "NAXIS   =                    2 /",
      "NAXIS1  =                    9 /", "NAXIS2  =                    2 /", "PCOUNT  =                    0 /",
      "GCOUNT  =                    1 /", "TFIELDS =                    3 /", "EXTNAME = 'AIPS TY '           /",
      "EXTVER  =                    3 /", "TTYPE1  = 'NAME    '           /", "TFORM1  = '4A      '           /",
      "TUNIT1  = '        '           /", "TTYPE2  = 'TSYS    '           /", "TFORM2  = '1E      '           /",
      "TUNIT2  = 'KELVIN  '           /", "TTYPE3  = 'USED    '           /", "TFORM3  = '1L      '           /",
      "TUNIT3  = '        '           /", "NO_POL  =                    2 /", "RDATE   = 'it''s 2017'         /",
      "FREQ    =              1.2D+09 /", "SMALL   =              1.5E-07 /", "OK      =                    F /",
      "ODD     = '1.2 Hz  '           /", "LOW_3   = 'x       '           /", "END"};
  EXPECT_EQ(cards, expected);
  const std::string rows = out.bytes.substr(2880);
  EXPECT_EQ(rows.substr(0, 18), std::string("A\0\0\0\x3F\xC0\0\0T?yes\xC0\0\0\0\0", 18));
  EXPECT_EQ(rows.substr(18), std::string(2880 - 18, '\0'));
  EXPECT_EQ(std::string(table.data(), 18), before) << "the table itself stays as it is";
}

TEST(AUVXToFITSTables, CountVersionsForEachCode) {
  SyntheticUVXTable antennas{"AN"}, calibration{"CL"};
  antennas.columns = calibration.columns = {{"A", "", "1J"}};
  OpenUVX in(SyntheticUVX().Table(antennas).Table(calibration).Table(antennas));
  MemoryFile out;
  ASSERT_TRUE(in.uvx.ToFITSTables(out));
  ASSERT_EQ(out.bytes.size(), 3u * 2880);
  std::string versions;
  for (size_t i = 0; i < 3; ++i) {
    versions += Value(out.bytes.substr(i * 2880), "EXTNAME") + Value(out.bytes.substr(i * 2880), "EXTVER");
  }
  EXPECT_EQ(versions, "'AIPS AN '1'AIPS CL '1'AIPS AN '2");
}

TEST(AUVXToFITSTables, FailRatherThanLoseATable) {
  const SyntheticUVX whole = SyntheticUVX().Tables();
  const size_t directory = whole.DirectoryOffset();
  MemoryFile all;
  ASSERT_TRUE(OpenUVX(whole).uvx.ToFITSTables(all));
  for (int64 room = 0; room < static_cast<int64>(all.bytes.size()); room += 720) {
    MemoryFile out;
    out.largest = room;
    EXPECT_FALSE(OpenUVX(whole).uvx.ToFITSTables(out)) << room;
  }
  MemoryFile out;
  for (int64 position : {int64{-1}, int64{0}, int64{1} << 40}) {
    EXPECT_FALSE(OpenUVX(SyntheticUVX(whole).Put(directory + 6, position)).uvx.ToFITSTables(out)) << position;
  }
  EXPECT_FALSE(OpenUVX(SyntheticUVX(whole).Put(directory + 14, int32_t{7})).uvx.ToFITSTables(out));
  EXPECT_FALSE(OpenUVX(SyntheticUVX(whole).Cut(whole.Bytes().size() - 1)).uvx.ToFITSTables(out));
}

}  // namespace
}  // namespace zeltra::test

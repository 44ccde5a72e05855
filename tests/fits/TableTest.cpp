// SPDX-License-Identifier: MIT
#include "tests/support/OpenFITS.h"
#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

// The first extension of a file.
struct ReadTable : OpenFITS {
  explicit ReadTable(const SyntheticFITS& made) : OpenFITS(made) { EXPECT_TRUE(result && fits.tables().count() == 1); }
  explicit ReadTable(const SyntheticTable& table) : ReadTable(SyntheticFITS::UV(1, 1, 1).Table(table)) {}
  AFITSxtbl* operator->() { return fits.tables()(0); }
  int64 Offset(int row, int column) {
    int field = 0;
    return fits.tables()(0)->GetPosInTable(row, column, field) - fits.tables()(0)->dataStart();
  }
  int Field(int column) {
    int field = -2;
    fits.tables()(0)->GetPosInTable(1, column, field);
    return field;
  }
};

template <typename Value>
Value ValueAt(const char* data, size_t offset) {
  Value value;
  std::memcpy(&value, data + offset, sizeof value);
  return value;
}

// Fields of one J, one text, a vector of three and 16 bits: rows of 26 bytes.
SyntheticTable Mixed() {
  return SyntheticTable("AIPS XX")
      .Columns({{"NUMBER", "1J"}, {"NAME", "8A"}, {"FLUX", "3E", "JY"}, {"BITS", "16X"}})
      .Row({-7, "VLBA_BR", {1.5, 0.1, NAN}, 0xA001})
      .Row({2147483647, std::string("LA\0junk", 7), {-1e-30, 2, 3}, 1});
}

TEST(TableHeader, TellsKindAndSize) {
  ReadTable table(Mixed());
  EXPECT_EQ(table->tableKind(), 0x200000);
  EXPECT_EQ(table->GetRows(), 2);
  EXPECT_EQ(table->DataBytes(), 52);
  EXPECT_FALSE(table->IsEmptyData());
  EXPECT_EQ(ReadTable(SyntheticTable("A", "A3DTABLE").Columns({{"X", "1J"}}))->tableKind(), 0x100000);

  ReadTable ascii(SyntheticTable("A", "TABLE").Columns({{"X", "12A"}, {"Y", "1E"}}));
  EXPECT_EQ(ascii->tableKind(), 0);
  EXPECT_EQ(ascii->GetFullColumns(), 2) << "fields, not elements";
}

TEST(TableHeader, ParsesFormats) {
  const auto parsed = [](const char* form) {
    const AXTblFormat format = AXTblFormat::Parse(form);
    return std::make_pair(format.type, static_cast<int>(format.count));
  };
  EXPECT_EQ(parsed("16E"), std::make_pair('E', 16));
  EXPECT_EQ(parsed("E"), std::make_pair('E', 0));
  EXPECT_EQ(parsed("0D"), std::make_pair('D', 0));
  EXPECT_EQ(parsed("E15.7"), std::make_pair('7', 0));
  EXPECT_EQ(parsed("1PE(5)"), std::make_pair(')', 1));
  EXPECT_EQ(parsed("32767A"), std::make_pair('A', 32767));
  EXPECT_EQ(parsed("65537A"), std::make_pair('A', 0)) << "not 1, as its low 16 bits would have it";
  EXPECT_EQ(parsed("+3E"), std::make_pair('E', 3));
  EXPECT_EQ(parsed(""), std::make_pair('\0', 0));
}

TEST(TableCells, AreAddressedByFullColumn) {
  ReadTable table(Mixed());
  EXPECT_EQ(table->GetFullColumns(), 6);
  const int64 offsets[] = {0, 4, 12, 16, 20, 24};
  const int fields[] = {0, 1, 2, 2, 2, 3};
  for (int column = 1; column <= 6; ++column) {
    EXPECT_EQ(table.Offset(1, column), offsets[column - 1]) << column;
    EXPECT_EQ(table.Offset(2, column), 26 + offsets[column - 1]) << column;
    EXPECT_EQ(table.Field(column), fields[column - 1]) << column;
  }
  EXPECT_EQ(table.Offset(1, 7), 26) << "after the last field";
}

TEST(TableCells, BehindLettersWithoutAWidthFollowTheWidthBefore) {
  ReadTable leading(SyntheticTable("A").Columns({{"I", "2I"}, {"J", "1J"}}).Row({{1, 2}, 3}));
  EXPECT_EQ(leading.Offset(1, 2), 0) << "no width is known yet";
  EXPECT_EQ(leading.Offset(1, 3), 0);
  ReadTable between(SyntheticTable("A").Columns({{"D", "1D"}, {"A", "3A"}, {"I", "2I"}, {"L", "1L"}}));
  EXPECT_EQ(between.Offset(1, 4), 8 + 3 + 8) << "the text does not count";
  EXPECT_EQ(between.Offset(1, 5), 8 + 3 + 16);
}

TEST(TableCells, ReadAsText) {
  ReadTable table(Mixed());
  EXPECT_EQ(table->asString(1, 1), "-7");
  EXPECT_EQ(table->asString(2, 1), "2147483647");
  EXPECT_EQ(table->asString(1, 2), "'VLBA_BR '");
  EXPECT_EQ(table->asString(2, 2), "'LA'") << "text ends at its first zero byte";
  EXPECT_EQ(table->asString(1, 3), "1.5");
  EXPECT_EQ(table->asString(1, 4), "0.1") << "as short as a float allows";
  EXPECT_EQ(table->asString(1, 5), "NaN");
  EXPECT_EQ(table->asString(1, 6), "0x0000A001");
  for (const auto& [row, column] : {std::pair{0, 1}, {3, 1}, {-5, 1}, {1, 0}, {1, 7}, {1, -1}}) {
    EXPECT_EQ(table->asString(row, column), "") << row << ", " << column;
  }

  ReadTable other(SyntheticTable("A")
                      .Columns({{"D", "1D"}, {"L", "1L"}, {"X24", "24X"}, {"TEXT", "200A"}, {"I", "1I"}})
                      .Row({0.1, 'T', 1, std::string(200, 't'), 5}));
  const std::string texts[] = {"0.1", "84", "", "'" + std::string(127, 't') + "'", "Unknow"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(other->asString(1, i + 1), texts[i]);
}

TEST(TableCells, HaveNames) {
  ReadTable table(Mixed());
  EXPECT_EQ(table->asStringName(1), "NUMBER [1J]");
  EXPECT_EQ(table->asStringName(2), "(1)-NAME [8A]") << "numbered by the vector field after it";
  EXPECT_EQ(table->asStringName(3), "(1)-FLUX [3E]");
  EXPECT_EQ(table->asStringName(4), "(2)-FLUX [3E]");
  EXPECT_EQ(table->asStringName(6), "(1)-BITS [16X]") << "numbered by itself, the last field";
  EXPECT_EQ(table->asStringName(0), "");
  EXPECT_EQ(table->asStringName(7), "");
  ReadTable empty(SyntheticTable("A").Columns({{"A", "8A"}, {"E", "0E"}, {"J", "1J"}, {"X", "8X"}, {"D", "0D"}}));
  EXPECT_EQ(empty->asStringName(1), "A [8A]") << "the next field with elements is 1J";
  EXPECT_EQ(empty->asStringName(3), "X [8X]") << "only an empty field follows";
}

TEST(TableCells, SkipFieldsWithoutElements) {
  SyntheticFITS made = SyntheticFITS::UV(1, 1, 1).Table(
      SyntheticTable("A").Columns({{"E", "1E"}, {"J", "1J"}, {"X", "8X"}}).Row({1, 2, 3}));
  made.ReplaceCard("TFORM1", "TFORM1  = 'E       '").ReplaceCard("TFORM3", "TFORM3  = 'X       '");
  ReadTable table(made);
  EXPECT_EQ(table->GetFullColumns(), 1);
  EXPECT_EQ(table.Offset(1, 1), 0);
  EXPECT_EQ(table.Field(1), 1);
  EXPECT_EQ(table->asStringName(1), "J [1J]");
}

TEST(TableData, IsConvertedToMachineOrder) {
  ReadTable table(SyntheticTable("A")
                      .Columns({{"D", "2D"},
                                {"L", "1L"},
                                {"E", "5E"},
                                {"A", "3A"},
                                {"I", "2I"},
                                {"X", "20X"},
                                {"J", "1J"},
                                {"NONE", "0J"}})
                      .Row({{1.25, -2}, 'F', {1, 2, 3, 4, 5}, "abc", {-2, 258}, 0x010203, 65536, 0})
                      .Row({{7, 8}, 'T', {6, 7, 8, 9, 10}, "xyz", {3, 4}, 0xFFFEFD, -1, 0}));
  EXPECT_EQ(table->data(), nullptr);
  table->AllocData();
  ASSERT_NE(table->data(), nullptr);
  const char* row = table->data() + 51;
  EXPECT_EQ(ValueAt<double>(row, 8), 8);
  EXPECT_EQ(row[16], 'T');
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(ValueAt<float>(row, 17 + 4 * i), static_cast<float>(6 + i));
  EXPECT_EQ(std::string(row + 37, 3), "xyz");
  EXPECT_EQ(ValueAt<int16_t>(row, 42), 4);
  EXPECT_EQ(std::string(row + 44, 3), "\xFD\xFE\xFF");
  EXPECT_EQ(ValueAt<int32_t>(row, 47), -1);
  table->AllocData();
  EXPECT_EQ(table->data() + 51, row) << "a second call changes nothing";
  table->FreeData();
  EXPECT_EQ(table->data(), nullptr);
  EXPECT_EQ(table->asString(2, 1), "7") << "cells are read from the file";
}

TEST(TableData, RunsOnOverLettersItDoesNotKnow) {
  ReadTable table(SyntheticTable("A").Columns({{"B", "1B"}, {"J", "1J"}}).Row({1, 0x02030405}).Row({6, 0x0708090A}));
  table->AllocData();
  ASSERT_NE(table->data(), nullptr);
  EXPECT_EQ(std::string(table->data(), 10), std::string("\4\3\2\1\x8\7\6\5\x9\xA", 10));
}

TEST(TableData, NeverLeavesItsRowsOrItsFile) {
  SyntheticFITS made =
      SyntheticFITS::UV(1, 1, 1).Table(SyntheticTable("A").Columns({{"J", "1J"}, {"D", "1D"}}).Row({1, 2}).Row({3, 4}));
  const auto damaged = [&made](const char* keyword, double value, int occurrence) {
    SyntheticFITS copy = made;
    ReadTable table(copy.ReplaceCard(keyword, SyntheticCard(keyword, value), occurrence));
    table->AllocData();
    return table->data() != nullptr;
  };
  EXPECT_TRUE(damaged("NAXIS1", 5, 1)) << "10 bytes, of which the second field has only 6";
  EXPECT_TRUE(damaged("TFORM2", 0, 0));
  EXPECT_FALSE(damaged("NAXIS1", 178956970, 1)) << "more rows than the file has";
  EXPECT_FALSE(damaged("NAXIS2", 0, 1));

  SyntheticFITS unsized = made;
  unsized.ReplaceCard("BITPIX", "", 1).ReplaceCard("NAXIS1", SyntheticCard("NAXIS1", 2147483647), 1);
  ReadTable huge(unsized.ReplaceCard("NAXIS2", SyntheticCard("NAXIS2", 2147483647), 1));
  EXPECT_EQ(huge->DataBytes(), 2147483647LL * 2147483647);
  huge->AllocData();
  EXPECT_EQ(huge->data(), nullptr);
  EXPECT_EQ(huge->asString(2147483647, 1), "");

  ReadTable empty(SyntheticTable("A").Columns({{"J", "1J"}}));
  EXPECT_EQ(empty->IsEmptyData(), 1);
  empty->AllocData();
  EXPECT_EQ(empty->data(), nullptr);
}

// Reads no more than `left` bytes, as a failing disk does.
class ShortFile : public AFile {
 public:
  int Read(void* buf, int n) override {
    n = std::min(n, left);
    left -= n;
    return n > 0 && AFile::Read(buf, n);
  }
  int left = INT_MAX;
};

TEST(TableData, IsNotThereAfterAShortRead) {
  TempFile path;
  path.Put(SyntheticFITS::UV(1, 1, 1).Table(Mixed()).Bytes());
  auto* file = new ShortFile;
  ASSERT_TRUE(file->Open(path.c_str(), AFile::Binary));
  AFITS fits(file);
  ASSERT_TRUE(fits.ReadHeaders() && fits.tables().count() == 1);
  AFITSxtbl& table = *fits.tables()(0);
  file->left = 3;
  table.AllocData();
  EXPECT_EQ(table.data(), nullptr);
  file->left = 3;
  EXPECT_EQ(table.asString(1, 1), "") << "three bytes of four";
  file->left = 52;
  table.AllocData();
  EXPECT_NE(table.data(), nullptr);
  EXPECT_FALSE(file->Seek(0) && fits.ReadHeaders()) << "cards are short as well";
}

TEST(TableData, EndsWithATruncatedFile) {
  const SyntheticFITS whole = SyntheticFITS::UV(1, 1, 1).Table(Mixed());
  ReadTable table(whole);
  const auto end = static_cast<size_t>(table->dataStart()) + 52;
  SyntheticFITS unpadded = whole, cut = whole;
  ReadTable complete(unpadded.Truncate(end));
  complete->AllocData();
  EXPECT_NE(complete->data(), nullptr) << "the last block need not be full";
  ReadTable incomplete(cut.Truncate(end - 1));
  incomplete->AllocData();
  EXPECT_EQ(incomplete->data(), nullptr);
  EXPECT_EQ(incomplete->asString(2, 6), "");
  EXPECT_EQ(incomplete->asString(2, 5), "3");
}

}  // namespace
}  // namespace zeltra::test

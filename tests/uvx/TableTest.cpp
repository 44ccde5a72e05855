// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXTable.h"

#include "tests/support/OpenFITS.h"
#include "tests/support/OpenUVX.h"
#include "tests/support/Test.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra::test {
namespace {

/// A column of each letter: 1J at 0, 8A at 4, 2E at 12, 12X at 20, 1I at 22, 1D at 24, 1L at 32.
SyntheticUVXTable EveryLetter() {
  SyntheticUVXTable table{"TY"};
  table.keywords = {{"NO_POL", "2", true}, {"NAME", "it's", false}};
  table.columns = {{"SOURCE ID", "", "1J"}, {"NAME", "", "8A"},     {"TSYS", "KELVIN", "2E"}, {"BITS", "", "12X"},
                   {"SUBARRAY", "", "1I"},  {"TIME", "DAYS", "1D"}, {"USED", "", "1L"}};
  table.Row(0x01020304, std::string(" AB\0CDEF", 8), 1.5f, -2.5f, uint16_t{0x0ABC}, int16_t{-1}, 0.125, 'T');
  return table.Row(0x02040608, std::string("LONGNAME"), 3.f, -2.5f, uint16_t{0x0ABC}, int16_t{-2}, 0.25, 'F');
}

AUVXTable Load(const std::string& image) {
  MemoryFile file(image);
  return AUVXTable(file);
}

std::string Image(AUVXTable& table) {
  MemoryFile file;
  EXPECT_TRUE(table.store(file));
  return file.bytes;
}

/// A table with one column ROW that holds the row's number.
AUVXTable Numbered(int rows) {
  AUVXTable table;
  table.AddColumn("ROW", "", "1J");
  table.SetRows(rows);
  for (int row = 0; row < rows; ++row) table.SetNumber(row, 0, 0, row);
  return table;
}

std::vector<int> Numbers(const AUVXTable& table) {
  std::vector<int> numbers;
  for (int row = 0; row < table.rows(); ++row) numbers.push_back(static_cast<int>(table.Number(row, 0)));
  return numbers;
}

template <typename T>
AArray<T> ArrayOf(std::initializer_list<T> elements) {
  AArray<T> array;
  for (const T element : elements) array.Add(element);
  return array;
}

TEST(AUVXTableIdentity, HashesCodesAndNamesFamilies) {
  EXPECT_EQ(AUVXTable::toHash("FQ", 0), 0x5146);
  EXPECT_EQ(AUVXTable::toHash("FQ", 1), 0x15146);
  EXPECT_EQ(AUVXTable::toHash("", 0), 0);
  EXPECT_EQ(AUVXTable::toHash("", 1), 0x10000);
  EXPECT_EQ(AUVXTable::toHash("AAAAB", 0), 0x41414141 + 0x42);
  AUVXTable table;
  table.SetID(0x205146);
  EXPECT_EQ(table.IDtoStr(), "FITS FQ");
  table.SetID(0x15146);
  EXPECT_EQ(table.IDtoStr(), "KVO  FQ");
  table.SetID('X');
  EXPECT_EQ(table.Code(), "X");
}

TEST(AUVXTableImage, IsTheSumOfItsParts) {
  AUVXTable table;
  table.AddKeyWord("A", "1", true);
  table.AddKeyWord("B", "2", true);
  for (int i = 0; i < 3; ++i) table.AddColumn("C", "", "1D");
  table.SetRows(10);
  EXPECT_EQ(table.GetSize(), 458);
  EXPECT_EQ(Image(table).size(), 458u);
}

TEST(AUVXTableImage, HoldsTheBytesOfTheFormat) {
  const std::string image = EveryLetter().Image();
  AUVXTable table = Load(image);
  EXPECT_EQ(table.rows(), 2);
  EXPECT_EQ(table.rowBytes(), 33);
  EXPECT_EQ(Image(table), image);
  AUVXTable built;
  built.Create(table.ID());
  for (const auto& keyWord : EveryLetter().keywords) built.AddKeyWord(keyWord.key, keyWord.value, keyWord.numeric);
  for (const auto& column : EveryLetter().columns) built.AddColumn(column.name, column.unit, column.format);
  ASSERT_TRUE(built.SetRows(2));
  std::memcpy(built.data(), table.data(), 66);
  EXPECT_EQ(Image(built), image);
}

TEST(AUVXTableImage, ReportsEveryWriteThatFails) {
  AUVXTable table = Load(EveryLetter().Image());
  for (int64 room = 0; room < table.GetSize(); ++room) {
    MemoryFile file;
    file.largest = room;
    EXPECT_FALSE(table.store(file)) << room;
  }
}

TEST(AUVXTableImage, CutShortLeavesNothingButTheID) {
  const std::string image = EveryLetter().Image();
  for (size_t size = 0; size < image.size(); ++size) {
    const AUVXTable table = Load(image.substr(0, size));
    EXPECT_EQ(table.ID(), size < 4 ? 0 : 0x205954) << size;
    EXPECT_EQ(table.rows() + table.columnCount() + table.keywords().count(), 0) << size;
  }
}

TEST(AUVXTableImage, CountsBeyondTheFileAreNotBelieved) {
  const auto withInt = [](size_t offset, int32_t value) {
    std::string image = EveryLetter().Image();
    image.replace(offset, 4, reinterpret_cast<const char*>(&value), 4);
    return Load(image);
  };
  const size_t rows = 6 + 2 * 46, columns = rows + 4, rowBytes = rows + 8;
  for (int32_t value : {-1, INT32_MIN, INT32_MAX, 3000000}) {
    EXPECT_EQ(withInt(rows, value).rows(), 0) << value;
    EXPECT_EQ(withInt(columns, value).rows(), 0) << value;
    EXPECT_EQ(withInt(rowBytes, value).rows(), 0) << value;
  }
  EXPECT_EQ(withInt(4, -1).rows(), 0);
  SyntheticUVXTable empty{"NX"};
  empty.rows = INT32_MAX;
  EXPECT_EQ(Load(empty.Image()).rows(), 0) << "rows without bytes";
}

TEST(AUVXTableImage, NeverReaches2GiB) {
  AUVXTable table;
  table.AddColumn("NAME", "", "32767A");
  EXPECT_FALSE(table.SetRows(65539));
  EXPECT_EQ(table.rows(), 0);
  EXPECT_TRUE(table.SetRows(2));
}

TEST(AUVXTableColumns, AreFoundAfterAnyChange) {
  AUVXTable table = Load(EveryLetter().Image());
  AArray<AUVXTableManual>& columns = table.columns();
  EXPECT_EQ(table.Number(0, 4), -1);
  std::strcpy(columns(2).format, "1E");
  std::strcpy(columns(3).format, "1E");
  EXPECT_EQ(table.Number(0, 3), -2.5);
  EXPECT_EQ(table.ColumnOffset(4), 20);
  columns.DeleteItems(0, 1);
  EXPECT_EQ(table.Number(0, 2), 1.5);
}

TEST(AUVXTableColumns, AreReadByTheirLetters) {
  const AUVXTable table = Load(EveryLetter().Image());
  const int tsys = table.FindColumn("TSYS");
  EXPECT_EQ(tsys, 2);
  EXPECT_EQ(table.ColumnOffset(tsys), 12);
  EXPECT_EQ(table.ColumnOffset(6), 32);
  EXPECT_EQ(table.Number(1, table.FindColumn("SOURCE ID")), 0x02040608);
  EXPECT_EQ(table.Number(1, tsys), 3.0);
  EXPECT_EQ(table.Number(1, tsys, 1), -2.5);
  EXPECT_EQ(table.Number(1, 4), -2);
  EXPECT_EQ(table.Number(1, 5), 0.25);
  EXPECT_EQ(table.Number(0, 6), 1);
  EXPECT_EQ(table.Number(1, 6), 0);
  EXPECT_EQ(table.Text(0, 1), "AB") << "ends at the zero byte";
  EXPECT_EQ(table.Text(1, 1), "LONGNAME");
  EXPECT_EQ(table.Text(0, 3), "0x0ABC");
  EXPECT_EQ(table.Text(1, 6), "F");
}

TEST(AUVXTableColumns, ThatAreNotThereAreNoNumbers) {
  const AUVXTable table = Load(EveryLetter().Image());
  EXPECT_EQ(table.FindColumn("NOSTA"), -1);
  AUVXTable near;
  for (const char* name : {"TIME INTERVAL", "TIME    "}) near.AddColumn(name, "", "1D");
  EXPECT_EQ(near.FindColumn("TIME"), 1) << "the name itself before one that contains it";
  EXPECT_EQ(near.FindColumn("INT"), 0);
  EXPECT_TRUE(std::isnan(table.Number(0, -1)));
  EXPECT_TRUE(std::isnan(table.Number(0, 7)));
  EXPECT_TRUE(std::isnan(table.Number(2, 0)));
  EXPECT_TRUE(std::isnan(table.Number(0, 2, 2)));
  EXPECT_TRUE(std::isnan(table.Number(0, 1))) << "text";
  EXPECT_EQ(table.Text(2, 1), "");
}

TEST(AUVXTableColumns, NeverReachBeyondTheRow) {
  SyntheticUVXTable table{"XX"};
  table.rows = 1;
  table.data = std::string(8, 'x');
  table.columns = {{"A", "", "1J"}, {"B", "", "32767D"}, {"C", "", "1J"}};
  AUVXTable wide = Load(table.Image());
  EXPECT_EQ(wide.ColumnOffset(0), 0);
  EXPECT_EQ(wide.ColumnOffset(1), -1);
  EXPECT_EQ(wide.ColumnOffset(2), -1);
  wide.Data_PC_UNIX();
  table.columns = {{"A", "", "1B"}, {"B", "", "1J"}};
  EXPECT_EQ(Load(table.Image()).ColumnOffset(1), -1) << "bytes are not converted, so what follows is not either";
  table.columns = {{"A", "", "99999J"}, {"B", "", "-1J"}, {"C", "", "E"}, {"D", "", ""}};
  EXPECT_TRUE(std::isnan(Load(table.Image()).Number(0, 0)));
}

TEST(AUVXTableColumns, TakeNumbersThatFit) {
  AUVXTable table;
  table.AddColumn("I", "", "1I");
  table.AddColumn("A", "", "4A");
  table.SetRows(1);
  EXPECT_TRUE(table.SetNumber(0, 0, 0, 1e9));
  EXPECT_EQ(table.Number(0, 0), 32767);
  EXPECT_FALSE(table.SetNumber(0, 0, 1, 1));
  EXPECT_FALSE(table.SetNumber(0, 1, 0, 1));
}

TEST(AUVXTableKeyWords, AreCutToTheirFields) {
  AUVXTable table;
  table.AddKeyWord("LONGERTHAN9", std::string(40, 'v'), false);
  EXPECT_EQ(table.keywords()(0).Key(), "LONGERTHA");
  EXPECT_EQ(table.keywords()(0).Value(), std::string(31, 'v'));
  AUVXTableKeyWord unterminated;
  std::memset(static_cast<void*>(&unterminated), '7', sizeof unterminated);
  EXPECT_EQ(unterminated.Key(), std::string(10, '7'));
  EXPECT_EQ(unterminated.Value(), std::string(32, '7'));
  ASSERT_NE(table.FindKeyWord("LONGERTHA"), nullptr);
  EXPECT_EQ(table.FindKeyWord("LONG"), nullptr);
}

TEST(AUVXTableBytes, AreReversedByElement) {
  AUVXTable table = Load(EveryLetter().Image());
  const std::string before(table.data(), 66);
  table.Data_PC_UNIX();
  EXPECT_EQ(std::string(table.Row(0), 4), "\x01\x02\x03\x04");
  EXPECT_EQ(std::string(table.Row(1) + 4, 8), "LONGNAME");
  EXPECT_EQ(std::string(table.Row(0) + 12, 4), std::string("\x3F\xC0\0\0", 4));
  EXPECT_EQ(std::string(table.Row(0) + 20, 4), "\x0A\xBC\xFF\xFF");
  EXPECT_EQ(std::string(table.Row(0) + 24, 8), std::string("\x3F\xC0\0\0\0\0\0\0", 8));
  table.Data_PC_UNIX();
  EXPECT_EQ(std::string(table.data(), 66), before);
}

TEST(AUVXTableRows, AreDeletedByAscendingNumbers) {
  const auto after = [](std::initializer_list<int> list) {
    AUVXTable table = Numbered(5);
    AArray<int> rows = ArrayOf(list);
    table.DeleteRows(rows);
    return Numbers(table);
  };
  EXPECT_EQ(after({1, 3}), (std::vector{0, 2, 4}));
  EXPECT_EQ(after({0, 1, 2, 3, 4}), std::vector<int>());
  EXPECT_EQ(after({4}), (std::vector{0, 1, 2, 3}));
  EXPECT_EQ(after({}), (std::vector{0, 1, 2, 3, 4}));
  EXPECT_EQ(after({9, 10}), (std::vector{0, 1, 2, 3})) << "a list that begins after the end drops the last row";
  EXPECT_EQ(after({-3, 1}), (std::vector{0, 1, 2, 3, 4}));
  AUVXTable empty = Numbered(0);
  AArray<int> rows = ArrayOf({0});
  empty.DeleteRows(rows);
  EXPECT_EQ(empty.rows(), 0);
}

TEST(AUVXTableRows, OfAbsentSourcesAreDropped) {
  for (const char* format : {"1I", "1J", "1E", "2D"}) {
    AUVXTable table;
    table.AddColumn("BITS", "", "9X");
    table.AddColumn("SOURCE ID", "", format);
    table.SetRows(4);
    for (int row = 0; row < 4; ++row) table.SetNumber(row, 1, 0, 2 * row);
    AArray<short> present = ArrayOf<short>({2, 5, 6});
    table.CheckSources(&present);
    ASSERT_EQ(table.rows(), 2) << format;
    EXPECT_EQ(table.Number(0, 1), 2) << format;
    EXPECT_EQ(table.Number(1, 1), 6) << format;
  }
  AUVXTable names;
  names.AddColumn("SOURCE", "", "16A");
  names.SetRows(3);
  AArray<short> none;
  names.CheckSources(&none);
  EXPECT_EQ(names.rows(), 3);
}

TEST(AUVXTableFromFITS, TakesItsCodeFromTheName) {
  const std::pair<const char*, int> names[] = {
      {"SYSTEM_TEMPERATURE", 0x5954}, {"GAIN_CURVE", 0x4347}, {"AIPS AN", 0x4E41}, {"ANTENNA", 0x4E41}, {"Z", 0x5A}};
  for (const auto& [name, code] : names) {
    for (const auto& [kind, bit] : {std::pair{"BINTABLE", 0x200000}, std::pair{"A3DTABLE", 0x100000}}) {
      OpenFITS file(SyntheticFITS::UV(1, 1, 1).Table(SyntheticTable(name, kind).Columns({{"A", "1J"}})));
      ASSERT_EQ(file.fits.tables().count(), 1);
      EXPECT_EQ(AUVXTable(*file.fits.tables()(0)).ID(), code | bit) << name;
    }
  }
}

TEST(AUVXTableFromFITS, WithoutItsDataHasNoRows) {
  const std::string whole =
      SyntheticFITS::UV(1, 1, 1).Table(SyntheticTable("AIPS NX").Columns({{"A", "1D"}}).Row({1}).Row({2})).Bytes();
  OpenFITS cut(whole.substr(0, whole.size() - 2880 + 10));
  ASSERT_EQ(cut.fits.tables().count(), 1);
  const AUVXTable table(*cut.fits.tables()(0));
  EXPECT_EQ(table.rows(), 0);
  EXPECT_EQ(table.columnCount(), 1);
}

TEST(AUVXTableNames, OfFITSIDIBecomeThoseOfAIPS) {
  AUVXTable table;
  for (const char* name : {"FREQID", "BANDFREQ", "CH_WIDTH", "TOTAL_BANDWIDTH", "ID_NO.", "SYSVEL", "MY_SYSVEL"}) {
    table.AddColumn(name, "", "1J");
  }
  table.AddKeyWord("NO_BAND", "8", true);
  table.AddKeyWord("NO_CHAN", "16", true);
  EXPECT_EQ(table.CorrectIDI_FTS(), 1);
  const char* expected[] = {"FRQSEL", "IF FREQ", "CH WIDTH", "TOTAL BANDWIDTH", "ID.NO.", "LSRVEL", "MY_SYSVEL"};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(table.columns()(i).Name(), expected[i]);
  EXPECT_EQ(table.keywords()(0).Key(), "NO_IF");
  EXPECT_EQ(table.keywords()(0).Value(), "8");
  EXPECT_EQ(table.keywords()(1).Key(), "NO_CHAN");
}

TEST(AUVXTableDirectory, TellsCodesApartAndNothingElse) {
  AUVXTableHeader directory;
  directory.Add({0x204E41, 0, 0});
  directory.Add({0x15146, 0, 0});
  EXPECT_EQ(directory.HasTable("FQ"), 1);
  EXPECT_EQ(directory.HasTable(0x105146), 1);
  EXPECT_EQ(directory.HasTable("SU"), -1);
}

TEST(AUVXTableDirectory, OfADamagedFileIsBounded) {
  const SyntheticUVX whole = SyntheticUVX().Tables();
  const auto countAfter = [](const std::string& bytes) {
    OpenUVX file(bytes);
    return AUVXTableHeader(file.uvx).count();
  };
  const size_t offset = whole.DirectoryOffset();
  EXPECT_EQ(countAfter(whole.Bytes()), 4);
  EXPECT_EQ(countAfter(SyntheticUVX(whole).Put(offset, int16_t{-1}).Bytes()), 0);
  EXPECT_EQ(countAfter(SyntheticUVX(whole).Put(offset, int16_t{32767}).Bytes()), 128);
  for (int64 position : {int64{-1}, INT64_MAX, int64{1} << 40}) {
    const std::string bytes = SyntheticUVX(whole).Put(offset + 2 + 4, position).Bytes();
    OpenUVX damaged(bytes);
    EXPECT_EQ(damaged.Table("FQ"), nullptr) << position;
    AUVXTable replacement = Numbered(1);
    replacement.SetID(AUVXTable::toHash("FQ", 0));
    replacement.store(damaged.uvx);
    EXPECT_EQ(damaged.file.bytes, bytes) << position;
  }
}

/// A new UVX file in memory whose header states no records.
struct NewFile {
  NewFile() {
    AUVXHeader header;
    uvx.Attach(&file, 1, 0);
    uvx.Write(header);
  }
  MemoryFile file;
  AUVXFile uvx;
};

TEST(AUVXTableDirectory, ReplacesATableOfTheSameCodeInPlace) {
  NewFile made;
  AUVXTable first = Numbered(4), second = Numbered(5);
  first.SetID(AUVXTable::toHash("AA", 0));
  second.SetID(AUVXTable::toHash("BB", 0));
  first.store(made.uvx);
  second.store(made.uvx);
  AArray<int> rows = ArrayOf({0, 2});
  first.DeleteRows(rows);
  first.SetID(AUVXTable::toHash("AA", 1));
  first.store(made.uvx);

  const AUVXTableHeader directory(made.uvx);
  ASSERT_EQ(directory.count(), 2);
  EXPECT_EQ(int{directory(0).ID}, 0x14141);
  EXPECT_EQ(int{directory(0).size}, first.GetSize());
  EXPECT_EQ(int64{directory(0).position}, 481 + 2050);
  const std::unique_ptr<AUVXTable> changed(made.uvx.GetTable("AA"));
  const std::unique_ptr<AUVXTable> other(made.uvx.GetTable("BB"));
  EXPECT_EQ(Numbers(*changed), (std::vector{1, 3}));
  EXPECT_EQ(Numbers(*other), (std::vector{0, 1, 2, 3, 4}));
}

TEST(AUVXTableDirectory, RefusesTheTable129) {
  NewFile made;
  AUVXTable table = Numbered(1);
  for (int i = 0; i < 128; ++i) made.uvx.AddTable(table);
  EXPECT_EQ(AUVXTableHeader(made.uvx).count(), 128);
  const std::string before = made.file.bytes;
  made.uvx.AddTable(table);
  EXPECT_EQ(made.file.bytes, before);
}

}  // namespace
}  // namespace zeltra::test

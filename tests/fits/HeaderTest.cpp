// SPDX-License-Identifier: MIT
#include "tests/support/OpenFITS.h"
#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

struct ReadFITS : OpenFITS {
  using OpenFITS::OpenFITS;
  AFITSmain& main() { return *fits.main(); }
};

// 4 polarisations, 2 IFs, 1 channel: groups of 4 x (6 + 24) bytes.
SyntheticFITS Plain(int groups = 100) {
  SyntheticFITS fits = SyntheticFITS::UV(4, 2, 1);
  fits.Groups(
      groups, [](int group, int parameter) { return group * 10 + parameter; },
      [](int group, int element) { return group + element / 64.0; });
  return fits;
}

SyntheticTable FrequencyTable(const std::string& name = "AIPS FQ") {
  return SyntheticTable(name).Columns({{"FRQSEL", "1J"}, {"IF FREQ", "2D", "HZ"}}).Row({1, {0, 8e6}});
}

TEST(FITSHeader, LocatesDataAndNextHeader) {
  ReadFITS file(Plain());
  ASSERT_TRUE(file.result);
  AFITSmain& header = file.main();
  EXPECT_EQ(header.groupBytes(), 120);
  EXPECT_EQ(header.valueBytes(), -4);
  EXPECT_EQ(header.headerStart(), 0);
  EXPECT_EQ(header.headerEnd() % 80, 0);
  EXPECT_EQ(header.dataStart(), (header.headerEnd() + 2879) / 2880 * 2880);
  EXPECT_EQ(header.nextHeader(), header.dataStart() + 14400);
  EXPECT_EQ(header.nextHeader(), file.fits.file()->GetFileSize());
  EXPECT_FALSE(header.SeekToNext()) << "the file ends with the data";
  EXPECT_TRUE(file.fits.EndsCleanly());
}

TEST(FITSHeader, KeepsWhatItHoldsWhereAHandlerIsCalledWithoutACard) {
  ReadFITS file(Plain().Table(FrequencyTable()));
  AFITSmain& header = file.main();
  AFITSxtbl& table = *file.fits.tables()(0);
  for (const char* key :
       {"BITPIX", "NAXIS", "PCOUNT", "GCOUNT", "PZERO", "CTYPE", "CRVAL", "TFIELDS", "EXTNAME", "XTENSION"}) {
    EXPECT_EQ(header.Dispatch(ParseFITSstr::Hash(key)) + table.Dispatch(ParseFITSstr::Hash(key)), 2);
  }
  EXPECT_EQ(file.fits.GetRecords(), 100);
  EXPECT_EQ(header.Parameters(), 6);
  EXPECT_EQ(file.fits.Stokes() + 10 * file.fits.IFs(), 24);
  EXPECT_EQ(header.valueBytes(), -4);
  EXPECT_EQ(table.extname() + std::to_string(table.tfields()) + table.ttype(0), "AIPS FQ2FRQSEL");
  EXPECT_EQ(table.tableKind(), 0x200000);
}

TEST(FITSHeader, GivesAbsentCardsTheirDefaults) {
  SyntheticFITS made = Plain();
  for (const char* keyword : {"EPOCH", "PSCAL2", "PZERO5", "CTYPE5", "GCOUNT"}) made.ReplaceCard(keyword, "");
  ReadFITS file(made);
  ASSERT_TRUE(file.result);
  AFITSmain& header = file.main();
  EXPECT_EQ(header.epoch(), 0);
  EXPECT_EQ(header.bscale(), 1);
  EXPECT_EQ(header.bzero(), 0);
  EXPECT_EQ(header.pscal(1), 1);
  EXPECT_EQ(header.pzero(4), 0);
  EXPECT_EQ(header.ctype(5), "");
  EXPECT_EQ(header.nextHeader(), header.dataStart()) << "without GCOUNT there is no data";
}

TEST(FITSHeader, IgnoresIndicesBeyondTheArrays) {
  SyntheticFITS fits = Plain();
  for (const char* keyword : {"NAXIS", "CTYPE", "CRVAL", "CDELT", "CRPIX", "CROTA", "PTYPE", "PSCAL", "PZERO"}) {
    for (const char* index : {"0", "8", "999"}) fits.Card(std::string(keyword) + index, 5);
    fits.RawCard(std::string(keyword) + "   = 3");
  }
  EXPECT_TRUE(ReadFITS(fits.Bytes()).result);
  // Cards that come before the count that sizes their array.
  fits.ReplaceCard("SIMPLE", "PTYPE1  = 'UU'").ReplaceCard("BITPIX", "CRVAL1  = 5");
  ReadFITS early(fits);
  ASSERT_TRUE(early.result);
  EXPECT_EQ(early.main().ptype(0), "UU--");
}

TEST(FITSHeader, ZeroFirstAxisIsSkippedAndALaterOneEmptiesTheGroup) {
  SyntheticFITS made = Plain();
  for (const char* keyword : {"NAXIS2", "NAXIS3", "NAXIS4"}) {
    made.ReplaceCard(keyword, SyntheticCard(keyword, 2147483647));
  }
  ReadFITS empty(made.ReplaceCard("NAXIS5", SyntheticCard("NAXIS5", 0)));
  ASSERT_TRUE(empty.result);
  EXPECT_EQ(empty.main().groupBytes(), 24);
  ReadFITS first(Plain().ReplaceCard("NAXIS1", SyntheticCard("NAXIS1", 2)));
  ASSERT_TRUE(first.result);
  EXPECT_EQ(first.main().groupBytes(), 216);
}

TEST(FITSHeader, RefusesWhatCannotBeAddressed) {
  const struct {
    const char* keyword;
    double value;
  } cases[] = {{"NAXIS", -1},          {"NAXIS", 1000},         {"NAXIS3", -4}, {"NAXIS3", 2147483647},
               {"PCOUNT", -1},         {"PCOUNT", 2147483647},  {"GCOUNT", -1}, {"NAXIS", 99999999999.},
               {"BITPIX", 2147483647}, {"BITPIX", -2147483648.}};
  for (const auto& c : cases) {
    std::string value = SyntheticCard(c.keyword, c.value);
    EXPECT_FALSE(ReadFITS(Plain(1).ReplaceCard(c.keyword, value)).result) << value;
  }
  // Many groups are no reason to refuse a file, since offsets have 64 bits.
  ReadFITS large(Plain(1).ReplaceCard("GCOUNT", SyntheticCard("GCOUNT", 2147483647)));
  ASSERT_TRUE(large.result);
  EXPECT_EQ(large.main().nextHeader(), large.main().dataStart() + (2147483647LL * 120 + 2879) / 2880 * 2880);
  EXPECT_EQ(large.fits.tables().count(), 0);
}

TEST(FITSHeader, RefusesEveryTruncation) {
  const std::string whole = Plain(1).Table(FrequencyTable()).Bytes();
  ReadFITS file(whole);
  ASSERT_TRUE(file.result);
  ASSERT_EQ(file.fits.tables().count(), 1);
  const auto primaryEnd = static_cast<size_t>(file.main().headerEnd());
  const auto tableEnd = static_cast<size_t>(file.fits.tables()(0)->headerEnd());
  for (size_t size = 0; size < whole.size(); size += 40) {
    ReadFITS cut(whole.substr(0, size));
    EXPECT_EQ(cut.result != 0, size >= primaryEnd) << size;
    EXPECT_EQ(cut.fits.tables().count(), size >= tableEnd ? 1 : 0) << size;
  }
}

TEST(FITSHeader, KeepsWithinTheFileWhateverTheBytes) {
  const std::string whole = Plain(1).Table(FrequencyTable()).Bytes();
  TempFile temp("fits");
  for (size_t offset = 0; offset < whole.size(); offset += 11) {
    std::string bytes = whole;
    bytes[offset] = "9-E\xFF"[offset % 4];
    temp.Put(bytes);
    AFITS fits;
    ASSERT_TRUE(fits.Open(temp.path()));
    int64 last = fits.ReadHeaders() ? fits.main()->dataStart() : 0;
    for (int i = 0; i < fits.tables().count(); ++i) {
      AFITSxtbl& table = *fits.tables()(i);
      EXPECT_GE(table.headerStart(), last) << offset;
      last = table.dataStart();
      table.AllocData();
      EXPECT_TRUE(!table.data() || last + table.DataBytes() <= static_cast<int64>(whole.size())) << offset;
      EXPECT_EQ(table.asString(0, 1), "") << offset;
      for (int column = 1; column < 5; ++column) EXPECT_LE(table.asString(1, column).size(), 129u) << offset;
    }
  }
}

TEST(FITSHeader, ReadsThousandsOfCardsAndStopsAfterEND) {
  SyntheticFITS fits = Plain(1);
  for (int i = 0; i < 5025; ++i) fits.RawCard("HISTORY AIPS   line \xE9\n" + std::to_string(i));
  TempFile temp("fits");
  temp.Put(fits.Bytes());
  AFile file;
  ASSERT_TRUE(file.Open(temp.c_str(), AFile::Binary));
  AFITSmain header(&file);
  ASSERT_TRUE(header.ReadHeader());
  EXPECT_EQ(file.Tell(), header.headerEnd());
  const std::string bytes = fits.Bytes();
  EXPECT_EQ(bytes.substr(static_cast<size_t>(header.headerEnd()) - 80, 4), "END ");
  std::string cards;
  for (int i = 0; i < header.CardCount(); ++i) cards += header.CardText(i);
  EXPECT_EQ(cards, bytes.substr(0, static_cast<size_t>(header.headerEnd())));
  ParseFITSstr card;
  ASSERT_TRUE(header.FindCard("NAXIS2", card));
  EXPECT_EQ(card.strPar(), "3");
  EXPECT_FALSE(header.FindCard("NAXIS9", card));
  EXPECT_FALSE(header.FindCard("NAXIS2  =", card));
}

/// Blocks of blank cards; after the first `whole` bytes only a single one can be read.
class BlankCards : public AFile {
 public:
  explicit BlankCards(int64 whole, int64 blocks = 100, const char* last = "")
      : whole_(whole), blocks_(blocks), last_(last) {}
  int Read(void* buf, int n) override {
    const bool isWhole = position_ + n <= whole_;
    if (position_ > whole_) return 0;
    if (isWhole) std::memset(buf, ' ', static_cast<size_t>(n));
    position_ += isWhole ? n : 1;
    if (position_ == GetFileSize()) std::memcpy(static_cast<char*>(buf) + n - 80, last_.data(), last_.size());
    return 1;
  }
  int Seek(const int64& position) override { return position_ = position, 1; }
  int64 Tell() override { return position_; }
  int64 GetFileSize() override { return blocks_ * 2880; }

 private:
  const int64 whole_, blocks_;
  const std::string last_;
  int64 position_ = 0;
};

TEST(FITSHeader, IsRefusedWhereItHasNoEndOrCannotBeRead) {
  BlankCards endless(int64{1} << 40), damaged(5760);
  for (BlankCards* file : {&endless, &damaged}) {
    AFITSmain header(file);
    EXPECT_FALSE(header.ReadHeader());
    EXPECT_EQ(header.CardCount(), 0);
  }
  EXPECT_EQ(damaged.Tell(), 5761);
  BlankCards file(int64{1} << 40, 25000, "END");
  AFITSmain header(&file);
  EXPECT_TRUE(header.ReadHeader());
  EXPECT_EQ(header.headerEnd(), file.GetFileSize());
  EXPECT_EQ(header.CardCount(), 0) << "no cards of a long one are kept";
}

TEST(FITSWalk, FindsExtensionsInFileOrder) {
  ReadFITS file(Plain()
                    .Table(FrequencyTable("AIPS NX"))
                    .Table(FrequencyTable().Heap(std::string(5000, 'h')))
                    .Table(SyntheticTable("AIPS AN", "A3DTABLE").Columns({{"ANNAME", "8A"}}))
                    .Append(std::string(100, 'j')));
  ASSERT_TRUE(file.result);
  ASSERT_EQ(file.fits.tables().count(), 3) << "the junk at the end is no header";
  EXPECT_FALSE(file.fits.EndsCleanly());
  EXPECT_EQ(file.fits.HasExtTable("FQ"), file.fits.tables()(1));
  EXPECT_EQ(file.fits.HasExtTable("AIPS"), file.fits.tables()(0));
  EXPECT_EQ(file.fits.HasExtTable("FQX"), nullptr);
  EXPECT_EQ(file.fits.tables()(1)->pcount(), 5000);
  EXPECT_EQ(file.fits.tables()(1)->Parameters(), 0) << "bytes of a heap";
  EXPECT_EQ(file.fits.tables()(2)->extname(), "AIPS AN");
  EXPECT_EQ(file.fits.tables()(2)->nextHeader(), file.fits.file()->GetFileSize() - 100);
}

TEST(FITSWalk, TakesTablesOfZeroWidthForEmpty) {
  for (const char* card : {"NAXIS1  = 0", "NAXIS   = 0"}) {
    SyntheticFITS made = Plain().Table(FrequencyTable().Heap(std::string(1, 'h'))).Table(FrequencyTable("AIPS SU"));
    made.ReplaceCard("NAXIS2", "NAXIS2  = 2880", 1);
    made.ReplaceCard(std::string(card).substr(0, std::string(card).find(' ')), card, 1);
    ReadFITS file(made);
    ASSERT_EQ(file.fits.tables().count(), 2) << card;
    EXPECT_EQ(file.fits.tables()(0)->groupBytes(), 1) << "PCOUNT";
    EXPECT_EQ(file.fits.tables()(1)->extname(), "AIPS SU");
  }
}

TEST(FITSWalk, EndsAtAnExtensionThatCannotBeRead) {
  const SyntheticFITS whole = Plain().Table(FrequencyTable()).Table(FrequencyTable("AIPS SU")).Table(FrequencyTable());
  for (const char* card :
       {"TFIELDS = 1000", "TFIELDS = 200", "TFIELDS = -1", "GCOUNT  = -5", "NAXIS2  = -1", "PCOUNT  = -2880"}) {
    SyntheticFITS damaged = whole;
    const std::string keyword = std::string(card).substr(0, std::string(card).find(' '));
    // The primary header has all of these cards but TFIELDS, so the second table's is the third of its kind.
    damaged.ReplaceCard(keyword, card, keyword == "TFIELDS" ? 1 : 2);
    ReadFITS file(damaged);
    EXPECT_TRUE(file.result) << card;
    EXPECT_EQ(file.fits.tables().count(), 1) << card;
    EXPECT_FALSE(file.fits.EndsCleanly()) << card;
  }
  EXPECT_TRUE(ReadFITS(whole).fits.EndsCleanly());
  EXPECT_FALSE(ReadFITS(SyntheticFITS(whole).Append(whole.Bytes())).fits.EndsCleanly()) << "two files";
}

TEST(FITSOpen, FailsCleanly) {
  AFITS fits;
  EXPECT_FALSE(fits.ReadHeaders());
  EXPECT_FALSE(fits.SeekToGroup(0));
  EXPECT_EQ(fits.GetRecords() + fits.Stokes() + fits.IFs() + fits.Channels(), 0);
  EXPECT_EQ(fits.ReadAndTransform(), 1e38);
  EXPECT_FALSE(fits.Open("/no/such/folder/file.fits"));
  EXPECT_FALSE(fits.ReadHeaders());
  TempFile temp("fits");
  temp.Put(Plain().Table(FrequencyTable()).Bytes());
  for (int time = 0; time < 2; ++time) ASSERT_TRUE(fits.Open(temp.path()) && fits.ReadHeaders());
  EXPECT_EQ(fits.tables().count(), 1) << "an object can be opened again";
}

TEST(FITSValues, AreReadUnscaledAtTheirGroup) {
  for (const int bitpix : {16, 32, -32}) {
    SyntheticFITS made = Plain(3).Bitpix(bitpix);
    if (bitpix > 0) made.Scale(1.0 / 64, -2);
    ReadFITS file(made.ReplaceCard("PZERO5", ""));
    ASSERT_TRUE(file.result);
    ASSERT_TRUE(file.fits.SeekToGroup(2));
    EXPECT_EQ(file.fits.ReadAndTransform(), 20) << bitpix;
    EXPECT_EQ(file.fits.ReadAndTransform(), 21) << bitpix;
    ASSERT_TRUE(file.fits.SeekToVis(2));
    EXPECT_EQ(file.fits.ReadAndTransform(), bitpix > 0 ? 256 : 2) << bitpix;
    EXPECT_EQ(file.fits.ReadAndTransform(), bitpix > 0 ? 257 : 2 + 1 / 64.0) << bitpix;
    EXPECT_FALSE(file.fits.SeekToGroup(-1));
    file.fits.file()->Seek(file.fits.file()->GetFileSize());
    EXPECT_EQ(file.fits.ReadAndTransform(), 1e38);
  }
}

TEST(FITSValues, OfUnsupportedSizesAreSteppedOver) {
  for (const auto& [bitpix, step] : {std::pair{-64, 8}, {8, 1}, {0, 0}, {4096, 0}}) {
    ReadFITS file(Plain(1).ReplaceCard("BITPIX", SyntheticCard("BITPIX", bitpix)));
    ASSERT_TRUE(file.fits.SeekToGroup(0));
    const int64 start = file.fits.file()->Tell();
    EXPECT_EQ(file.fits.ReadAndTransform(), 1e38) << bitpix;
    EXPECT_EQ(file.fits.file()->Tell(), start + step) << bitpix;
  }
}

}  // namespace
}  // namespace zeltra::test

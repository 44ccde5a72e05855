// SPDX-License-Identifier: MIT
#include <cstdio>

#include "tests/support/OpenUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/platform/MessageBox.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra::test {
namespace {

AUVXHeader HeaderOf(int count, int IFs, int channels, int stokes) {
  AUVXHeader header;
  header.info.count = count;
  header.IFs = IFs;
  header.channels = channels;
  header.stokes.SetCount(stokes);
  return header;
}

TEST(UVXFileWriting, CommitsByteForByteWhatTheFormatSays) {
  const SyntheticUVX expected = SyntheticUVX().IFs(2).Channels(3).Stokes({-5, -6}).Sources(2);
  TempFile file("uvx");
  {
    AUVXFile uvx;
    ASSERT_TRUE(uvx.Open(file.c_str(), 1));
    AUVXHeader header = HeaderOf(0, 2, 3, 2);
    header.info.epoch = 2000;
    header.info.dateObs = SyntheticUVX::kDateObs;
    header.freq0 = 1.4e9;
    std::strcpy(header.info.bunit, "JY");
    std::strcpy(header.info.observer, "OBSERVER");
    std::strcpy(header.info.telescope, "ARRAY");
    header.stokes(0) = -5;
    header.stokes(1) = -6;
    header.range.init();
    ASSERT_TRUE(uvx.Write(header));
    for (const auto& record : expected.Records()) {
      AUVXGroup group;
      group.frqsel = 1, group.source = static_cast<int16_t>(record.source);
      group.uu = record.u, group.vv = record.v, group.ww = record.w;
      group.date = record.date;
      group.ant1 = static_cast<int8_t>(record.ant1), group.ant2 = static_cast<int8_t>(record.ant2);
      ASSERT_TRUE(uvx.SeekUVGroup(record.index) && group.store(uvx));
      group.check(header.range);
      for (const auto& value : record.values) {
        AUVXComplex one(value.re, value.im, value.weight);
        ASSERT_TRUE(uvx.Write(&one, sizeof one));
        CheckRange(&one, 1, header.range);
      }
      ++header.info.count;
    }
    ASSERT_TRUE(uvx.Write(header));
  }
  EXPECT_TRUE(file.Bytes() == expected.Bytes());
}

TEST(UVXFileWriting, AnUnfinishedFileDoesNotOpen) {
  TempFile file("uvx");
  AUVXFile writer;
  ASSERT_TRUE(writer.OpenBuff(file.c_str(), 1, 4096));
  AUVXHeader header = HeaderOf(0, 1, 1, 1);
  ASSERT_TRUE(writer.Write(header));
  AUVXFile copy;
  copy = writer;
  AUVXFile reader;
  EXPECT_FALSE(reader.Open(file.c_str(), 0));
  writer.Close();
  writer.Close();
  EXPECT_TRUE(reader.Open(file.c_str(), 0));
  EXPECT_EQ(reader.recSize(), 38);
  EXPECT_FALSE(copy.SeekUVGroup(0)) << "the shared file has been closed";
}

TEST(UVXFileWriting, MovedFilesStayOpenAndDetachedOnesUncommitted) {
  const TempFile temps[2];
  std::vector<AUVXFile> files;
  for (const TempFile& temp : temps) {
    AUVXFile file;
    ASSERT_TRUE(file.Open(temp.c_str(), 1));
    files.push_back(std::move(file));
    EXPECT_EQ(file.GetFile(), nullptr);
  }
  const AUVXHeader header = HeaderOf(0, 1, 1, 1);
  for (AUVXFile& file : files) EXPECT_TRUE(file.Write(header));
  EXPECT_FALSE(AUVXFile().Open(temps[0].c_str(), 0)) << "nothing has committed it";
  std::shared_ptr<ABFile> object = files[1].Detach();
  EXPECT_EQ(files[1].recSize(), 0);
  files.clear();
  EXPECT_EQ(object->GetFileSize(), 481) << "still open";
  object.reset();
  EXPECT_TRUE(AUVXFile().Open(temps[0].c_str(), 0));
  EXPECT_FALSE(AUVXFile().Open(temps[1].c_str(), 0));
}

TEST(UVXFileWriting, AHostsFileIsClosedAndMayBeAttachedAgain) {
  MemoryFile file;
  {
    AUVXFile uvx;
    ASSERT_TRUE(uvx.Attach(&file, 1, 0));
    AUVXHeader header = HeaderOf(0, 1, 1, 1);
    ASSERT_TRUE(uvx.Write(header));
    uvx.Close();
    EXPECT_FALSE(file.open);
    file.open = true;
    ASSERT_TRUE(file.Seek(0));
    EXPECT_TRUE(uvx.Attach(&file, 0, 0));
    EXPECT_EQ(uvx.recSize(), 38);
  }
  EXPECT_FALSE(file.open);
  auto* owned = new MemoryFile(file.bytes);
  AUVXFile uvx;
  EXPECT_TRUE(uvx.Attach(owned, 0, 1));
  ASSERT_TRUE(owned->Seek(0));
  EXPECT_TRUE(uvx.Attach(owned, 0, 0)) << "it stays the object's own";
}

TEST(UVXFileWriting, GeometryFollowsTheHeader) {
  MemoryFile file;
  AUVXFile uvx;
  ASSERT_TRUE(uvx.Attach(&file, 1, 0));
  AUVXHeader header = HeaderOf(7, 0, 16, 4);
  ASSERT_TRUE(uvx.Write(header));
  EXPECT_EQ(uvx.recSize(), 794);
  header = HeaderOf(7, 2, 16, 4);
  ASSERT_TRUE(uvx.Write(header));
  EXPECT_EQ(uvx.recSize(), 1562);

  const int64 third = 481 + 3 * 1562, value = third + 26 + 12 * (4 * 21 + 2);
  EXPECT_TRUE(uvx.SeekUVGroup(3) && uvx.GetPos() == third);
  EXPECT_TRUE(uvx.SeekUVVis(3) && uvx.GetPos() == third + 26);
  EXPECT_TRUE(uvx.SeekUVXComplex(3, 1, 5, 2) && uvx.GetPos() == value);
  EXPECT_TRUE(uvx.SeekUVXComplex(3, 21, 2) && uvx.GetPos() == value);
  EXPECT_TRUE(uvx.SeekUVGroup(2000000000) && uvx.GetPos() == 481 + 2000000000LL * 1562);
  EXPECT_FALSE(uvx.SeekUVGroup(-1));

  const int16_t nine = 9;
  header = HeaderOf(8, 1, 1, 8);
  std::memcpy(static_cast<void*>(&header.stokes), &nine, sizeof nine);
  EXPECT_FALSE(uvx.Write(header)) << "nine polarisations";
  file.largest = 200;
  header = HeaderOf(8, 1, 1, 1);
  EXPECT_FALSE(uvx.Write(header)) << "a header cut short by a full disk";
  EXPECT_EQ(uvx.recSize(), 1562);
  EXPECT_EQ(uvx.count(), 7);
}

/// Adds the standard tables one by one to a file with the same records.
std::string WithTablesAdded(const SyntheticUVX& records, MemoryFile&& file) {
  const std::string whole = SyntheticUVX(records).Tables().Bytes();
  OpenUVX from(whole);
  AUVXFile to;
  EXPECT_TRUE(to.Attach(&file, 0, 0));
  for (const char* code : {"FQ", "AN", "SU", "NX"}) to.AddTable(*from.Table(code));
  to.Close();
  return file.bytes;
}

TEST(UVXFileTables, FollowTheRecordsInTheOrderAdded) {
  const SyntheticUVX records = SyntheticUVX().Antennas(5).Times(1);
  EXPECT_TRUE(WithTablesAdded(records, MemoryFile(records.Bytes())) == SyntheticUVX(records).Tables().Bytes());
}

std::string lastMessage;

TEST(UVXFileTables, AFailedSeekIsShown) {
  struct NoSeekBehindTheDirectory : MemoryFile {
    using MemoryFile::MemoryFile;
    int Seek(const int64& pos) override {
      return pos > static_cast<int64>(SyntheticUVX().DirectoryOffset()) ? 0 : MemoryFile::Seek(pos);
    }
  };
  SetMessageSink([](const char* text) { lastMessage = text; });
  WithTablesAdded(SyntheticUVX(), NoSeekBehindTheDirectory(SyntheticUVX().Bytes()));
  SetMessageSink(nullptr);
  EXPECT_EQ(lastMessage, " not good");
}

TEST(UVXFileOpening, FindsAndStoresPolarisations) {
  TempFile path("uvx");
  path.Put(SyntheticUVX().IFs(0).Channels(16).Stokes({1, 2, 3, 2}).Tables().Bytes());
  AUVXFile uvx;
  ASSERT_TRUE(uvx.OpenBuff(path.c_str(), 0, 1 << 16));
  EXPECT_EQ(uvx.TableDirectoryOffset(), 481 + 6 * 794);
  AUVXStokes stokes(uvx);
  int index = -7;
  EXPECT_TRUE(stokes.FindStokes(2, index));
  EXPECT_EQ(index, 1) << "the first of two";
  EXPECT_FALSE(stokes.FindStokes(0, index)) << "codes after the count do not count";
  EXPECT_EQ(index, 1);
  stokes(1) = -8;
  ASSERT_TRUE(stokes.Store(uvx));
  EXPECT_EQ(AUVXHeader(uvx).stokes(1), -8);
}

TEST(UVXFileOpening, RefusesAHeaderCutShort) {
  const std::string whole = SyntheticUVX().Bytes();
  ASSERT_TRUE(OpenUVX(whole).result);
  for (size_t size = 0; size < 481; ++size) EXPECT_FALSE(OpenUVX(whole.substr(0, size)).result) << size << " bytes";
  TempFile missing("uvx");
  AUVXFile uvx;
  EXPECT_FALSE(uvx.Open(missing.c_str(), 0));
  EXPECT_EQ(uvx.GetPos(), -1);
  EXPECT_FALSE(AUVXFile().Attach(nullptr, 0, 1));
}

TEST(UVXFileOpening, RefusesRecordsThatCannotBeAddressed) {
  const auto opens = [](const SyntheticUVX& file) { return OpenUVX(file.Bytes()).result; };
  const int32_t huge = std::numeric_limits<int32_t>::max();
  EXPECT_FALSE(opens(SyntheticUVX().Uncommitted()));
  EXPECT_FALSE(opens(SyntheticUVX().Put(4, int32_t{-1}))) << "data offset";
  EXPECT_FALSE(opens(SyntheticUVX().Put(4, huge))) << "data offset past the end";
  EXPECT_FALSE(opens(SyntheticUVX().Put(8, int64_t{-1}))) << "directory offset";
  EXPECT_FALSE(opens(SyntheticUVX().Put(8, int64_t{1} << 62))) << "directory offset past the end";
  EXPECT_FALSE(opens(SyntheticUVX().Put(8, int64_t{482}))) << "directory cut short";
  EXPECT_FALSE(opens(SyntheticUVX().Put(16, int32_t{-1}))) << "count";
  EXPECT_FALSE(opens(SyntheticUVX().Put(192, int16_t{-1}))) << "polarisations";
  EXPECT_FALSE(opens(SyntheticUVX().Put(192, int16_t{9}))) << "polarisations";
  EXPECT_FALSE(opens(SyntheticUVX().Put(210, int32_t{-1}))) << "IFs";
  EXPECT_FALSE(opens(SyntheticUVX().Put(210, int32_t{65537}))) << "IFs that would look like one";
  EXPECT_FALSE(opens(SyntheticUVX().Put(214, int32_t{-1}))) << "channels";
  EXPECT_FALSE(opens(SyntheticUVX().Put(214, huge))) << "record of 48 GiB";
  EXPECT_FALSE(opens(SyntheticUVX().Put(192, int16_t{0}).Put(210, int32_t{2}).Put(214, huge))) << "frequency points";
}

TEST(UVXFileOpening, TellsHowManyRecordsThereAre) {
  const auto held = [](const SyntheticUVX& synthetic) { return OpenUVX(synthetic).uvx.HeldRecords(); };
  const size_t record = static_cast<size_t>(SyntheticUVX().RecordBytes());
  EXPECT_EQ(held(SyntheticUVX()), 6);
  EXPECT_EQ(held(SyntheticUVX().Put(16, std::numeric_limits<int32_t>::max())), 6);
  EXPECT_EQ(held(SyntheticUVX().Tables().Put(16, int32_t{1000})), 6) << "tables are no records";
  EXPECT_EQ(held(SyntheticUVX().Cut(481 + 4 * record - 1)), 3);
  EXPECT_EQ(held(SyntheticUVX().Put(16, int32_t{2})), 2);
  EXPECT_EQ(AUVXFile().HeldRecords(), 0);
}

TEST(UVXHeader, StartsWithEmptyRangesOnlyWhenInitialised) {
  AUVXHeader header;
  const std::string zeros(sizeof header, '\0');
  EXPECT_EQ(std::memcmp(&header, zeros.data(), sizeof header), 0);
  SetFieldText(header.info.bunit, sizeof header.info.bunit, "UNCALIB. ");
  EXPECT_EQ(header.info.Bunit() + header.info.Observer(), "UNCALIB.");
  AUVXMinMax range;
  EXPECT_EQ(double{range.time().minimum}, 1e38);
  EXPECT_EQ(double{range.time().maximum}, -1e38);

  range.u().check(5);
  EXPECT_EQ(double{range.u().minimum}, 5);
  EXPECT_EQ(double{range.u().maximum}, 5);
  range.u().check(std::nan(""));
  EXPECT_TRUE(std::isnan(double{range.u().minimum}));
  EXPECT_EQ(double{range.u().maximum}, 5);
  range.u().check(7);
  EXPECT_EQ(double{range.u().minimum}, 7) << "nothing is below a NaN";
}

TEST(UVXHeader, APolarisationCountOutOfBoundsIsCut) {
  std::string bytes;
  Append(bytes, int16_t{300});
  MemoryFile file(bytes + std::string(16, '\1'));
  EXPECT_EQ(AUVXStokes(file).count(), 8);
  AUVXStokes stokes(file);
  EXPECT_EQ(stokes.count(), 0) << "nothing is left to read";
  stokes.SetCount(300);
  EXPECT_EQ(stokes.count(), 8);
  stokes.SetCount(-1);
  EXPECT_EQ(stokes.count(), 0);
  std::string damaged = SyntheticUVX().Bytes();
  damaged.replace(192, 2, "\x30\x75");
  MemoryFile refused(damaged);
  AUVXFile uvx;
  EXPECT_FALSE(uvx.Attach(&refused, 0, 0));
  EXPECT_EQ(AUVXHeader(uvx).stokes.count(), 8);
}

TEST(JulianDate, ReadsTheDatesOfFITSHeaders) {
  EXPECT_EQ(JulianDateOf("2000-01-01"), 2451544.5);
  EXPECT_EQ(JulianDateOf("2010-07-30T23:59:60.5"), 2455407.5);
  EXPECT_EQ(JulianDateOf("17/11/58"), 2436524.5);
  EXPECT_EQ(JulianDateOf("17-11-58"), 2436524.5);
  EXPECT_EQ(JulianDateOf(" 1996/02/29 "), 2450142.5);
  for (const char* text : {"", "2017", "2017-13-01", "1997-02-29", "31/04/99", "2017-1", "20170101", "1.5-2-99",
                           "99-01-2017", "-2017-01-01", "99999999999-01-01"}) {
    EXPECT_EQ(JulianDateOf(text), 0) << text;
  }
}

TEST(JulianDate, TurnsBackIntoADate) {
  for (const char* text : {"0001-01-01", "1858-11-17", "1999-12-31", "2000-02-29", "9999-12-31"}) {
    for (double fraction : {0.0, 0.999}) {
      const ACalendarDate date = CalendarDate(JulianDateOf(text) + fraction);
      char back[32];
      std::snprintf(back, sizeof back, "%04d-%02d-%02d", date.year, date.month, date.day);
      EXPECT_STREQ(back, text);
    }
  }
  for (double jd : {0.0, -1e300, 1e300, std::nan("")}) EXPECT_EQ(CalendarDate(jd).year, 0) << jd;
}

}  // namespace
}  // namespace zeltra::test

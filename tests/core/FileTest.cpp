// SPDX-License-Identifier: MIT
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/AInputFile.h"
#include "zeltra/core/AStreamFile.h"

namespace zeltra::test {
namespace {

constexpr int kUpdate = AFile::WriteOnly | AFile::Binary;
constexpr int kCreate = AFile::WriteOnly | AFile::Create | AFile::Binary;

// Notes how many bytes the chunked loops ask for, and moves none.
class CountingFile : public AFile {
 public:
  int Read(void*, int n) override {
    asked.push_back(n);
    return static_cast<int>(asked.size()) != failAt;
  }
  std::vector<int> asked;
  int failAt = 0;
};

// Says that it is at a fixed position.
class DisplacedFile : public AFile {
 public:
  int64 Tell() override { return 3; }
};

TEST(FileOpen, WriteOnlyReadsBackAndCreateEmpties) {
  TempFile temp;
  temp.Put("abcdef");
  AFile file;
  ASSERT_TRUE(file.Open(temp.c_str(), kUpdate));
  char c = 'X';
  EXPECT_TRUE(file.Write(&c, 1));
  EXPECT_TRUE(file.Read(&c, 1));
  EXPECT_EQ(c, 'b');
  EXPECT_TRUE(file.Close());
  EXPECT_FALSE(file.Close());

  ASSERT_TRUE(file.Open(temp.c_str(), kCreate));
  EXPECT_EQ(file.GetFileSize(), 0);
  EXPECT_FALSE(file.Read(&c, 1)) << "nothing to read is a failure";
  AFile missing;
  EXPECT_FALSE(missing.Open("/no/such/folder/file", kUpdate));
  EXPECT_EQ(missing.GetFileSize(), -1);
  EXPECT_EQ(missing.Tell(), -1);
  EXPECT_FALSE(missing.Seek(0) || missing.Read(&c, 1) || missing.Write(&c, 1) || missing.Trunc());
}

TEST(FileTransfer, LargeTransfersGoInChunksAndStopAtTheFirstFailure) {
  CountingFile file;
  char byte = 0;
  EXPECT_EQ(file.ReadL(&byte, 0), 1);
  EXPECT_EQ(file.ReadL(&byte, -5), 1);
  EXPECT_TRUE(file.asked.empty());
  EXPECT_EQ(file.ReadL(&byte, int64{2} * 0x7FFFFFFF + 7), 1);
  EXPECT_EQ(file.asked, (std::vector<int>{0x7FFFFFFF, 0x7FFFFFFF, 7}));
  file.asked.clear();
  file.failAt = 2;
  EXPECT_EQ(file.ReadL(&byte, int64{3} * 0x7FFFFFFF), 0);
  EXPECT_EQ(file.asked.size(), 2u);
}

TEST(FileTransfer, ShortReadsCountAsSuccess) {
  TempFile temp;
  temp.Put("abc");
  AFile file;
  AStreamFile stream;
  ASSERT_TRUE(file.Open(temp.c_str(), AFile::Binary) && stream.Open(temp.c_str(), "rb", 16));
  for (ABFile* f : {static_cast<ABFile*>(&file), static_cast<ABFile*>(&stream)}) {
    char buf[8] = {};
    EXPECT_TRUE(f->ReadL(buf, 8));
    EXPECT_STREQ(buf, "abc");
    EXPECT_FALSE(f->Read(buf, 8));
    EXPECT_EQ(f->Tell(), 3);
    EXPECT_TRUE(f->Seek(1));
    EXPECT_FALSE(HasBytes(*f, 3));
    EXPECT_TRUE(HasBytes(*f, 2));
    EXPECT_FALSE(f->Seek(-1));
  }
}

TEST(FileTransfer, ReachesBeyondFourGigabytes) {
  // Nothing but the last byte is written, so the file takes only one block of the disk.
  const TempFile temp;
  const int64 far = (int64{1} << 32) + 4321;
  AFile file;
  ASSERT_TRUE(file.Open(temp.c_str(), kCreate));
  char c = 'z';
  EXPECT_TRUE(file.Seek(far) && file.Write(&c, 1));
  EXPECT_EQ(file.GetFileSize(), far + 1);
  AStreamFile stream;
  ASSERT_TRUE(stream.Open(temp.c_str(), "rb", 512));
  c = 0;
  EXPECT_TRUE(stream.Seek(far) && stream.Read(&c, 1));
  EXPECT_EQ(c, 'z');
  EXPECT_EQ(stream.Tell(), far + 1);
}

TEST(FileGetLine, EndsAtDelimiterOrZeroAndLeavesTheRest) {
  TempFile temp;
  temp.Put(std::string("ab\ncd\0e", 7));
  AFile file;
  ASSERT_TRUE(file.Open(temp.c_str(), AFile::Binary));
  char buf[8] = "-------";
  EXPECT_TRUE(file.GetLine(buf, 0, '\n'));
  EXPECT_EQ(buf[0], '-');
  EXPECT_TRUE(file.GetLine(buf, 8, '\n'));
  EXPECT_STREQ(buf, "ab");
  EXPECT_EQ(file.Tell(), 3);
  EXPECT_TRUE(file.GetLine(buf, 8, '\n'));
  EXPECT_STREQ(buf, "cd");
  EXPECT_FALSE(file.GetLine(buf, 8, '\n')) << "the file ends before a delimiter";
  EXPECT_EQ(buf[0], 'e');

  file.Seek(0);
  std::memcpy(buf, "-------", 8);
  EXPECT_TRUE(file.GetLine(buf, 2, '\n'));
  EXPECT_STREQ(buf, "ab-----");
  EXPECT_EQ(file.Tell(), 2);

  AStreamFile stream;
  ASSERT_TRUE(stream.Open(temp.c_str(), "rb", 16));
  EXPECT_TRUE(stream.GetLine(buf, 8, 'b'));
  EXPECT_STREQ(buf, "ab\n") << "a stream keeps the newline and ignores the delimiter";
}

TEST(FileTrunc, CutsAtTheVirtualPositionWithOppositeResults) {
  TempFile temp;
  temp.Put("abcdef");
  DisplacedFile file;
  ASSERT_TRUE(file.Open(temp.c_str(), kUpdate));
  EXPECT_EQ(file.Trunc(), 1);
  EXPECT_EQ(temp.Bytes(), "abc");
  AStreamFile stream;
  EXPECT_NE(stream.Trunc(), 0);
  ASSERT_TRUE(stream.Open(temp.c_str(), "rb+", 16));
  stream.Seek(2);
  EXPECT_EQ(stream.Trunc(), 0);
  EXPECT_EQ(stream.GetFileSize(), 2);
}

TEST(StreamFile, BuffersAndOpensOnceInItsLife) {
  TempFile temp;
  AStreamFile stream;
  EXPECT_FALSE(stream.Close());
  ASSERT_TRUE(stream.Open(temp.c_str(), "wb+", 4096));
  char text[] = "hello";
  EXPECT_TRUE(stream.Write(text, 5));
  EXPECT_EQ(stream.GetFileSize(), 0) << "what waits in the buffer is not on disk";
  EXPECT_EQ(stream.Tell(), 5);
  EXPECT_FALSE(stream.Open(temp.c_str(), "rb", 4096));
  EXPECT_EQ(temp.Bytes(), "hello") << "what waited in the buffer is not lost";
  EXPECT_EQ(stream.GetFileSize(), 5) << "the stream opened by the refused call stays";
}

TEST(StreamFile, EmptiesNoFileWithoutABuffer) {
  TempFile temp;
  temp.Put("kept");
  AStreamFile stream;
  for (const int size : {0, -1}) EXPECT_FALSE(stream.Open(temp.c_str(), "wb+", size));
  EXPECT_EQ(temp.Bytes(), "kept");
  EXPECT_FALSE(stream.Close()) << "nothing was opened";
}

TEST(StreamFile, CopiesShareOneStreamAndOneBuffer) {
  TempFile temp;
  char text[] = "hello";
  AStreamFile stream;
  ASSERT_TRUE(stream.Open(temp.c_str(), "wb+", 4096));
  {
    AStreamFile copy(stream);
    EXPECT_TRUE(copy.Write(text, 5));
  }
  EXPECT_EQ(temp.Bytes(), "hello");
  EXPECT_FALSE(stream.Write(text, 5)) << "the copy has closed the stream of both";
  EXPECT_FALSE(stream.Close());
  AStreamFile replaced;
  ASSERT_TRUE(replaced.Open(temp.c_str(), "wb", 4096));
  EXPECT_TRUE(replaced.Write(text, 4));
  replaced = AStreamFile();
  EXPECT_EQ(temp.Bytes(), "hell");
}

TEST(FileMoves, KeepFilesOpenInAVector) {
  const TempFile temps[2];
  std::vector<AFile> files;
  std::vector<AStreamFile> streams;
  for (int i = 0; i < 2; ++i) {
    AFile file;
    AStreamFile stream;
    ASSERT_TRUE(file.Open(temps[0].c_str(), kCreate) && stream.Open(temps[1].c_str(), "wb", 16));
    files.push_back(std::move(file));
    streams.push_back(std::move(stream));
    EXPECT_FALSE(file.Close() || stream.Close());
  }
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(files[i].Write("one", 3) && streams[i].Write("two", 3));
  files.erase(files.begin());
  EXPECT_TRUE(files[0].Close());
  streams.erase(streams.begin());
  EXPECT_TRUE(streams[0].Write("three", 5) && streams[0].Close());
}

TEST(AInputFile, TellsThatItWasChanged) {
  const TempFile temp;
  temp.Put("0123456789");
  AInputFile file;
  ASSERT_TRUE(file.Open(temp.path()));
  temp.Put("01234");
  char bytes[10];
  EXPECT_EQ(file.ReadAt(2, bytes, 100), 3);
  EXPECT_EQ(file.Check().message(), temp.path() + ": was changed while it was read");
  EXPECT_EQ(file.ReadAt(0, bytes, 1), -1) << "after a failure";
}

TEST(MoveIntoPlace, NeverReplacesUnlessTold) {
  TempFile from, to;
  from.Put("new");
  to.Put("old");
  EXPECT_FALSE(MoveIntoPlace(from.path(), to.path(), false));
  EXPECT_EQ(to.Bytes(), "old");
  EXPECT_EQ(from.Bytes(), "new");
  EXPECT_TRUE(MoveIntoPlace(from.path(), to.path(), true));
  EXPECT_EQ(to.Bytes(), "new");
  EXPECT_FALSE(from.exists());
  EXPECT_TRUE(MoveIntoPlace(to.path(), from.path(), false));
  EXPECT_FALSE(to.exists());
}

}  // namespace
}  // namespace zeltra::test

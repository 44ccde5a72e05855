// Output files on systems with links, permissions and named pipes.
// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/AFile.h"
#include "zeltra/core/WriteWholeFile.h"

namespace zeltra::test {
namespace {

namespace fs = std::filesystem;

TEST(OutputFile, StandsWhereLinksLead) {
  const TempFile link, middle, target;
  fs::create_symlink(fs::path(middle.path()).filename(), link.path());
  fs::create_symlink(target.path(), middle.path());
  ASSERT_TRUE(WriteWholeFile(link.path(), "one", false)) << "nothing is there yet";
  EXPECT_EQ(target.Bytes(), "one");
  EXPECT_FALSE(WriteWholeFile(link.path(), "two", false));
  ASSERT_TRUE(WriteWholeFile(link.path(), "two", true));
  EXPECT_EQ(target.Bytes(), "two");
  EXPECT_TRUE(fs::is_symlink(link.path()) && fs::is_symlink(middle.path()));
}

TEST(OutputFile, KeepsThePermissionsOfTheFileItReplaces) {
  const TempFile file;
  file.Put("old");
  for (const int mode : {0600, 0444, 0751}) {
    fs::permissions(file.path(), static_cast<fs::perms>(mode));
    ASSERT_TRUE(WriteWholeFile(file.path(), "new", true));
    EXPECT_EQ(static_cast<int>(fs::status(file.path()).permissions()), mode);
  }
}

TEST(OutputFile, IsForAllWhereAFileThatAHostCreatesIsForItsOwner) {
  const TempFile output, hosts;
  const auto mode = [](const TempFile& file) { return static_cast<int>(fs::status(file.path()).permissions()); };
  const mode_t mask = umask(022);
  AFile file;
  EXPECT_TRUE(WriteWholeFile(output.path(), "text", false));
  EXPECT_TRUE(file.Open(hosts.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary));
  umask(mask);
  EXPECT_EQ(mode(output), 0644);
  EXPECT_EQ(mode(hosts), 0600);
}

TEST(FileTransfer, AReadFromAPipeTakesWhatIsThere) {
  const TempFile fifo;
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  AFile pipe;
  ASSERT_TRUE(pipe.Open(fifo.c_str(), AFile::ReadWrite | AFile::Binary));
  ASSERT_TRUE(pipe.Write("abc", 3));
  char bytes[8] = {};
  EXPECT_TRUE(pipe.Read(bytes, 8)) << "which does not wait for more";
  EXPECT_STREQ(bytes, "abc");
}

TEST(OutputFile, ReplacesRegularFilesOnly) {
  const TempFile fifo, circle;
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::create_symlink(circle.path(), circle.path());
  for (const std::string& path : {fifo.path(), circle.path(), TemporaryFolder(), std::string("/dev/null")}) {
    EXPECT_THAT(WriteWholeFile(path, "new", true).message(), testing::HasSubstr("not a regular file")) << path;
  }
  EXPECT_TRUE(fs::is_fifo(fifo.path()));
}

}  // namespace
}  // namespace zeltra::test

// SPDX-License-Identifier: MIT
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "tests/support/Progress.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/desktop/FileCopy.h"
#include "zeltra/desktop/FileNames.h"

namespace zeltra::test {
namespace {

TEST(FileNames, SplitsDriveFoldersNameAndExtension) {
  struct Case {
    const char *path, *folder, *name, *extension;
  };
  for (const Case& c : {
           Case{"C:\\d\\a.uvx", "C:\\d\\", "a", ".uvx"},
           {"/home/u/a.uvx", "/home/u/", "a", ".uvx"},
           {"C:/x\\y/z.tar.gz", "C:/x\\y/", "z.tar", ".gz"},
           {"C:a.uvx", "C:", "a", ".uvx"},
           {"/v1.0/readme", "/v1.0/", "readme", ""},
           {"C:\\v1.0\\", "C:\\v1.0\\", "", ""},
           {".profile", "", "", ".profile"},
           {"end.", "", "end", "."},
           {"x:y:z", "x:", "y:z", ""},
           {"", "", "", ""},
       }) {
    EXPECT_EQ(getfPath(c.path), c.folder) << c.path;
    EXPECT_EQ(getfName(c.path), c.name) << c.path;
    EXPECT_EQ(getfExt(c.path), c.extension) << c.path;
  }
}

TEST(FileNames, FindTheProgramInACommandLine) {
  EXPECT_EQ(ExePathOf("\"C:\\p q\\prog.exe\" -x"), "C:\\p q\\");
  EXPECT_EQ(ExePathOf("C:\\bin\\prog.exe -x /y"), "C:\\bin\\");
  EXPECT_EQ(ExePathOf("C:\\bin\\prog.exe"), "C:\\bin\\");
  EXPECT_EQ(ExePathOf("\"C:\\p q\\prog.exe"), "C:\\p q\\");
  EXPECT_EQ(ExePathOf("\"\" -x"), "");
  EXPECT_EQ(ExePathOf(""), "");
}

TEST(FileNames, KnowTheRunningProgram) {
  EXPECT_EQ(getfName(ProgramPath()), "desktop_test");
  EXPECT_TRUE(IsFileExists(ProgramPath()));
  EXPECT_TRUE(IsSameFile(getExePath() + "desktop_test" + getfExt(ProgramPath()), ProgramPath()));
  EXPECT_TRUE(IsFileExists(getExePath()));
  EXPECT_FALSE(IsFileExists(ProgramPath() + ".no"));
}

TEST(FileNames, TellDateAndTime) {
  const std::time_t before = std::time(nullptr);
  const std::string text = GetNameAsDT();
  const std::time_t after = std::time(nullptr);
  std::tm time{};
  time.tm_isdst = -1;
  ASSERT_EQ(std::sscanf(text.c_str(), "%2d%2d%4d_%2d%2d%2d", &time.tm_mday, &time.tm_mon, &time.tm_year, &time.tm_hour,
                        &time.tm_min, &time.tm_sec),
            6)
      << text;
  time.tm_mon -= 1;
  time.tm_year -= 1900;
  EXPECT_GE(std::mktime(&time), before);
  EXPECT_LE(std::mktime(&time), after);
}

TEST(FileNames, TemporaryNamesCountWithinATick) {
  int lastTicks = 0, lastCounter = 0, ticksSeen = 0;
  for (int i = 0; ticksSeen < 4 && i < 100000000; ++i) {
    const std::string name = GetTempFileNameA();
    int thread = 0, ticks = 0, counter = -1;
    char end[8] = {};
    ASSERT_EQ(std::sscanf(name.c_str(), "%d_%d_%d%7s", &thread, &ticks, &counter, end), 4) << name;
    ASSERT_STREQ(end, ".$$$");
    const int expected = i == 0 ? counter : ticks == lastTicks ? lastCounter + 1 : 0;
    ASSERT_EQ(counter, expected) << name;
    if (ticks != lastTicks) ++ticksSeen;
    lastTicks = ticks;
    lastCounter = counter;
  }
  EXPECT_EQ(ticksSeen, 4);
}

std::string Noise(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 2654435761u >> 13);
  return bytes;
}

class FileCopy : public testing::Test {
 protected:
  TempFile from_{"from"}, to_{"to"};
  Progress progress_;
};

TEST_F(FileCopy, MovesChunksAndSendsPercentages) {
  from_.Put(Noise(20000));
  to_.Put(Noise(30000));
  EXPECT_TRUE(fCopy(from_.path(), to_.path(), &progress_.cancel, &progress_));
  EXPECT_EQ(progress_.positions, (std::vector{0, 41, 82}));
  EXPECT_EQ(to_.Bytes(), Noise(20000));
}

TEST_F(FileCopy, OfOneChunkSendsZeroAndOfNothingSendsNothing) {
  from_.Put("x");
  EXPECT_TRUE(fCopy(from_.path(), to_.path(), nullptr, &progress_));
  EXPECT_EQ(progress_.positions, std::vector{0});
  from_.Put("");
  EXPECT_TRUE(fCopy(from_.path(), to_.path(), nullptr, &progress_));
  EXPECT_EQ(progress_.positions, std::vector{0});
  EXPECT_EQ(to_.Bytes(), "");
}

TEST_F(FileCopy, CancelledLeavesThePartThatWasCopied) {
  from_.Put(Noise(20000));
  progress_.cancelAt = 41;
  EXPECT_FALSE(fCopy(from_.path(), to_.path(), &progress_.cancel, &progress_));
  EXPECT_EQ(to_.Bytes(), Noise(20000).substr(0, 16384));
  progress_.positions.clear();
  EXPECT_FALSE(fCopy(from_.path(), to_.path(), &progress_.cancel, &progress_));
  EXPECT_TRUE(progress_.positions.empty());
  EXPECT_TRUE(to_.exists());
  EXPECT_EQ(to_.Bytes(), "");
}

TEST_F(FileCopy, RefusesWhatIsNoFileBeforeTouchingTheDestination) {
  to_.Put("precious");
  EXPECT_FALSE(fCopy(from_.path(), to_.path(), nullptr, nullptr));
  EXPECT_FALSE(fCopy(TemporaryFolder(), to_.path(), nullptr, nullptr));
  EXPECT_EQ(to_.Bytes(), "precious");
  EXPECT_FALSE(fCopy(to_.path(), TemporaryFolder(), nullptr, nullptr));
}

TEST_F(FileCopy, OntoItselfLosesNothing) {
  from_.Put("precious");
  std::error_code error;
  std::filesystem::create_hard_link(from_.path(), to_.path(), error);
  ASSERT_FALSE(error) << error.message();
  const std::string spelled = getfPath(from_.path()) + "./" + getfName(from_.path()) + getfExt(from_.path());
  for (const std::string& name : {from_.path(), to_.path(), spelled}) {
    EXPECT_FALSE(fCopy(from_.path(), name, nullptr, nullptr)) << name;
    EXPECT_FALSE(fCopy(name, from_.path(), nullptr, nullptr)) << name;
  }
  EXPECT_EQ(from_.Bytes(), "precious");
}

}  // namespace
}  // namespace zeltra::test

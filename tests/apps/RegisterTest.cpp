// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/RunZeltra.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FileTypes.h"

namespace zeltra::test {
namespace {

using testing::HasSubstr;

class Register : public testing::Test {
 protected:
#ifndef _WIN32
  void SetUp() override {
    for (const char* name : {"XDG_DATA_HOME", "XDG_DATA_DIRS"}) setenv(name, data_.c_str(), 1);
  }
  void TearDown() override {
    std::filesystem::remove_all(data_);
  }
  std::string Entry() const {
    TempFile entry("desktop");
    std::filesystem::copy_file(data_ + "/applications/application-x-zeltra.uvx.desktop", entry.path());
    return entry.Bytes();
  }
#endif

  // Whether the extension can be registered for another type.
  static bool IsExtensionFree() {
    const ARegistration result = RegisterFileType({".uvx", "Other.uvx", "", {"other"}});
    EXPECT_TRUE(AUnregisterShellFileTypes(".uvx", "Other.uvx"));
    return result == ARegistration::Complete;
  }

  const std::string data_ = TemporaryNameFor(TemporaryFolder() + "/zeltra.register");
};

TEST_F(Register, TakesTheExtensionAndGivesItBack) {
  ASSERT_TRUE(IsExtensionFree());
  const Finished registered = RunZeltra({"register"});
  EXPECT_EQ(registered.code, 0) << registered.err;
  EXPECT_THAT(registered.err, HasSubstr(".uvx files are opened by "));
  EXPECT_FALSE(IsExtensionFree());
#ifndef _WIN32
  EXPECT_THAT(Entry(), HasSubstr("/zeltra\" \"info\" \"--pause\" %f\n"));
  EXPECT_THAT(Entry(), HasSubstr("\nTerminal=true\n"));
#endif
  EXPECT_EQ(RunZeltra({"register", "--remove"}).code, 0);
  EXPECT_TRUE(IsExtensionFree());
  EXPECT_EQ(RunZeltra({"register", "--remove"}).code, 0);
}

TEST_F(Register, BindsAnotherProgram) {
  EXPECT_EQ(RunZeltra({"register", "--program", ProgramPath()}).code, 0);
#ifndef _WIN32
  EXPECT_THAT(Entry(), HasSubstr("\nExec=\"" + ProgramPath() + "\" %f\n"));
#endif
  EXPECT_EQ(RunZeltra({"register", "--remove"}).code, 0);

  const Finished missing = RunZeltra({"register", "--program", "no-such-program"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_THAT(missing.err, HasSubstr("no-such-program: no such program"));
  EXPECT_TRUE(IsExtensionFree());
  EXPECT_EQ(RunZeltra({"register", "--program", "a", "--remove"}).code, 2);
}

TEST_F(Register, LeavesTheExtensionOfAnotherType) {
  ASSERT_EQ(RegisterFileType({".uvx", "Other.uvx", "", {"other"}}), ARegistration::Complete);
  const Finished refused = RunZeltra({"register"});
  EXPECT_EQ(refused.code, 1);
  EXPECT_THAT(refused.err, HasSubstr(".uvx: belongs to another file type"));
  EXPECT_EQ(RegisterFileType({".uvx", "Other.uvx", "", {"other"}}), ARegistration::Complete);
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvx", "Other.uvx"));
}

TEST(Pause, WaitsForTheEndOfALineOfInput) {
  const Finished finished = RunZeltra({"info", "no-such-file", "--pause"});
  EXPECT_EQ(finished.code, 1);
  EXPECT_THAT(finished.err, HasSubstr("no such file"));
  EXPECT_THAT(finished.err, HasSubstr("\nPress Enter"));
}

}  // namespace
}  // namespace zeltra::test

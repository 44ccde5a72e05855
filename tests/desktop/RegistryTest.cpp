// SPDX-License-Identifier: MIT
#include <stdio.h>

#include "tests/support/Test.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FileTypes.h"

namespace zeltra::test {
namespace {

std::string Command(const std::string& command) {
  std::string output;
  FILE* pipe = _popen((command + " 2>NUL").c_str(), "rt");
  char line[1024];
  while (pipe && fgets(line, sizeof line, pipe)) output += line;
  if (pipe) _pclose(pipe);
  return output;
}

bool HasKey(const std::string& key) {
  return Command("reg query \"HKCR\\" + key + "\"").find("HKEY_CLASSES_ROOT") != std::string::npos;
}

// The default value of a key under the classes root, as the system's own tool prints it.
std::string Value(const std::string& key) {
  const std::string output = Command("reg query \"HKCR\\" + key + "\" /ve");
  const std::string type = "REG_SZ    ";
  const size_t start = output.find(type);
  if (start == std::string::npos) return "(none)";
  return output.substr(start + type.size(), output.find_first_of("\r\n", start) - start - type.size());
}

void Remove(const std::string& key) {
  Command("reg delete \"HKCR\\" + key + "\" /f");
}

class FileTypes : public testing::Test {
 protected:
  void SetUp() override { TearDown(); }
  void TearDown() override {
    Remove("ZELTRA.test");
    Remove(".uvt");
  }
};

TEST_F(FileTypes, NameTheRunningProgram) {
  const std::string program = getExePath() + "desktop_test.exe";
  ARegisterShellFileTypes(1, ".uvt", "ZELTRA.test", "", 3);
  EXPECT_EQ(Value("ZELTRA.test"), "ZELTRA.test");
  EXPECT_EQ(Value("ZELTRA.test\\DefaultIcon"), program + ",3");
  EXPECT_EQ(Value("ZELTRA.test\\shell\\open\\command"), program + " \"%1\"");
  EXPECT_EQ(Value(".uvt"), "ZELTRA.test");
  ARegisterShellFileTypes(1, ".uvt", "ZELTRA.test", "C:\\i c\\x.dll", -7);
  EXPECT_EQ(Value("ZELTRA.test\\DefaultIcon"), "C:\\i c\\x.dll,-7");

  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  for (const char* key : {"ZELTRA.test", "ZELTRA.test\\shell", ".uvt"}) {
    EXPECT_FALSE(HasKey(key)) << key;
  }
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
}

TEST_F(FileTypes, WithoutIconOrExtensionWriteNeither) {
  ARegisterShellFileTypes(0, "", "ZELTRA.test", "C:\\x.ico", 1);
  EXPECT_EQ(Value("ZELTRA.test"), "ZELTRA.test");
  EXPECT_EQ(Value("ZELTRA.test\\DefaultIcon"), "(none)");
  EXPECT_EQ(Value(".uvt"), "(none)");
}

TEST_F(FileTypes, LeaveTheExtensionOfAnotherTypeAlone) {
  Command("reg add HKCR\\.uvt /ve /d Other.type /f");
  EXPECT_EQ(RegisterFileType({".uvt", "ZELTRA.test", "", {"C:\\p q\\x.exe", "info", "a b"}}), ARegistration::TypeOnly);
  EXPECT_EQ(Value(".uvt"), "Other.type");
  EXPECT_EQ(Value("ZELTRA.test\\shell\\open\\command"), "\"C:\\p q\\x.exe\" info \"a b\" \"%1\"");
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  EXPECT_EQ(Value(".uvt"), "Other.type");
  EXPECT_EQ(Value("ZELTRA.test"), "(none)");
}

TEST_F(FileTypes, LeaveWhatOthersAddedAlone) {
  Command("reg add HKCR\\.uvt /v Kind /d x /f");
  EXPECT_EQ(RegisterFileType({".uvt", "ZELTRA.test", "", {"x.exe"}}), ARegistration::Complete);
  Command("reg add HKCR\\ZELTRA.test\\shell\\print\\command /ve /d y /f");
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  EXPECT_EQ(Value(".uvt"), "(value not set)");
  EXPECT_NE(Command("reg query HKCR\\.uvt /v Kind").find("REG_SZ"), std::string::npos);
  EXPECT_EQ(Value("ZELTRA.test\\shell\\open\\command"), "(none)");
  EXPECT_EQ(Value("ZELTRA.test\\shell\\print\\command"), "y");

  Command("reg add HKCR\\ZELTRA.test /ve /d \"Somebody's text\" /f");
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  EXPECT_EQ(Value("ZELTRA.test"), "Somebody's text");
}

TEST_F(FileTypes, NeedAName) {
  EXPECT_EQ(RegisterFileType({".uvt", "", "", {"x.exe"}}), ARegistration::Failed);
  EXPECT_FALSE(AUnregisterShellFileTypes(".uvt", ""));
  EXPECT_EQ(Value(".uvt"), "(none)");
}

}  // namespace
}  // namespace zeltra::test

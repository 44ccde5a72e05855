// SPDX-License-Identifier: MIT
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/desktop/FileCopy.h"
#include "zeltra/desktop/FileDialogs.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FileTypes.h"

namespace zeltra::test {
namespace {

namespace fs = std::filesystem;

TEST(FileCopyToAFullDisk, FailsWhenOnlyAPartOfAChunkArrives) {
  TempFile from("from"), to("to");
  from.Put(std::string(20000, 'x'));
  rlimit old{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t room : {rlim_t{10000}, rlim_t{19999}, rlim_t{20000}}) {
    const rlimit small{room, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const bool copied = fCopy(from.path(), to.path(), nullptr, nullptr);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(copied, room == 20000) << room;
    EXPECT_EQ(to.Bytes().size(), room);
  }
  std::signal(SIGXFSZ, oldAction);
}

TEST(FileCopyToALink, OfTheSourceLosesNothing) {
  TempFile from("from"), link("link");
  from.Put("precious");
  fs::create_symlink(from.path(), link.path());
  EXPECT_FALSE(fCopy(from.path(), link.path(), nullptr, nullptr));
  EXPECT_FALSE(fCopy(link.path(), from.path(), nullptr, nullptr));
  EXPECT_EQ(from.Bytes(), "precious");
}

std::string Text(const std::string& path) {
  std::ifstream file(path);
  return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(no such file)";
}

void Put(const std::string& path, const std::string& text) {
  fs::create_directories(getfPath(path));
  std::ofstream(path) << text;
}

// The user of an empty system, which has no programs but those that a test installs.
class Freedesktop : public testing::Test {
 protected:
  void SetUp() override {
    root_ = TemporaryNameFor(TemporaryFolder() + "/zeltra.desktop");
    fs::create_directories(root_ + "/bin");
    data_ = root_ + "/data";
    Set("XDG_DATA_HOME", data_);
    Set("XDG_DATA_DIRS", root_ + "/shared");
    Set("PATH", root_ + "/bin");
  }
  void TearDown() override {
    for (const auto& [name, value] : saved_) value ? setenv(name, value->c_str(), 1) : unsetenv(name);
    fs::remove_all(root_);
  }

  void Set(const char* name, const std::string& value) {
    const char* old = std::getenv(name);
    saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
    setenv(name, value.c_str(), 1);
  }

  // Install a program that writes its arguments, one per line, to the file `NAME.asked`, and then runs `script`.
  void Install(const std::string& name, const std::string& script) {
    const std::string path = root_ + "/bin/" + name;
    Put(path, "#!/bin/sh\nprintf '%s\\n' \"$@\" >> '" + root_ + "/" + name + ".asked'\n" + script + "\n");
    fs::permissions(path, fs::perms::owner_all);
  }
  std::string Asked(const std::string& name) { return Text(root_ + "/" + name + ".asked"); }

  size_t DataFiles() {
    size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(data_)) count += entry.is_regular_file();
    return count;
  }

  std::string Package() { return Text(data_ + "/mime/packages/application-x-zeltra.test.xml"); }
  std::string Entry() { return Text(data_ + "/applications/application-x-zeltra.test.desktop"); }
  std::string Defaults() { return Text(data_ + "/applications/mimeapps.list"); }

  const AFileType type_{".uvt", "ZELTRA.test", "", {"/opt/p q/show", "info"}};
  std::string root_, data_;

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

using FileTypes = Freedesktop;
using FileDialogs = Freedesktop;

TEST_F(FileTypes, AreWrittenAsPackageEntryAndDefault) {
  Install("update-mime-database", "");
  Install("update-desktop-database", "");
  EXPECT_EQ(RegisterFileType(type_), ARegistration::Complete);
  EXPECT_EQ(Package(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n"
            "  <mime-type type=\"application/x-zeltra.test\">\n"
            "    <comment>ZELTRA.test</comment>\n"
            "    <glob pattern=\"*.uvt\"/>\n"
            "  </mime-type>\n"
            "</mime-info>\n");
  EXPECT_EQ(Entry(),
            "[Desktop Entry]\nType=Application\nNoDisplay=true\nName=show\nExec=\"/opt/p q/show\" \"info\" %f\n"
            "MimeType=application/x-zeltra.test;\n");
  EXPECT_EQ(Defaults(), "[Default Applications]\napplication/x-zeltra.test=application-x-zeltra.test.desktop;\n");
  EXPECT_EQ(Asked("update-mime-database"), data_ + "/mime\n");
  EXPECT_EQ(Asked("update-desktop-database"), data_ + "/applications\n");

  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  EXPECT_EQ(DataFiles(), 0u);
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
}

TEST_F(FileTypes, NameTheRunningProgram) {
  ARegisterShellFileTypes(1, ".uvt", "ZELTRA.test", "zeltra-icon", 3);
  EXPECT_NE(Entry().find("\nExec=\"" + ProgramPath() + "\" %f\n"), std::string::npos) << Entry();
  EXPECT_NE(Entry().find("\nIcon=zeltra-icon\n"), std::string::npos) << Entry();
  EXPECT_NE(Package().find("<icon name=\"zeltra-icon\"/>"), std::string::npos) << Package();
  ARegisterShellFileTypes(0, "", "ZELTRA.test", "zeltra-icon", 3);
  EXPECT_EQ((Entry() + Package()).find("zeltra-icon"), std::string::npos);
  EXPECT_EQ(Package().find("<glob"), std::string::npos);
}

TEST_F(FileTypes, LeaveTheExtensionOfAnotherTypeAlone) {
  const std::string other = data_ + "/mime/packages/other.xml";
  Put(other, "<mime-info><mime-type type='application/x-own'><glob pattern='*.UVT'/></mime-type></mime-info>");
  EXPECT_EQ(RegisterFileType(type_), ARegistration::TypeOnly);
  EXPECT_EQ(Package().find("<glob"), std::string::npos);
  EXPECT_NE(Entry().find("MimeType=application/x-zeltra.test;"), std::string::npos);

  fs::remove(other);
  Put(root_ + "/shared/mime/globs2", "# comment\n50:application/x-tvu:*.tvu\n50:application/x-own:*.uvt\n");
  EXPECT_EQ(RegisterFileType(type_), ARegistration::TypeOnly);
  Put(root_ + "/shared/mime/globs2", "50:application/x-zeltra.test:*.uvt\n50:application/x-own:*.uvtx");
  EXPECT_EQ(RegisterFileType(type_), ARegistration::Complete);
  EXPECT_EQ(RegisterFileType(type_), ARegistration::Complete) << "the type's own package counts as another";
}

TEST_F(FileTypes, LeaveOtherDefaultProgramsAlone) {
  const std::string list = data_ + "/applications/mimeapps.list";
  const std::string others = "[Default Applications]\ntext/plain=ed.desktop\n\n[Added Associations]\na/b=c.desktop;\n";
  Put(list, others);
  RegisterFileType(type_);
  EXPECT_EQ(Defaults(),
            "[Default Applications]\napplication/x-zeltra.test=application-x-zeltra.test.desktop;\n"
            "text/plain=ed.desktop\n\n[Added Associations]\na/b=c.desktop;\n");
  AUnregisterShellFileTypes(".uvt", "ZELTRA.test");
  EXPECT_EQ(Defaults(), others);

  const std::string chosen = "[Default Applications]\napplication/x-zeltra.test=mine.desktop";
  Put(list, chosen);
  EXPECT_EQ(RegisterFileType(type_), ARegistration::Complete);
  AUnregisterShellFileTypes(".uvt", "ZELTRA.test");
  EXPECT_EQ(Defaults(), chosen);
}

TEST_F(FileTypes, ThatCannotBeWrittenAreFailures) {
  EXPECT_EQ(RegisterFileType({".uvt", "", "", {"/bin/true"}}), ARegistration::Failed);
  EXPECT_EQ(RegisterFileType({".uvt", "ZELTRA.test", "", {}}), ARegistration::Failed);
  fs::create_directories(data_ + "/applications/mimeapps.list");
  EXPECT_EQ(RegisterFileType(type_), ARegistration::Failed);
  EXPECT_FALSE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  Put(root_ + "/file", "");
  Set("XDG_DATA_HOME", root_ + "/file");
  EXPECT_EQ(RegisterFileType(type_), ARegistration::Failed);
}

TEST_F(FileTypes, QuoteWhatMeansSomethingInTheirFiles) {
  RegisterFileType({".u<t", "../A&B c", "", {"/b/100% \"$x`y\\z"}, true});
  const std::string name = "application-x-..+2fa+26b+20c";
  const std::string package = Text(data_ + "/mime/packages/" + name + ".xml");
  EXPECT_NE(package.find("type=\"application/x-..+2fa+26b+20c\""), std::string::npos) << package;
  EXPECT_NE(package.find("<comment>../A&amp;B c</comment>"), std::string::npos) << package;
  EXPECT_NE(package.find("pattern=\"*.u&lt;t\""), std::string::npos) << package;
  const std::string entry = Text(data_ + "/applications/" + name + ".desktop");
  EXPECT_NE(entry.find(R"(Exec="/b/100%% \\"\\$x\\`y\\\\z" %f)"), std::string::npos) << entry;
  EXPECT_NE(entry.find("\nTerminal=true\n"), std::string::npos) << entry;
}

TEST_F(FileTypes, TakeTheirIconAlong) {
  const std::string icon = root_ + "/My icon.SVG";
  Put(icon, "<svg/>");
  RegisterFileType({".uvt", "ZELTRA.test", icon, {"/bin/true"}});
  EXPECT_EQ(Text(data_ + "/icons/hicolor/scalable/mimetypes/application-x-zeltra.test.svg"), "<svg/>");
  EXPECT_NE(Package().find("<icon name=\"application-x-zeltra.test\"/>"), std::string::npos) << Package();
  EXPECT_NE(Entry().find("\nIcon=" + icon + "\n"), std::string::npos) << Entry();
  EXPECT_TRUE(AUnregisterShellFileTypes(".uvt", "ZELTRA.test"));
  EXPECT_EQ(DataFiles(), 0u);
}

TEST_F(FileTypes, AreFoundByTheDesktopsOwnDatabase) {
  Set("PATH", "/usr/bin:/bin");
  if (!IsFileExists("/usr/bin/update-mime-database")) GTEST_SKIP() << "no update-mime-database here";
  RegisterFileType(type_);
  EXPECT_NE(Text(data_ + "/mime/globs2").find("50:application/x-zeltra.test:*.uvt\n"), std::string::npos);
  EXPECT_EQ(RegisterFileType({".uvt", "ZELTRA.second", "", {"/bin/true"}}), ARegistration::TypeOnly);
  AUnregisterShellFileTypes(".uvt", "ZELTRA.test");
  EXPECT_EQ(Text(data_ + "/mime/globs2").find("uvt"), std::string::npos);
  EXPECT_EQ(RegisterFileType({".uvt", "ZELTRA.second", "", {"/bin/true"}}), ARegistration::Complete);
}

TEST_F(FileDialogs, OpenAFile) {
  Install("zenity", "printf '%s\\n' '/data/$(x) \"2\".uvx'");
  std::string path = "old name.uvx";
  EXPECT_TRUE(fnFileDialog1(path, "UVX files (*.uvx)|*.uvx|Maps|*.map;*.cmap", "/data", true, "uvx", 2));
  EXPECT_EQ(path, "/data/$(x) \"2\".uvx");
  EXPECT_EQ(Asked("zenity"),
            "--file-selection\n--filename=/data/old name.uvx\n--file-filter=UVX files (*.uvx) | *.uvx\n"
            "--file-filter=Maps | *.map *.cmap\n--file-filter=All files (*.*) | *\n");
}

TEST_F(FileDialogs, SaveAFileWithTheDefaultExtension) {
  Install("zenity", "[ \"$1\" = --file-selection ] && echo '" + root_ + "/new' || exit 1");
  std::string path;
  EXPECT_TRUE(fnFileDialog1(path, "", "", false, ".uvx", 2));
  EXPECT_EQ(path, root_ + "/new.uvx");
  EXPECT_EQ(Asked("zenity"), "--file-selection\n--filename=" + fs::current_path().string() +
                                 "/\n--save\n--confirm-overwrite\n--file-filter=All files (*.*) | *\n");
  Put(path, "precious");
  path = "unchanged";
  EXPECT_FALSE(fnFileDialog1(path, "", "", false, "uvx", 2)) << "replaced although the question was denied";
  EXPECT_EQ(path, "unchanged");
  EXPECT_TRUE(fnFileDialog1(path, "", "", false, "uvx", 0));
}

TEST_F(FileDialogs, FallBackToKDialog) {
  Install("kdialog", "echo /data/a");
  std::string path;
  EXPECT_TRUE(fnFileDialog1(path, "UVX files (*.uvx)|*.uvx", "/data", false, "", 0));
  EXPECT_EQ(Asked("kdialog"), "--getsavefilename\n/data/\nUVX files (*.uvx)\nAll files (*)\n");
  EXPECT_TRUE(BrowseForFolder(nullptr, path, "/data/x", "Where to?"));
  EXPECT_EQ(path, "/data/a");
}

TEST_F(FileDialogs, ThatAreCancelledOrMissingChangeNothing) {
  std::string path = "unchanged";
  for (const bool isMissing : {true, false}) {
    EXPECT_FALSE(fnFileDialog1(path, "", "", true, "", 0)) << isMissing;
    EXPECT_FALSE(BrowseForFolder(nullptr, path, "", "")) << isMissing;
    Install("zenity", "echo /data/x; exit 1");
  }
  EXPECT_EQ(path, "unchanged");
}

TEST_F(FileDialogs, ChooseAFolderInAHostThatIgnoresItsChildren) {
  Install("zenity", "echo /data/x");
  const auto old = std::signal(SIGCHLD, SIG_IGN);
  std::string path;
  EXPECT_TRUE(BrowseForFolder(nullptr, path, "/data", "Where to?"));
  std::signal(SIGCHLD, old);
  EXPECT_EQ(path, "/data/x");
  EXPECT_EQ(Asked("zenity"), "--file-selection\n--directory\n--title=Where to?\n--filename=/data/\n");
}

}  // namespace
}  // namespace zeltra::test

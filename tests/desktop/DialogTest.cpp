// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <windows.h>
// windows.h comes first: the others need its types.
#include <commctrl.h>
#include <dlgs.h>
#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "zeltra/desktop/AWindowProgress.h"
#include "zeltra/desktop/FileCopy.h"
#include "zeltra/desktop/FileDialogs.h"
#include "zeltra/platform/MessageBox.h"
#include "zeltra/platform/System.h"

namespace zeltra::test {
namespace {

namespace fs = std::filesystem;

// Run `step` until it succeeds. @return false if it never does
bool WaitFor(const std::function<bool()>& step) {
  for (int i = 0; i < 200; ++i) {
    if (step()) return true;
    Sleep(50);
  }
  return false;
}

// A dialog of this process that a person could answer; null if there is none.
HWND VisibleDialog() {
  HWND found = nullptr;
  const auto look = [](HWND window, LPARAM result) -> BOOL {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    char name[16] = {};
    GetClassNameA(window, name, sizeof name);
    if (process != GetCurrentProcessId() || strcmp(name, "#32770") != 0 || !IsWindowVisible(window)) return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
  };
  EnumWindows(look, reinterpret_cast<LPARAM>(&found));
  return found;
}

// Ask the script that runs the tests for a picture of the screen: it takes one when a file of this name appears, and
// then removes the file.
void KeepPicture(const std::string& name) {
  const char* folder = std::getenv("ZELTRA_SCREENSHOTS");
  if (!folder) return;
  const std::string request = std::string(folder) + "/" + name + ".wanted";
  std::ofstream(request).close();
  EXPECT_TRUE(WaitFor([&] { return !fs::exists(request); })) << name;
}

// A user, on another thread, who waits for a dialog, does something with it, keeps a picture and presses a button.
class Person {
 public:
  Person(
      const char* picture, int button, std::function<void(HWND)> act = [](HWND) {})
      : thread_([=] {
          HWND dialog = nullptr;
          ASSERT_TRUE(WaitFor([&] { return (dialog = VisibleDialog()) != nullptr; })) << picture;
          Sleep(500);  // until it is drawn and its lists are filled
          act(dialog);
          Sleep(200);
          KeepPicture(picture);
          PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
          if (WaitFor([&] { return !IsWindow(dialog); })) return;
          KeepPicture(std::string(picture) + "-stuck");
          std::fprintf(stderr, "%s: the dialog does not close\n", picture);
          std::_Exit(1);
        }) {}
  ~Person() { thread_.join(); }

 private:
  std::thread thread_;
};

// Types a file name into a file dialog.
std::function<void(HWND)> Type(const std::wstring& text) {
  return [=](HWND dialog) {
    const HWND combo = GetDlgItem(dialog, cmb13);
    SendMessageW(combo ? combo : GetDlgItem(dialog, edt1), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
  };
}

// A folder with a few files and folders in it.
class Dialogs : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(fs::path(root_) / "maps" / "old");
    for (const char* name : {"3C273.uvx", "M87.uvx", "notes.txt"}) std::ofstream(fs::path(root_) / name) << name;
  }
  void TearDown() override {
    // A file dialog makes the folder that it shows the current folder, which cannot be removed.
    fs::current_path(TemporaryFolder());
    fs::remove_all(root_);
  }

  const std::string root_ = TemporaryFolder() + "\\zeltra-dialogs";
  const std::string filter_ = "UVX files (*.uvx)|*.uvx";
};

TEST_F(Dialogs, GiveTheFileThatIsTypedOrProposed) {
  const struct {
    const char* picture;
    std::wstring typed;
    std::string proposed, extension, answer;
    bool open;
  } cases[] = {{"open-file", L"M87.uvx", "3C273.uvx", ".uvx", "M87.uvx", true},
               {"open-proposed-file", L"", root_ + "/3C273.uvx", "uvx", "3C273.uvx", true},
               {"save-file", L"Cygnus \u0416", "", "uvx", "Cygnus \xD0\x96.uvx", false}};
  for (const auto& c : cases) {
    std::string path = c.proposed;
    {
      const Person person(c.picture, IDOK, c.typed.empty() ? [](HWND) {} : Type(c.typed));
      const int flags = OFN_HIDEREADONLY | (c.open ? OFN_ALLOWMULTISELECT : OFN_OVERWRITEPROMPT);
      EXPECT_TRUE(fnFileDialog1(path, filter_, c.typed.empty() ? "" : root_, c.open, c.extension, flags));
    }
    EXPECT_EQ(path, root_ + "\\" + c.answer);
  }
}

TEST_F(Dialogs, CancelledChangeNothing) {
  std::string path = "M87.uvx";
  for (const bool open : {true, false}) {
    const Person person(open ? "open-cancelled" : "save-cancelled", IDCANCEL);
    EXPECT_FALSE(fnFileDialog1(path, "", root_, open, "", 0));
  }
  {
    const Person person("folder-cancelled", IDCANCEL);
    EXPECT_FALSE(BrowseForFolder(nullptr, path, "", "Nothing is to be chosen"));
  }
  EXPECT_EQ(path, "M87.uvx");
}

TEST_F(Dialogs, ChooseAFolderPreselectedOrAnother) {
  CWnd owner{CreateWindowExW(0, L"STATIC", L"Host", WS_OVERLAPPED | WS_VISIBLE, 0, 0, 200, 100, nullptr, nullptr,
                             nullptr, nullptr)};
  ASSERT_TRUE(owner.handle);
  std::string path;
  {
    const Person person("folder", IDOK);
    EXPECT_TRUE(BrowseForFolder(nullptr, path, root_ + "/maps", "Folder for the maps"));
  }
  EXPECT_EQ(path, root_ + "\\maps");
  {
    const Person person("folder-other", IDOK, [&](HWND dialog) {
      EXPECT_EQ(GetWindow(dialog, GW_OWNER), owner.handle);
      const std::wstring other = fs::path(root_ + "\\maps\\old").wstring();
      SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(other.c_str()));
    });
    EXPECT_TRUE(BrowseForFolder(&owner, path, root_, "Folder for the maps"));
  }
  EXPECT_EQ(path, root_ + "\\maps\\old");
  DestroyWindow(static_cast<HWND>(owner.handle));
}

TEST_F(Dialogs, MessagesAreShownInABox) {
  const Person person("message-box", IDOK, [](HWND dialog) {
    wchar_t text[64] = {};
    GetDlgItemTextW(dialog, 0xFFFF, text, 64);
    EXPECT_STREQ(text, L"Caf\u00E9: not good");
  });
  AfxMessageBox("Caf\xC3\xA9: not good");
}

TEST_F(Dialogs, AProgressBarReceivesRangePositionAndText) {
  InitCommonControls();
  const HWND bar = CreateWindowExW(0, PROGRESS_CLASSW, L"", WS_OVERLAPPED | WS_VISIBLE, 50, 50, 400, 60, nullptr,
                                   nullptr, nullptr, nullptr);
  ASSERT_TRUE(bar);
  AWindowProgress adapter(CWnd{bar});
  CProgressCtrl& progress = adapter;
  SendMessageW(bar, PBM_SETRANGE32, 0, 7);
  SendProgressRange(&progress);
  PBRANGE range{};
  SendMessageW(bar, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
  EXPECT_EQ(range.iLow, 0);
  EXPECT_EQ(range.iHigh, 100);
  SendProgressText(&progress, "\xC3\xA9tape");
  wchar_t text[16] = {};
  GetWindowTextW(bar, text, 16);
  EXPECT_STREQ(text, L"\u00E9tape");

  std::ofstream(fs::path(root_) / "20000", std::ios::binary) << std::string(20000, 'x');
  EXPECT_TRUE(fCopy(root_ + "\\20000", root_ + "\\copy", nullptr, &progress));
  EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 82);
  UpdateWindow(bar);
  KeepPicture("progress-bar");
  DestroyWindow(bar);

  AWindowProgress nobody(CWnd{});
  SendProgressRange(&nobody);
}

}  // namespace
}  // namespace zeltra::test

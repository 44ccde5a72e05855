// SPDX-License-Identifier: MIT
#include <windows.h>

#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/ProcessInternal.h"
#include "zeltra/platform/WindowsTextInternal.h"

namespace zeltra {
namespace desktop {
namespace {

// A program that links the library loads it on its first thread, which later runs `main`.
const DWORD loadingThread = GetCurrentThreadId();

}  // namespace

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_s(&local, &now);
  return local;
}

std::uint32_t MainThread() {
  return loadingThread;
}

std::uint32_t Ticks() {
  return GetTickCount();
}

}  // namespace desktop

std::string ProgramPath() {
  // The longest path that the system allows.
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return platform::Narrow(path.c_str());
}

std::string getExePath() {
  return ExePathOf(platform::Narrow(GetCommandLineW()));
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <system_error>

#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/ProcessInternal.h"

namespace zeltra {
namespace desktop {

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  return local;
}

std::uint32_t MainThread() {
  return static_cast<std::uint32_t>(::getpid());
}

std::uint32_t Ticks() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
}

}  // namespace desktop

std::string ProgramPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

// The command line here has only the bare name of a program found on the search path, so ask the system.
std::string getExePath() {
  return getfPath(ProgramPath());
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/desktop/FileNames.h"

#include <cstdint>
#include <ctime>
#include <mutex>

#include "zeltra/desktop/ProcessInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

// Where the last component of a path begins.
size_t NameStart(const std::string& path) {
  const size_t separator = path.find_last_of("/\\");
  if (separator != std::string::npos) return separator + 1;
  return path.size() > 1 && path[1] == ':' ? 2 : 0;
}

// Where the extension begins; the end of the path if there is none.
size_t ExtensionStart(const std::string& path) {
  const size_t dot = path.rfind('.');
  return dot == std::string::npos || dot < NameStart(path) ? path.size() : dot;
}

}  // namespace

bool IsFileExists(const std::string& path) {
  return PathExists(path);
}

std::string getfExt(const std::string& path) {
  return path.substr(ExtensionStart(path));
}

std::string getfName(const std::string& path) {
  const size_t start = NameStart(path);
  return path.substr(start, ExtensionStart(path) - start);
}

std::string getfPath(const std::string& path) {
  return path.substr(0, NameStart(path));
}

std::string ExePathOf(const std::string& commandLine) {
  if (!commandLine.empty() && commandLine[0] == '"') {
    return getfPath(commandLine.substr(1, commandLine.find('"', 1) - 1));
  }
  const size_t blank = commandLine.find(' ');
  return getfPath(blank == 0 ? commandLine : commandLine.substr(0, blank));
}

std::string GetNameAsDT() {
  char text[32];
  const std::tm now = desktop::LocalTime();
  return std::string(text, std::strftime(text, sizeof text, "%d%m%Y_%H%M%S", &now));
}

std::string GetTempFileNameA() {
  static std::mutex mutex;
  static std::int32_t lastTicks = 0;
  static std::int32_t counter = 0;
  const std::lock_guard lock(mutex);
  // Signed, as these numbers have always been printed: after 25 days without a restart the ticks are negative.
  const auto ticks = static_cast<std::int32_t>(desktop::Ticks());
  counter = ticks == lastTicks ? counter + 1 : 0;
  lastTicks = ticks;
  const auto thread = static_cast<std::int32_t>(desktop::MainThread());
  return std::to_string(thread) + "_" + std::to_string(ticks) + "_" + std::to_string(counter) + ".$$$";
}

}  // namespace zeltra

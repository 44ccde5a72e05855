// SPDX-License-Identifier: MIT
#include "zeltra/platform/System.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <system_error>

namespace zeltra {
namespace {

// No file system takes a longer name.
constexpr size_t kLongestName = 255;

}  // namespace

std::string ReasonOf(int error) {
  std::string reason = std::generic_category().message(error);
  // It is used at the end of a sentence.
  if (!reason.empty()) reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
  return reason;
}

std::string TemporaryNameFor(const std::string& path) {
  // Process numbers repeat, and machines that share a folder may use the same ones.
  std::random_device random;
  const uint64_t number = uint64_t{random()} << 32 | random();
  char ending[32];
  std::snprintf(ending, sizeof ending, ".part%016llx", static_cast<unsigned long long>(number));
  const size_t name = path.find_last_of("/\\") + 1;
  size_t end = std::min(path.size(), name + kLongestName - std::strlen(ending));
  // Do not cut a UTF-8 character.
  while (end < path.size() && end > name && (path[end] & 0xC0) == 0x80) --end;
  return path.substr(0, end) + ending;
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "zeltra/platform/System.h"

#include <cstdint>
#include <cstdio>
#include <random>

namespace zeltra {

std::string TemporaryNameFor(const std::string& path) {
  // Process numbers would repeat, between the machines that share a folder too.
  std::random_device random;
  const uint64_t number = uint64_t{random()} << 32 | random();
  char ending[32];
  std::snprintf(ending, sizeof ending, ".part%016llx", static_cast<unsigned long long>(number));
  return path + ending;
}

}  // namespace zeltra

// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/SVGToPNG.h"

namespace zeltra::app {

bool CanMakePNG() {
  return false;
}

std::string SVGToPNG(const std::string&) {
  return {};
}

}  // namespace zeltra::app

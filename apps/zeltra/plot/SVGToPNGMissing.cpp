// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/SVGToPNG.h"

namespace zeltra::app {

std::string ObstacleToPNG() {
  return "this program was built without librsvg";
}

std::string SVGToPNG(const std::string&) {
  return {};
}

}  // namespace zeltra::app

// SPDX-License-Identifier: MIT
#include "apps/zeltra/Gunzip.h"

namespace zeltra::app {

AResult Gunzip(const std::string&, const JobOptions&, std::unique_ptr<AInputFile>&) {
  return AResult::Ok();
}

}  // namespace zeltra::app

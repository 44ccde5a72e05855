// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobHost.h"

namespace zeltra {

ATableSink::~ATableSink() = default;

AJobHost::~AJobHost() = default;

AResult AJobHost::OpenInput(const std::string&, const JobOptions&, std::unique_ptr<AInputFile>&) {
  return AResult::Ok();
}

}  // namespace zeltra

// The job simulate: a UVX file of a simulated observation.
// SPDX-License-Identifier: MIT
#include "zeltra/ops/SimulateUVX.h"

#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

AResult RunSimulate(const AJobFiles& files, SimulateOptions& options, AJobHost& host) {
  AResult result = SimulateUVX(files.to(), options);
  if (result) ReportUVX(host, files.to());
  return result;
}

}  // namespace

AJob SimulateJob() {
  return JobOf<SimulateOptions, RunSimulate>(SimulateDescription);
}

}  // namespace zeltra

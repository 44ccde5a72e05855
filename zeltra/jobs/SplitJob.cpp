// The job split: a UVX file of each source and setup of another one.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/SplitUVX.h"

namespace zeltra {
namespace {

AResult RunSplit(const AJobFiles& files, SplitOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  SplitSummary summary;
  AResult result = SplitUVX(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (!result) return result;
  for (const std::string& path : summary.paths) ReportUVX(host, path);
  return result;
}

}  // namespace

AJob SplitJob() {
  return JobOf<SplitOptions, RunSplit>(SplitDescription);
}

}  // namespace zeltra

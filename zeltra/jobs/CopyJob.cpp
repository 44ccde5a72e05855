// The job copy: a part of a UVX file as another one.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra {
namespace {

AResult RunCopy(const AJobFiles& files, CopyOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  CopySummary summary;
  AResult result = CopyUVX(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (result) ReportUVX(host, files.to(), "", " of " + std::to_string(input.uvx().count()));
  return result;
}

}  // namespace

AJob CopyJob() {
  return JobOf<CopyOptions, RunCopy>(CopyDescription);
}

}  // namespace zeltra

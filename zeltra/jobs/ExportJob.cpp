// The job export: UVX into UV FITS.
// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

AResult RunExport(const AJobFiles& files, JobOptions& options, AJobHost& host) {
  if (AResult result = ExportUVFITS(files.from(), files.to(), options); !result) return result;
  AUVXInput from;
  if (from.Open(files.from())) ReportVisibilities(host, files.to(), from);
  return AResult::Ok();
}

}  // namespace

AJob ExportJob() {
  return JobOf<JobOptions, RunExport>(ExportDescription);
}

}  // namespace zeltra

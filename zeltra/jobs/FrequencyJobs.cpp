// The jobs delete-if, average-frequency, squeeze, unfold: files with other IFs or channels.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/AverageFrequency.h"
#include "zeltra/ops/DeleteIFs.h"
#include "zeltra/ops/SqueezeUVX.h"
#include "zeltra/ops/UnfoldUVX.h"

namespace zeltra {
namespace {

// Run a job that makes a UVX file of another.
template <typename Options, AResult (*job)(AUVXInput&, const std::string&, const Options&, CopySummary*)>
AResult Run(const AJobFiles& files, Options& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options, host); !result) return result;
  CopySummary summary;
  AResult result = job(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (result) ReportUVX(host, files.to());
  return result;
}

}  // namespace

AJob DeleteIFsJob() {
  return JobOf<DeleteIFsOptions, Run<DeleteIFsOptions, DeleteIFs>>(DeleteIFsDescription);
}

AJob AverageFrequencyJob() {
  return JobOf<AverageFrequencyOptions, Run<AverageFrequencyOptions, AverageFrequency>>(AverageFrequencyDescription);
}

AJob SqueezeJob() {
  return JobOf<SqueezeOptions, Run<SqueezeOptions, SaveAndSQ>>(SqueezeDescription);
}

AJob UnfoldJob() {
  return JobOf<UnfoldOptions, Run<UnfoldOptions, UnfoldUVX>>(UnfoldDescription);
}

}  // namespace zeltra

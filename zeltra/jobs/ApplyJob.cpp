// The job apply: a UVX file without the gains of its antennas.
// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ApplyGains.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

AResult RunApply(const AJobFiles& files, ApplyOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options, host); !result) return result;
  ApplySummary summary;
  AResult result = ApplyGains(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (!result) return result;
  ReportUVX(host, files.to(),
            ", " + std::to_string(summary.corrected) + " visibilities corrected" +
                (summary.areWeightsScaled ? ", weights follow the amplitudes" : ", weights as they were"));
  return AResult::Ok();
}

}  // namespace

AJob ApplyJob() {
  return JobOf<ApplyOptions, RunApply>(ApplyDescription);
}

}  // namespace zeltra

// The job shift: a UVX file with another phase centre.
// SPDX-License-Identifier: MIT
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ShiftUVX.h"

namespace zeltra {
namespace {

AResult RunShift(const AJobFiles& files, ShiftOptions& options, AJobHost& host) {
  AUVXInput input;
  UVXSelection named;
  named.sources = options.sources;
  if (AResult result = OpenInput(input, files.from(), named, options, host); !result) return result;
  ShiftSummary summary;
  AResult result = ShiftUVX(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (!result) return result;
  for (const ShiftedSource& source : summary.sources) {
    host.Report("source " + input.contents().SourceList({source.number}) + " is at " +
                RightAscensionText(source.position.ra) + " " + DeclinationText(source.position.dec) + ", equinox " +
                ReadableNumber(source.position.equinox));
  }
  ReportUVX(host, files.to());
  return AResult::Ok();
}

}  // namespace

AJob ShiftJob() {
  return JobOf<ShiftOptions, RunShift>(ShiftDescription);
}

}  // namespace zeltra

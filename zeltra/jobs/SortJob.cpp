// The job sort: the records of a UVX file in another order.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/SortUVX.h"

namespace zeltra {
namespace {

AResult RunSort(const AJobFiles& files, SortOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options, host); !result) return result;
  SortSummary summary;
  AResult result = ResortUVXFile(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (result) ReportUVX(host, files.to(), summary.wasSorted ? ", in order already" : "");
  return result;
}

}  // namespace

AJob SortJob() {
  return JobOf<SortOptions, RunSort>(SortDescription);
}

}  // namespace zeltra

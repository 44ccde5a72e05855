// The job import: UV FITS into UVX.
// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ImportUVFITS.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

AResult RunImport(const AJobFiles& files, ImportOptions& options, AJobHost& host) {
  ImportSummary summary;
  std::unique_ptr<AInputFile> plain;
  AResult result = host.OpenInput(files.from(), options, plain);
  if (result) {
    result = plain ? ImportUVFITS(std::move(plain), files.to(), options, &summary)
                   : ImportUVFITS(files.from(), files.to(), options, &summary);
  }
  NoteAll(summary.remarks, host);
  if (result) ReportUVX(host, files.to(), summary.sorted ? ", sorted by time" : "");
  return result;
}

}  // namespace

AJob ImportJob() {
  return JobOf<ImportOptions, RunImport>(ImportDescription);
}

}  // namespace zeltra

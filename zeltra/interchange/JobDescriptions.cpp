// The options and results of import and export, as the user sees them.
// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/interchange/ImportUVFITS.h"
#include "zeltra/interchange/ScanGapInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeImport() {
  AJobDescriber<ImportOptions> job(
      "import", "Import random-groups UV FITS into a UVX file",
      "Values are those of the source bit for bit. Groups in time order keep their order; others are sorted by time, "
      "then baseline. Whatever a UVX file has no place for is reported.");
  job.Input({"IN.uvfits", "the file to import", "", 0, {}});
  job.Output({"OUT.uvx", "the file to make", "", 0, {}});
  job.Option("subarray", &ImportOptions::subarray, "import this subarray alone")
      .Range(1, 100)
      .Otherwise("all, as one list of antennas");
  DescribeScanGap(job);
  job.Threads();
  job.Overwrite();
  return job.Finish();
}

AJobDescription DescribeExport() {
  AJobDescriber<JobOptions> job("export", "Export a UVX file as random-groups UV FITS",
                                "32-bit floats, with AIPS tables as binary tables.");
  job.Input({"IN.uvx", "the file to export", "", 0, {}});
  job.Output({"OUT.uvfits", "the file to make", "", 0, {}});
  job.Overwrite();
  return job.Finish();
}

}  // namespace

const AJobDescription& ImportDescription() {
  static const AJobDescription description = DescribeImport();
  return description;
}

const AJobDescription& ExportDescription() {
  static const AJobDescription description = DescribeExport();
  return description;
}

}  // namespace zeltra

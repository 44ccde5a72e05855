// What a file contains, for people and programs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_INFOJOB_H_
#define ZELTRA_JOBS_INFOJOB_H_

#include <string>
#include <vector>

#include "zeltra/jobs/JobHost.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXFluxes.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

struct InfoOptions : JobOptions {
  bool json = false;  ///< the job itself always gives JSON; the command has a page for people, too
  bool baselines = false;
  UVXSelection selection;
};

struct FileInfo {
  AUVXInput input;
  std::vector<AUVXPositionItem> scans;  ///< the first ones, with the times of their records
  AUVXFluxes fluxes;                    ///< statistics of the baselines, if they were asked for
};

/// Open a file and read what it contains, noting what is wrong with it.
ZELTRA_API AResult ReadInfo(const std::string& path, const InfoOptions& options, AJobHost& host, FileInfo& info);
/// Read the times of the first scans.
ZELTRA_API AResult ReadScans(const JobOptions& options, int most, FileInfo& info);

/// The number of antennas in the antenna table; 0 if there is none, as antennas then appear only in the list of
/// baselines.
ZELTRA_API int ListedAntennas(const AUVXContents& contents);

/// Deliver what `zeltra info --json` prints.
ZELTRA_API AResult RunInfo(const AJobFiles& files, InfoOptions& options, AJobHost& host);

ZELTRA_API const AJobDescription& InfoDescription();

}  // namespace zeltra

#endif  // ZELTRA_JOBS_INFOJOB_H_

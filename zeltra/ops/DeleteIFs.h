// A UVX file without some of its IFs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_DELETEIFS_H_
#define ZELTRA_OPS_DELETEIFS_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra {

/// IFs by their places, from 0: either those that go or those that stay.
struct DeleteIFsOptions : JobOptions {
  std::vector<int> deleted;
  std::vector<int> kept;
};

/// Delete IFs from the records and from all tables. Tables, frequencies and scans are those that CopyUVX makes of the
/// IFs that stay.
/// @param summary  may be null
/// @return a failure if no IFs or all are to go, or some that there are not: there is no output then
ZELTRA_API AResult DeleteIFs(AUVXInput& from, const std::string& to, const DeleteIFsOptions& options,
                             CopySummary* summary = nullptr);

/// What a person may tell the job.
ZELTRA_API const AJobDescription& DeleteIFsDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_DELETEIFS_H_

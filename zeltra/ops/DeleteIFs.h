// Removes IFs from a UVX file.
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

/// IFs by number, from 0: either those to delete or those to keep.
struct DeleteIFsOptions : JobOptions {
  std::vector<int> deleted;
  std::vector<int> kept;
};

/// Delete IFs from the records and from all tables. Tables, frequencies and scans are those that CopyUVX makes for the
/// remaining IFs.
/// @param summary  may be null
/// @return a failure, without output, if no IF or all of them would be deleted, or one that does not exist
ZELTRA_API AResult DeleteIFs(AUVXInput& from, const std::string& to, const DeleteIFsOptions& options,
                             CopySummary* summary = nullptr);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& DeleteIFsDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_DELETEIFS_H_

// Copies part of a file, for jobs that do this under another name.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_COPYPARTINTERNAL_H_
#define ZELTRA_OPS_COPYPARTINTERNAL_H_

#include <string>

#include "zeltra/ops/CopyUVX.h"

namespace zeltra {

/// Copy as CopyUVX does. @param command  for the HISTORY line: see AJobDescription::Command
AResult CopyPart(AUVXInput& from, const std::string& to, const CopyOptions& options, const std::string& command,
                 CopySummary* summary);

}  // namespace zeltra

#endif  // ZELTRA_OPS_COPYPARTINTERNAL_H_

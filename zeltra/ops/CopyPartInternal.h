// The copy of a part of a file, for jobs that are one under another name.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_COPYPARTINTERNAL_H_
#define ZELTRA_OPS_COPYPARTINTERNAL_H_

#include <string>

#include "zeltra/ops/CopyUVX.h"

namespace zeltra {

/// Copy as CopyUVX does. @param command  what the HISTORY line says: see AJobDescription::Command
AResult CopyPart(AUVXInput& from, const std::string& to, const CopyOptions& options, const std::string& command,
                 CopySummary* summary);

}  // namespace zeltra

#endif  // ZELTRA_OPS_COPYPARTINTERNAL_H_

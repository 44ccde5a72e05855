// Writes a small file in one call.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_WRITEWHOLEFILE_H_
#define ZELTRA_CORE_WRITEWHOLEFILE_H_

#include <string>

#include "zeltra/core/AResult.h"

namespace zeltra {

/// Write `bytes` as a file that appears under its name only when it is complete.
/// @param overwrite  whether to replace a file that already has the name
/// @param sync       whether to wait until the disk holds the file
ZELTRA_API AResult WriteWholeFile(const std::string& path, const std::string& bytes, bool overwrite, bool sync = true);

}  // namespace zeltra

#endif  // ZELTRA_CORE_WRITEWHOLEFILE_H_

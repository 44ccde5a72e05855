// Copies a file while the user watches.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_FILECOPY_H_
#define ZELTRA_DESKTOP_FILECOPY_H_

#include <string>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra {

/// Copy the file `src` to `dst`, which is created or replaced.
///
/// @param cancel    checked before each chunk of 8192 bytes; true ends the copy. May be null
/// @param progress  receives PBM_SETPOS with the percentage copied before a chunk, when it changes. So the last
///                  position is the rounded percentage before the last chunk: 0 for a file of one chunk, 100 only for
///                  one of 200 chunks or more. The caller sets the range. May be null
/// @return true once every byte is in `dst`. A copy that is cancelled or fails leaves the part that was copied. A file
///         is not copied onto itself, whatever names are used: that returns false and leaves the file unchanged
ZELTRA_API bool fCopy(const std::string& src, const std::string& dst, bool* cancel, CProgressCtrl* progress);

}  // namespace zeltra

#endif  // ZELTRA_DESKTOP_FILECOPY_H_

// Inputs that are not files of visibilities, and what to do with them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_
#define ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_

#include <string>

#include "zeltra/core/AInputFile.h"

namespace zeltra {

/// What `path` is if it is not a file: a folder (possibly a Measurement Set), a pipe or a device. Opens nothing, since
/// opening a pipe would wait for its writer.
/// @return a sentence without the path; empty for a file that may hold visibilities, and if there is no such file
std::string WhyNoInput(const std::string& path);
/// The same for a file: says if it is compressed.
std::string WhyNoInput(const AInputFile& file);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_

// Inputs that are no file of visibilities, and what to do with them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_
#define ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_

#include <string>

#include "zeltra/core/AInputFile.h"

namespace zeltra {

/// What `path` is, where it is no file: a folder, a Measurement Set among them, a pipe, a device. Opens nothing, since
/// a pipe would wait for its writer.
/// @return a sentence without the path; empty for a file that may be one of visibilities, and where there is none
std::string WhyNoInput(const std::string& path);
/// The same of a file: one that is compressed.
std::string WhyNoInput(const AInputFile& file);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_

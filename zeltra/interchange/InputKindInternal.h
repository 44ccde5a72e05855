// Inputs that are no file of visibilities, and what to do with them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_
#define ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_

#include <string>

namespace zeltra {

/// What `path` is, where that can be told and is neither UVX nor FITS: a folder, a Measurement Set among them, a pipe,
/// a device, a compressed file. Opens nothing but files, since a pipe would wait for its writer.
/// @return a sentence without the path; empty for a file that may be one of visibilities, and where there is none
std::string WhyNoInput(const std::string& path);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_INPUTKINDINTERNAL_H_

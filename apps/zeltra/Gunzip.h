// Inputs that are compressed with gzip.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_GUNZIP_H_
#define ZELTRA_APPS_GUNZIP_H_

#include <memory>
#include <string>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra::app {

/// Decompress a file that begins as gzip's do into a temporary one, which goes with the object and has the name of the
/// compressed one in sentences. A program that was built without zlib decompresses nothing.
/// @param plain  null for any other file, and where there is none
AResult Gunzip(const std::string& path, const JobOptions& options, std::unique_ptr<AInputFile>& plain);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_GUNZIP_H_

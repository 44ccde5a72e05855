// Inputs compressed with gzip.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_GUNZIP_H_
#define ZELTRA_APPS_GUNZIP_H_

#include <memory>
#include <string>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra::app {

/// Decompress a file that begins like a gzip file into a temporary one, which is removed with the object and goes by
/// the name of the compressed one in messages. A program built without zlib decompresses nothing.
/// @param plain  null for any other file, and if there is no file
AResult Gunzip(const std::string& path, const JobOptions& options, std::unique_ptr<AInputFile>& plain);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_GUNZIP_H_

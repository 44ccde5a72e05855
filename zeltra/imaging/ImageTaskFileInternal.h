// A task for workers, as a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_IMAGETASKFILEINTERNAL_H_
#define ZELTRA_IMAGING_IMAGETASKFILEINTERNAL_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/imaging/ImagePartsInternal.h"

namespace zeltra {

/// All that a worker has to know. The file holds the bits of all numbers, and only the version that wrote it can read
/// it.
struct ImageTaskFile {
  std::string input;     ///< path of the UVX file
  std::string content;   ///< its hash
  ImageOptions options;  ///< selection, size and weighting
  ImageTask task;
  GriddingWeights weights;

  AResult Store(const std::string& path);
  AResult Load(const std::string& path);
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_IMAGETASKFILEINTERNAL_H_

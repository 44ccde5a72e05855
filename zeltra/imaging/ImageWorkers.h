// Images whose sums over visibilities are made by several processes, on one machine or on many.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_IMAGEWORKERS_H_
#define ZELTRA_IMAGING_IMAGEWORKERS_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// Has the parts of a task done, by any processes that see the same files.
class ZELTRA_API AImageWorkers {
 public:
  virtual ~AImageWorkers();

  /// A folder that belongs to one job as long as it runs, and that all workers see.
  virtual const std::string& folder() const = 0;
  /// Have RunImagePart called for each part from 1 to `parts`, in any order.
  /// @param task  a file in that folder
  virtual AResult Run(const std::string& task, int parts) = 0;
};

/// Do one part of a task, which may have been done before. The result is a file beside that of the task.
/// @param part  from 1
/// @return a failure also if the task is of another version of the library, or if its input has changed since
ZELTRA_API AResult RunImagePart(const std::string& task, int part, const JobOptions& options);

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_IMAGEWORKERS_H_

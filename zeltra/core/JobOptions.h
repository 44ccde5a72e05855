// What every whole-file job takes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_JOBOPTIONS_H_
#define ZELTRA_CORE_JOBOPTIONS_H_

#include "zeltra/core/CancelFlag.h"
#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra {

struct JobOptions {
  /// Receives the range 0..100, the names of the steps and whole percentages, on the caller's thread; not owned.
  CProgressCtrl* progress = nullptr;
  /// A value other than 0 ends the job soon with AResult::Cancelled; not owned.
  const ACancelFlag* cancel = nullptr;
  /// Whether an output that exists already gives way.
  bool overwrite = false;
  /// Whether a job ends only when the disk holds its outputs, under their names.
  bool sync = true;
  /// Threads that a job may use; 0 for one a processor. Results are the same bits for any number.
  int threads = 0;
};

/// Whether the job is asked to stop.
inline bool IsCancelled(const JobOptions& options) {
  return IsSet(options.cancel);
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_JOBOPTIONS_H_

// Options common to all whole-file jobs.
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
  /// Whether an existing output is replaced.
  bool overwrite = false;
  /// Whether a job waits until its outputs are safely on disk, under their final names.
  bool sync = true;
  /// Threads that a job may use; 0 means one per processor. Results are bit-identical for any number.
  int threads = 0;
};

/// Whether the job has been asked to stop.
inline bool IsCancelled(const JobOptions& options) {
  return IsSet(options.cancel);
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_JOBOPTIONS_H_

// What every whole-file job takes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_JOBOPTIONS_H_
#define ZELTRA_OPS_JOBOPTIONS_H_

#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra {

struct JobOptions {
  /// Receives the range 0..100, the names of the steps and whole percentages; not owned.
  CProgressCtrl* progress = nullptr;
  /// A value other than 0 ends the job soon with AResult::Cancelled; may be set from another thread or a signal
  /// handler.
  int* cancel = nullptr;
  /// Whether an output that exists already gives way.
  bool overwrite = false;
};

/// Whether the job is asked to stop.
inline bool IsCancelled(const JobOptions& options) {
  return options.cancel && *static_cast<volatile int*>(options.cancel) != 0;
}

}  // namespace zeltra

#endif  // ZELTRA_OPS_JOBOPTIONS_H_

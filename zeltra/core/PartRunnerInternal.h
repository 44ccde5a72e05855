// Runs the parts of a job on several threads and delivers their results in order.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_PARTRUNNERINTERNAL_H_
#define ZELTRA_CORE_PARTRUNNERINTERNAL_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// Where a part delivers what it makes.
class PartOutput {
 public:
  virtual ~PartOutput() = default;
  /// Deliver bytes, after everything delivered by the parts before this one, and earlier by this one.
  /// @return false if the job has ended; the part should then end too
  virtual bool Put(std::vector<char> bytes) = 0;
  /// Report that `n` more units of the job's work are done. @return false if the job has ended
  virtual bool Count(int64 n) = 0;
};

/// Works on one part after another, on a thread of its own.
class PartWorker {
 public:
  virtual ~PartWorker() = default;
  /// @return a failure, which ends the job; it is ignored if `output` has already said that the job has ended
  virtual AResult Run(int part, PartOutput& output) = 0;
};

/// A job divided into parts.
struct PartJob {
  std::string name;  ///< prefix of the sentence for a cancelled job
  int parts = 0;
  int64 work = 0;  ///< units of work in all parts, for the progress control
  std::function<std::unique_ptr<PartWorker>()> worker;
  /// Receives what the parts deliver, on the caller's thread. A failure ends the job.
  std::function<AResult(const std::vector<char>&)> take;
};

/// Run all parts on as many threads as `options` allow. What is delivered, and the failure returned, are the same for
/// any number of threads. At most about 32 MiB, plus what one call of Put delivers, wait at a time.
AResult RunParts(const PartJob& job, const JobOptions& options);

/// The number of threads that RunParts uses for this many parts.
int ThreadsFor(int parts, const JobOptions& options);

}  // namespace zeltra

#endif  // ZELTRA_CORE_PARTRUNNERINTERNAL_H_

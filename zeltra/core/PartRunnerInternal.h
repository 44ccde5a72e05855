// The parts of a job on several threads, their results in order.
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

/// Where a part hands on what it makes.
class PartOutput {
 public:
  virtual ~PartOutput() = default;
  /// Hand on bytes, which are taken after everything that was handed on before, by this part and by those before it.
  /// @return false if the job has ended, and the part with it
  virtual bool Put(std::vector<char> bytes) = 0;
  /// Tell that `n` more units of the job's work are done. @return false if the job has ended
  virtual bool Count(int64 n) = 0;
};

/// Works on parts, one after the other, on a thread of its own.
class PartWorker {
 public:
  virtual ~PartWorker() = default;
  /// @return a failure, which ends the job; what is returned after `output` said that the job has ended does not count
  virtual AResult Run(int part, PartOutput& output) = 0;
};

/// A job that is cut into parts.
struct PartJob {
  std::string name;  ///< stands before the sentence of a cancelled job
  int parts = 0;
  int64 work = 0;  ///< units of work in all parts, for the progress
  std::function<std::unique_ptr<PartWorker>()> worker;
  /// Takes what the parts hand on, on the caller's thread. A failure ends the job.
  std::function<AResult(const std::vector<char>&)> take;
};

/// Run all parts on as many threads as `options` allow. What is taken, and the failure that is returned, are the same
/// for any number of threads. At most some 32 MiB wait to be taken, and what one call of Put hands on.
AResult RunParts(const PartJob& job, const JobOptions& options);

/// Threads that RunParts uses for so many parts.
int ThreadsFor(int parts, const JobOptions& options);

}  // namespace zeltra

#endif  // ZELTRA_CORE_PARTRUNNERINTERNAL_H_

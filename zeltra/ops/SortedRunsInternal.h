// Sorted runs of records on the disk, and their merging.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SORTEDRUNSINTERNAL_H_
#define ZELTRA_OPS_SORTEDRUNSINTERNAL_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/BlockWriterInternal.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/core/TemporaryFileInternal.h"
#include "zeltra/ops/SortKeysInternal.h"

namespace zeltra {

/// Runs of records in a temporary file, each record after its key, each run in the order of its keys.
class SortedRuns {
 public:
  using Sink = std::function<AResult(const SortKey& key, const char* record)>;

  /// @param output  the file of runs is made beside it
  SortedRuns(const std::string& output, int recordBytes, const JobOptions& options);

  AResult Create() { return file_.Create(output_); }
  /// Append the next record of a run.
  AResult Append(const SortKey& key, const char* record);
  AResult EndRun();
  size_t count() const { return runs_.size(); }
  /// Bytes of a record with its key.
  int entryBytes() const { return static_cast<int>(sizeof(SortKey)) + recordBytes_; }

  /// Merge all runs into `sink`. Each run needs a block of memory: as many runs are merged at a time as fit into
  /// `memory` bytes, but at least two; if there are more, they are merged into longer ones first.
  AResult Merge(double memory, const Sink& sink);

 private:
  class Cursor;
  struct Run {
    int64 begin, end;
  };

  AResult Write(const char* bytes, int64 n);
  AResult MergeSome(size_t first, size_t end, double memory, const Sink& sink) const;

  const std::string output_;
  const int recordBytes_;
  const JobOptions options_;
  TemporaryFile file_;
  BlockWriter block_;
  int64 written_ = 0;
  std::vector<Run> runs_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_SORTEDRUNSINTERNAL_H_

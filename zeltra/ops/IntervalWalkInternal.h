// The walk over the time intervals of a file, for every job that forms them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALWALKINTERNAL_H_
#define ZELTRA_OPS_INTERVALWALKINTERNAL_H_

#include <functional>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/ops/IntervalPlanInternal.h"
#include "zeltra/ops/IntervalSumsInternal.h"
#include "zeltra/ops/ValueChoiceInternal.h"

namespace zeltra {

/// A whole interval of one stream, or some of its baselines where not all of them fit the memory.
struct Interval {
  IntervalStream stream;
  int scan;     ///< place in the index of the scan that it lies in, or where that goes on later, of its first records
  double time;  ///< Julian date: the mean of the records' times with their weights, plain where all are 0
  IntervalSums& sums;
};

/// Reads the selected records part by part and adds them up interval by interval, each source and setup by itself.
///
/// Order of calls:
///   Open   looks the selections up
///   Run    visits all intervals
///
/// An interval ends where its time is over or where a scan of the index ends. A scan goes on where records of others
/// lie between its records at the same time stamps. Flagged records do not count.
class IntervalWalk {
 public:
  /// Whether an interval whose baselines do not fit the memory may be finished piece by piece, baselines ascending.
  enum class Pieces { Allowed, Whole };
  /// Turns an interval, or a piece of one, into bytes, on any thread.
  using Finish = std::function<void(const Interval&, std::vector<char>& bytes)>;
  /// Takes these bytes on the caller's thread, in the order of the intervals' times, then of streams.
  using Take = std::function<AResult(const std::vector<char>& bytes)>;

  IntervalWalk(AUVXInput& input, const IntervalOptions& options)
      : input_(input), options_(options), plan_(input, options) {}

  AResult Open() { return plan_.Open(); }
  const AUVXContents& contents() const { return plan_.contents(); }

  /// @return a failure also if bounds of time leave no interval
  AResult Run(const ValueChoice& choice, Pieces pieces, const Finish& finish, const Take& take);

 private:
  AUVXInput& input_;
  const IntervalOptions options_;
  IntervalPlan plan_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALWALKINTERNAL_H_

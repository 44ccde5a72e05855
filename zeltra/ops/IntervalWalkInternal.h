// The walk over the time intervals of a file, for every job that forms them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALWALKINTERNAL_H_
#define ZELTRA_OPS_INTERVALWALKINTERNAL_H_

#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/ops/IntervalPlanInternal.h"
#include "zeltra/ops/IntervalSumsInternal.h"
#include "zeltra/ops/ValueChoiceInternal.h"

namespace zeltra {

/// What a job keeps of an interval until it is complete.
struct IntervalState {
  virtual ~IntervalState() = default;
};

/// Sums of one stream: a whole interval, some of its baselines or of its values, or one of its time stamps.
struct Interval {
  /// What ends with these sums: a time stamp, an interval for these values, or the interval.
  enum Complete { TimeStamp, Values, All };

  IntervalStream stream;
  int part;       ///< place in the plan
  int scan;       ///< place in the index of the scan that it lies in; of the first entry, if the scan has several
  double time;    ///< Julian date: the mean of the records' times with their weights, plain where all of these are
                  ///< 0; 0 for a time stamp
  float seconds;  ///< that its records cover: the sum of the integration times of its time stamps; 0 if not known
  IntervalSums& sums;
  int firstValue;  ///< place in a record of the first value of the sums
  Complete complete;
  std::unique_ptr<IntervalState>& state;  ///< null with the first sums of an interval
  /// Takes what has been made so far, if that is much, and leaves `bytes` empty. @return false if the job has ended
  const std::function<bool(std::vector<char>& bytes)>& handOn;
};

/// Reads the selected records part by part and adds them up interval by interval, each source and setup by itself.
///
/// Order of calls:
///   Open   looks the selections up
///   Run    visits all intervals
///
/// An interval ends where its time is over or where a scan of the index ends. A scan goes on where records of others
/// merely lie between its records at the same time stamps. Flagged records do not count.
class IntervalWalk {
 public:
  /// How an interval whose sums do not fit into memory is finished: some baselines at a time, ascending, with all their
  /// values; or some values at a time, of all baselines.
  enum class Pieces { Baselines, Values };
  /// Adds a record to what a job keeps of its interval, in place of the sums.
  /// @param stored  its values as they stand in the file, at any address
  using Add = std::function<void(std::unique_ptr<IntervalState>& state, const AUVXGroup& group, const char* stored,
                                 int record)>;
  struct Shape {
    Pieces pieces = Pieces::Baselines;
    bool byTimeStamp = false;                          ///< Pieces::Values: also each time stamp by itself
    int mostValues = std::numeric_limits<int>::max();  ///< Pieces::Values: the most that are taken at a time
    std::function<Add()> adder = {};  ///< makes one for each thread; empty: records are added to the sums
  };
  /// Turns sums into bytes, on any thread.
  using Finish = std::function<void(const Interval&, std::vector<char>& bytes)>;
  /// Takes these bytes on the caller's thread, in the order of the intervals' times, then of streams.
  using Take = std::function<AResult(const std::vector<char>& bytes)>;

  IntervalWalk(AUVXInput& input, const IntervalOptions& options)
      : input_(input), options_(options), plan_(input, options) {}

  /// @param leftOut  conditions of the selection that the job checks itself, a sum of RecordChoice::LeftOut
  AResult Open(unsigned leftOut = RecordChoice::Nothing) { return plan_.Open(leftOut); }
  const AUVXContents& contents() const { return plan_.contents(); }
  /// How many parts the plan has, whether this job does them all or not.
  int parts() const { return static_cast<int>(plan_.parts().size()); }

  /// @return a failure also if no record is left
  AResult Run(const ValueChoice& choice, const Shape& shape, const Finish& finish, const Take& take);

 private:
  AUVXInput& input_;
  const IntervalOptions options_;
  IntervalPlan plan_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALWALKINTERNAL_H_

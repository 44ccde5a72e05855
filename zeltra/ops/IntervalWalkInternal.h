// A walk over the time intervals of a file, source by source and setup by setup, in time order.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALWALKINTERNAL_H_
#define ZELTRA_OPS_INTERVALWALKINTERNAL_H_

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/ops/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/readers/AUVXTimeIntervalRead.h"

namespace zeltra {

class AUVXContents;

/// The records of one source in one setup.
struct IntervalStream {
  int source = 0;
  int setup = 0;
  int records = 0;
  double begin = 0;  ///< seconds: where the intervals are counted from
};

/// What the readers of one walk share: the clock, the bounds of time, the progress, and why the walk ends early.
class IntervalWatch {
 public:
  IntervalWatch(const std::string& path, const IntervalOptions& options) : path_(path), options_(options) {}

  /// Settle the clock, which counts from `midnight`, a Julian date, and what is to be read.
  void Start(double midnight, int64 records);

  /// Seconds since `midnight`, to 0.1 ms: a Julian date in double precision is good for 0.04 ms, and times that are
  /// the same but for that should fall on the same side of a bound.
  double Seconds(double julianDate) const;
  double JulianDate(double seconds) const { return midnight_ + seconds / 86400.0; }
  bool IsInside(double seconds) const { return seconds >= begin_ && seconds <= end_; }
  double end() const { return end_; }

  /// Tell that one more record was read. @return false if the walk is to end
  bool CountRecord();
  /// End the walk with a failure: a sentence without the name of the file.
  void Fail(const std::string& sentence);
  bool IsStopped() const { return !failure_.empty() || IsCancelled(options_); }
  /// Why the walk ended, if it is stopped.
  AResult Why() const;

 private:
  const std::string path_;
  const IntervalOptions& options_;
  double midnight_ = 0;
  double begin_ = std::numeric_limits<double>::lowest();
  double end_ = std::numeric_limits<double>::max();
  int64 records_ = 0;
  int64 read_ = 0;
  int lastPercent_ = -1;
  std::string failure_;
};

/// Reads the scans of one source in one setup, or those of their records that lie in a range.
class RangeRead : public AUVXRead_FqS {
 public:
  /// @param first, last  indices of records, both included
  RangeRead(AUVXFile& file, const IntervalStream& stream, int first = 0, int last = std::numeric_limits<int>::max());
};

/// A time-interval reader whose times are seconds.
///
/// The reader that it derives from works in the unit of its records' times, days: it would take time stamps within
/// 1e-5 days (0.86 s) for one, and the mean times of its intervals would be rounded to 0.01 days. So every record's
/// time is turned into seconds where the reader first shows the record, in IsDropUVVis; after that 1e-5 is 10
/// microseconds, less than two distinct Julian dates differ by, and mean times are rounded to 0.01 s.
class SecondsRead : public AUVXTIRead_RL {
 public:
  /// @param reader  the reader of `stream`, not owned
  /// @param mix     see AUVXTIRead_RL
  SecondsRead(RangeRead* reader, const IntervalStream& stream, IntervalWatch& watch, const IntervalOptions& options,
              AArray<AStokesMix>* mix);

  /// Drop flagged records and those outside the bounds of time. When the walk is to end, the record appears to be so
  /// late that every interval ends.
  int IsDropUVVis(AUVXGroup& group, AUVXVisibility& vis, int pos) override;

  /// Add a record. Phases are unwrapped from the first valid one on: the array unwraps them from that of the baseline's
  /// first record, valid or not, which puts some means half a turn off.
  void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override;

  /// Records read so far.
  int read() const { return read_; }

 protected:
  AUVXTimeMeanArray& means() { return *static_cast<AUVXTimeMeanArray*>(GetArray()); }

 private:
  const IntervalStream stream_;
  IntervalWatch& watch_;
  const bool complexMean_;
  std::vector<int> invalid_;  // values of the baseline without a valid one before the current record
  int read_ = 0;
  double last_ = std::numeric_limits<double>::lowest();
};

/// Take values that are not finite out of every mean: they become flagged zeros.
void FlagOddValues(AUVXComplex* values, int count);

/// Walks over the intervals of all selected streams.
class IntervalWalk {
 public:
  using Make = std::function<std::unique_ptr<SecondsRead>(RangeRead&, const IntervalStream&, IntervalWatch&)>;
  /// Takes an interval with its sums; `julianDate` is its mean time. The position of the file may be moved.
  using Take = std::function<AResult(SecondsRead&, AUVXTimeMeanArray&, const IntervalStream&, double julianDate)>;

  IntervalWalk(AUVXInput& input, const IntervalOptions& options)
      : input_(input), options_(options), watch_(input.path(), options_) {}

  /// Look the selections up.
  AResult Open();
  const std::vector<IntervalStream>& streams() const { return streams_; }
  IntervalWatch& watch() { return watch_; }

  /// Visit every interval in the order of mean time, then of streams.
  AResult Run(const Make& make, const Take& take);

 private:
  struct Lane;

  AResult FindStreams(const AUVXContents& contents);
  AResult SettleTimes(const AUVXContents& contents);
  AResult Advance(Lane& lane);

  AUVXInput& input_;
  const IntervalOptions options_;
  IntervalWatch watch_;
  std::vector<IntervalStream> streams_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALWALKINTERNAL_H_

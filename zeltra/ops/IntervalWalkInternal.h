// A walk over the time intervals of a file, source by source and setup by setup, in time order.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALWALKINTERNAL_H_
#define ZELTRA_OPS_INTERVALWALKINTERNAL_H_

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/readers/AUVXTimeIntervalRead.h"

namespace zeltra {

class AUVXContents;

/// The records of one source in one setup.
struct IntervalStream {
  int source = 0;
  int setup = 0;
  int firstRecord = 0;  ///< its index in the file
  int records = 0;
  double first = 0;  ///< seconds: of the first record, or the start of the selection where that is later
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
  SecondsRead(AUVXRead_FqS* reader, const IntervalStream& stream, IntervalWatch& watch, const IntervalOptions& options,
              AArray<AStokesMix>* mix);

  /// Drop flagged records and those outside the bounds of time. When the walk is to end, the record appears to be so
  /// late that every interval ends.
  int IsDropUVVis(AUVXGroup& group, AUVXVisibility& vis, int pos) override;

  /// Add a record. Phases are unwrapped from the first valid one on: the array unwraps them from that of the baseline's
  /// first record, valid or not, which puts some means half a turn off.
  void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override;

  using AUVXTIRead_RL::GoToStart;

  /// Free the interval.
  virtual void Release();

  /// Records read so far.
  int read() const { return read_; }
  /// Seconds of the last of them: the one that opens the next interval, if there is one.
  double last() const { return last_; }

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
  using Make = std::function<std::unique_ptr<SecondsRead>(AUVXRead_FqS&, const IntervalStream&, IntervalWatch&)>;
  /// Takes an interval with its sums; `julianDate` is its mean time. The position of the file may be moved.
  using Take = std::function<AResult(SecondsRead&, AUVXTimeMeanArray&, const IntervalStream&, double julianDate)>;

  IntervalWalk(AUVXInput& input, const IntervalOptions& options)
      : input_(input), options_(options), watch_(input.path(), options_) {}

  /// Look the selections up.
  AResult Open();
  IntervalWatch& watch() { return watch_; }

  /// The scans of a range of records.
  /// @param first, last  indices, both included
  std::shared_ptr<AUVXPosition> ScansOf(int first, int last) const;

  /// Visit every interval in the order of mean time, then of streams.
  /// @return a failure also if bounds of time leave none
  AResult Run(const Make& make, const Take& take);

 private:
  struct Lane;

  AResult FindStreams(const AUVXContents& contents);
  AResult SettleTimes(const AUVXContents& contents);
  double MeanTime(const IntervalStream& stream, double seconds) const;
  AResult Begin(std::unique_ptr<Lane>& lane, const IntervalStream& stream, const Make& make);
  AResult TakeNext(std::unique_ptr<Lane>& lane, const IntervalStream& stream, const Take& take);

  AUVXInput& input_;
  IntervalOptions options_;
  IntervalWatch watch_;
  std::vector<IntervalStream> streams_;
  std::shared_ptr<AUVXPosition> scans_;
  int64 begun_ = 0;  // streams that have begun and not ended
  bool hasTaken_ = false;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALWALKINTERNAL_H_

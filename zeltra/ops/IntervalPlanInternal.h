// Divides a walk over time intervals into parts.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_INTERVALPLANINTERNAL_H_
#define ZELTRA_OPS_INTERVALPLANINTERNAL_H_

#include <limits>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/ops/RecordChoice.h"

namespace zeltra {

/// The records of one source in one setup.
struct IntervalStream {
  int source = 0;
  int setup = 0;
};

/// Counts time in whole ticks of 0.1 ms since 0 h of the observation date: a Julian date in double precision is
/// accurate to 0.04 ms, and times that differ by no more than that must fall on the same side of a bound.
class IntervalClock {
 public:
  static constexpr double kTicksPerSecond = 1e4;

  IntervalClock() = default;
  /// @param midnight  the Julian date of tick 0
  /// @param interval  length, seconds; negative: each time is an interval
  IntervalClock(double midnight, const RecordChoice& choice, double interval);

  double Ticks(double julianDate) const;
  /// Whether records at this time count.
  bool IsSelected(double ticks) const { return ticks >= first_ && ticks <= last_; }
  /// Whether records from `begin` up to, but not including, `end` may count.
  bool MaySelect(double begin, double end) const { return begin <= last_ && end > first_; }
  /// The interval that a time falls in, as a number that grows with time.
  double Cell(double ticks) const;
  /// The start of an interval.
  double Begin(double cell) const;

 private:
  double midnight_ = 0;
  double first_ = std::numeric_limits<double>::lowest(), last_ = std::numeric_limits<double>::max();
  double origin_ = 0;  // of the intervals
  double length_ = 0;  // 0: each time is an interval
};

/// Records `first` up to, but not including, `end`.
struct RecordRange {
  int first = 0;
  int end = 0;
};

/// All records of some whole intervals.
struct IntervalPart {
  /// One range in most files. Files that are not in time order have several, each in time order.
  std::vector<RecordRange> ranges;
  double begin = std::numeric_limits<double>::lowest();  ///< ticks
  double end = std::numeric_limits<double>::max();
};

/// The selected streams, and the parts that their records are read in. The plan depends on the file and the options,
/// not on the number of threads.
class IntervalPlan {
 public:
  IntervalPlan(AUVXInput& input, const IntervalOptions& options)
      : input_(input), options_(options), contents_(input.contents()) {}

  /// Look up the selections, check the index, and divide the records.
  /// @param leftOut  conditions of the selection that the job checks itself, a sum of RecordChoice::LeftOut
  AResult Open(unsigned leftOut);

  const AUVXContents& contents() const { return contents_; }
  const RecordChoice& choice() const { return choice_; }
  const IntervalClock& clock() const { return clock_; }
  const std::vector<IntervalPart>& parts() const { return parts_; }
  const std::vector<IntervalStream>& streams() const { return streams_; }
  /// Records of a part.
  int64 RecordsOf(int part) const;
  /// Index in streams() for the records of a scan, given by its place in the index; -1 if it is not selected.
  int StreamOf(int scan) const;
  /// The place in the index of the scan that a record is in.
  int ScanOf(int record) const;
  /// Time of a record, a Julian date; NaN if it cannot be read.
  double TimeOf(int record) const;
  /// The failure for a stream that goes back in time.
  AResult GoesBack(int record) const;
  /// The failure for a time that is NaN or infinite.
  AResult HasNoTime(int record) const;
  /// Check the times of all records of a part, as a walk over them does.
  AResult CheckTimes(const IntervalPart& part) const;

 private:
  // Scans that are consecutive in the file and in time.
  struct Stretch {
    RecordRange records;
    double first = 0, last = 0;  // ticks
  };
  struct Sample {
    double ticks;
    int64 records;  // how many records it stands for
  };

  void FindStreams();
  AResult SetClock();
  AResult FindStretches();
  std::vector<Sample> SampleTimes() const;
  std::vector<double> Bounds() const;
  void Cut(const std::vector<double>& bounds);
  int FirstFrom(const Stretch& stretch, int from, double bound) const;

  AUVXInput& input_;
  const IntervalOptions options_;
  const AUVXContents& contents_;
  RecordChoice choice_;
  std::vector<IntervalStream> streams_;
  std::map<std::pair<int, int>, int> places_;  // of sources and setups in streams_
  IntervalClock clock_;
  std::vector<Stretch> stretches_;
  std::vector<IntervalPart> parts_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_INTERVALPLANINTERNAL_H_

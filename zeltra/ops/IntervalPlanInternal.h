// How a walk over time intervals is cut into parts.
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

/// Counts time in ticks of 0.1 ms since 0 h of the observation date, as whole numbers: a Julian date in double
/// precision is good for 0.04 ms, and times that are the same but for that are to fall on the same side of a bound.
class IntervalClock {
 public:
  static constexpr double kTicksPerSecond = 1e4;

  IntervalClock() = default;
  /// @param midnight  the Julian date of tick 0
  /// @param interval  length, seconds; negative: every time is an interval
  IntervalClock(double midnight, const RecordChoice& choice, double interval);

  double Ticks(double julianDate) const;
  /// Whether records of this time count.
  bool IsSelected(double ticks) const { return ticks >= first_ && ticks <= last_; }
  /// Whether records from `begin` up to, but not including, `end` may count.
  bool MaySelect(double begin, double end) const { return begin <= last_ && end > first_; }
  /// Which interval a time falls in: a number that grows with time.
  double Cell(double ticks) const;
  /// Where an interval begins.
  double Begin(double cell) const;

 private:
  double midnight_ = 0;
  double first_ = std::numeric_limits<double>::lowest(), last_ = std::numeric_limits<double>::max();
  double origin_ = 0;  // of the intervals
  double length_ = 0;  // 0: every time is an interval
};

/// Records `first` up to, but not including, `end`.
struct RecordRange {
  int first = 0;
  int end = 0;
};

/// All records of some whole intervals.
struct IntervalPart {
  /// In most files one range. Files that are not in time order have several, each in time order by itself.
  std::vector<RecordRange> ranges;
  double begin = std::numeric_limits<double>::lowest();  ///< ticks
  double end = std::numeric_limits<double>::max();
};

/// The streams that are selected, and the parts that their records are walked in. The plan depends on the file and the
/// options, not on the number of threads.
class IntervalPlan {
 public:
  IntervalPlan(AUVXInput& input, const IntervalOptions& options)
      : input_(input), options_(options), contents_(input.contents()) {}

  /// Look the selections up, check the index, and cut.
  /// @param leftOut  what of the selection the job sees to itself, a sum of RecordChoice::LeftOut
  AResult Open(unsigned leftOut);

  const AUVXContents& contents() const { return contents_; }
  const RecordChoice& choice() const { return choice_; }
  const IntervalClock& clock() const { return clock_; }
  const std::vector<IntervalPart>& parts() const { return parts_; }
  const std::vector<IntervalStream>& streams() const { return streams_; }
  /// Records of a part.
  int64 RecordsOf(int part) const;
  /// Place in streams() of the records of a scan, which goes by its place in the index; -1 for one not selected.
  int StreamOf(int scan) const;
  /// Time of a record, a Julian date; NaN if it cannot be read.
  double TimeOf(int record) const;
  /// The failure of a stream that goes back in time.
  AResult GoesBack(int record) const;

 private:
  // Scans that follow each other in the file and in time.
  struct Stretch {
    RecordRange records;
    double first = 0, last = 0;  // ticks
  };
  struct Sample {
    double ticks;
    int64 records;  // for which it stands
  };

  void FindStreams();
  AResult SetClock();
  AResult FindStretches();
  std::vector<Sample> TakeSamples() const;
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

// The index of records, made as they are written.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_SCANINDEXINTERNAL_H_
#define ZELTRA_UVX_SCANINDEXINTERNAL_H_

#include <unordered_map>
#include <vector>

#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXPositionInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Counts the intervals between successive time stamps of one source and setup.
///
/// Only a median above 7.5 s matters, so all shorter intervals share one bin; longer ones have 64 bins an octave, each
/// of which remembers its longest interval. The median is the longest of its bin: at most 1.6 % above the true one, and
/// exact if all intervals are equal.
class SpacingCount {
 public:
  /// Intervals up to this length share a bin, seconds.
  static constexpr double kShortest = 7.5;

  /// @param mayGrow  whether an interval may open a bin; otherwise it is ignored if there is none for it
  /// @return whether it opened a bin
  bool Add(double seconds, bool mayGrow);
  /// Seconds; the shorter of two middle intervals; 0 if there are none.
  double Median() const;

 private:
  struct Bin {
    int number = 0;
    float longest = 0;  // seconds
    int64 count = 0;
  };
  std::vector<Bin> bins_;  // ascending
  size_t last_ = 0;        // the bin of the last interval
};

/// Makes the table "NX" of records in order: see AUVXWriter for where a scan ends.
///
/// While records pass, each gap that might end a scan begins a row of the table. Once all intervals between time stamps
/// are known, rows are joined again if the gap between them ends no scan. Memory: 28 bytes a row, and 4 bytes more for
/// a gap.
class ScanIndex {
 public:
  ScanIndex() { Clear(); }

  /// End scans at gaps longer than this, whatever the spacing of the time stamps.
  void SetGap(double seconds) { gap_ = seconds; }
  /// Discard all records, but keep the gap.
  void Clear();

  /// The records that follow belong to this subarray; a scan of another subarray ends here.
  void SetSubarray(int subarray) { subarray_ = subarray; }
  /// The next record begins a scan of a given list.
  void BeginGiven(int subarray);
  /// Add a record that begins a given scan, or differs from the previous one in time stamp, source or setup.
  /// @param record  its number, from 0
  void Take(int record, double seconds, int source, int setup);

  /// Whether there are more scans than a file may have.
  bool IsFull() const { return isFull_; }
  /// The table of `records` records.
  AUVXTable& Table(int records);
  /// The largest median spacing that kept a gap from ending a scan, if above the shortest gap that can; otherwise 0.
  double wideSpacing() const { return wideSpacing_; }

 private:
  void Count(int stream, double gap);
  void EndScan(int end);
  void Settle();
  void Join();
  bool EndsScan(double gap, int stream, std::unordered_map<int, double>& medians);
  double MedianOf(int stream) const;
  AUVXPositionItem ScanAt(int row) const;
  void Store(const AUVXPositionItem& scan, int row);

  AUVXTable index_;
  std::vector<IndexRow> last_;  // rows after those of the table
  std::vector<float> gaps_;     // seconds, before each row of the same source and setup as the row before it
  std::unordered_map<int, SpacingCount> spacings_;
  int bins_ = 0;  // total over all of them
  AUVXPositionItem scan_;
  double end_ = 0;        // of the scan, seconds
  double stamp_ = 0;      // the last one, seconds
  int subarray_ = 1;      // of the next scan
  bool isOpen_ = false;   // whether the scan has records but no row yet
  bool isBegun_ = false;  // whether the next record begins a given scan
  bool isGiven_ = false;  // whether scans are given
  bool isFull_ = false;
  double gap_ = 0;  // 0: determined by the spacing of the time stamps
  double wideSpacing_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_SCANINDEXINTERNAL_H_

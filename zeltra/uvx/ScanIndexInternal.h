// The index of records, made as they pass.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_SCANINDEXINTERNAL_H_
#define ZELTRA_UVX_SCANINDEXINTERNAL_H_

#include <unordered_map>
#include <vector>

#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXPositionInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Counts the distances of the successive time stamps of one source and setup.
///
/// Only a median above 7.5 s matters, so that all shorter distances are one bin; the others have 64 bins an octave,
/// each of which keeps its longest distance. The median is the longest of its bin: at most 1.6 % above the true one,
/// and the true one where distances are all alike.
class SpacingCount {
 public:
  /// Distances up to here are not told apart, seconds.
  static constexpr double kShortest = 7.5;

  /// @param mayGrow  whether a distance may open a bin; otherwise it does not count where there is none
  /// @return whether it opened one
  bool Add(double seconds, bool mayGrow);
  /// Seconds; of two middle distances the shorter one; 0 without any.
  double Median() const;

 private:
  struct Bin {
    int number = 0;
    float longest = 0;  // seconds
    int64 count = 0;
  };
  std::vector<Bin> bins_;  // ascending
  size_t last_ = 0;        // the bin of the last distance
};

/// Makes the table "NX" of records in their order: see AUVXWriter on where a scan ends.
///
/// Gaps longer than any bound may be each begin a row of the table while records pass. When all distances of time
/// stamps are known, rows are joined whose gap ends no scan. Memory: a row, of 28 bytes, and 4 bytes more for a gap.
class ScanIndex {
 public:
  ScanIndex() { Clear(); }

  /// Gaps longer than this end scans, whatever the spacing of the time stamps.
  void SetGap(double seconds) { gap_ = seconds; }
  /// Forget all records; the gap stays.
  void Clear();

  /// The records that follow are of this subarray, which ends a scan of another one.
  void SetSubarray(int subarray) { subarray_ = subarray; }
  /// The next record begins a scan of a given list.
  void BeginGiven(int subarray);
  /// Take a record that begins a given scan, or differs from the one before in its time stamp, source or setup.
  /// @param record  its number, from 0
  void Take(int record, double seconds, int source, int setup);

  /// Whether there are more scans than a file has.
  bool IsFull() const { return isFull_; }
  /// The table of `records` records.
  AUVXTable& Table(int records);
  /// The largest median spacing, above the shortest gap that ends scans, for whose sake a gap ended none; 0 without.
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
  std::vector<IndexRow> last_;  // rows that follow those of the table
  std::vector<float> gaps_;     // seconds, before each row that is of the same source and setup as the one before it
  std::unordered_map<int, SpacingCount> spacings_;
  int bins_ = 0;  // in all of them
  AUVXPositionItem scan_;
  double end_ = 0;        // of the scan, seconds
  double stamp_ = 0;      // the last one, seconds
  int subarray_ = 1;      // of the next scan
  bool isOpen_ = false;   // whether the scan has records and no row
  bool isBegun_ = false;  // whether the next record begins a given scan
  bool isGiven_ = false;  // whether scans are given
  bool isFull_ = false;
  double gap_ = 0;  // 0: what the spacing of the time stamps makes it
  double wideSpacing_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_SCANINDEXINTERNAL_H_

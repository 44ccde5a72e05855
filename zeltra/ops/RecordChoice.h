// Which records of a file a selection takes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_RECORDCHOICE_H_
#define ZELTRA_OPS_RECORDCHOICE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// Looks the records of a UVXSelection up in the lists of a file, and answers for each of them.
///
/// Order of calls:
///   Open       once; then the object does not change, and threads may share it
///   TakesScan  by jobs that follow the index, which may pass scans over
///   Takes      for each record, or one by one the conditions that it consists of
///
/// A single antenna takes all of its baselines, several take the baselines between them. Distances in the u, v plane
/// are those at the middle of the frequencies that are selected.
class ZELTRA_API RecordChoice {
 public:
  /// What of a selection a job sees to itself.
  enum LeftOut : unsigned {
    Nothing = 0,
    Antennas = 1,     ///< jobs over triangles mean something else by them
    UVDistances = 2,  ///< jobs that take visibilities one by one go by the frequency of each
  };

  /// @param leftOut  a sum of LeftOut
  /// @return a failure that tells what there is instead of something that the file has not
  AResult Open(AUVXInput& input, const UVXSelection& selection, unsigned leftOut = Nothing);

  /// Whether a scan, by its place in the index, may have records that are taken.
  bool TakesScan(int scan) const { return scans_[static_cast<size_t>(scan)]; }
  /// The sources of these scans, ascending.
  const std::vector<int>& sources() const { return sources_; }

  /// Whether a record is taken. @param record  its place in the file, from 0
  bool Takes(const AUVXGroup& group, int record) const {
    return TakesScanOf(group, record) && TakesTime(group.date) && TakesBaseline(group);
  }
  /// Whether its source, its setup and its scan are asked for.
  bool TakesScanOf(const AUVXGroup& group, int record) const;
  bool TakesTime(double julianDate) const { return !hasTimes_ || (julianDate >= first_ && julianDate <= last_); }
  /// Whether its antennas and its distance in the u, v plane are asked for.
  bool TakesBaseline(const AUVXGroup& group) const {
    if (!baselines_.empty() && !baselines_[KeyOf(group)]) return false;
    return !uvRange_.IsLimited() || uvRange_.Holds(UVDistance(group));
  }

  /// The bounds of time, Julian dates.
  const std::optional<ATime>& start() const { return start_; }
  const std::optional<ATime>& stop() const { return stop_; }

  /// The failure of a job for which no record is left that is not flagged: reads all of them to tell which condition
  /// leaves none, and what there is.
  AResult NothingSelected(AUVXInput& input, const JobOptions& options) const;

 private:
  struct Survey;
  // Records `first` up to, but not including, `end`.
  struct Stretch {
    int first, end;
  };

  static size_t KeyOf(const AUVXGroup& group) {
    return static_cast<size_t>(static_cast<uint8_t>(group.ant1)) << 8 | static_cast<uint8_t>(group.ant2);
  }
  double UVDistance(const AUVXGroup& group) const;

  AResult FindScans(AUVXInput& input, const UVXSelection& selection);
  AResult FindBaselines(const AUVXContents& contents, const UVXSelection& selection, bool withAntennas);
  AResult FindFrequencies(AUVXInput& input, const UVXSelection& selection);
  AResult NoScan(const AUVXInput& input, const AUVXContents& contents, const UVXSelection& selection) const;
  void Look(Survey& survey, const AUVXGroup& group, int record) const;

  std::vector<bool> scans_;
  std::vector<int> sources_;
  std::vector<int> wantedSources_;  // ascending; none: all
  std::optional<int> freqSel_;
  std::vector<Stretch> stretches_;  // of the scans that are asked for by place, ascending; none: all
  bool hasTimes_ = false;
  double first_ = 0, last_ = 0;
  std::optional<ATime> start_, stop_;
  std::vector<bool> baselines_;  // by KeyOf; empty: all
  ARange uvRange_;
  std::array<double, 256> frequencies_ = {};  // in the middle, Hz, by setup
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECORDCHOICE_H_

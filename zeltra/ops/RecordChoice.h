// Which records of a file a selection contains.
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

/// Looks up a UVXSelection in the lists of a file, and tests records against it.
///
/// Order of calls:
///   Open       once; after that the object does not change, and threads may share it
///   TakesScan  for jobs that follow the index and can skip scans
///   Takes      for each record, or its conditions one by one
///
/// A single antenna selects all of its baselines, several select the baselines between them. Distances in the u, v
/// plane are those at the middle of the selected frequencies.
class ZELTRA_API RecordChoice {
 public:
  /// Conditions of a selection that a job checks itself.
  enum LeftOut : unsigned {
    Nothing = 0,
    Antennas = 1,     ///< for jobs over triangles, to which antennas mean something else
    UVDistances = 2,  ///< for jobs that test each visibility at its own frequency
  };

  /// @param leftOut  a sum of LeftOut
  /// @return a failure that, if the file lacks something, says what it has instead
  AResult Open(AUVXInput& input, const UVXSelection& selection, unsigned leftOut = Nothing);

  /// Whether a scan, given by its place in the index, may have selected records.
  bool TakesScan(int scan) const { return scans_[static_cast<size_t>(scan)]; }
  /// The sources of these scans, ascending.
  const std::vector<int>& sources() const { return sources_; }

  /// Whether a record is selected. @param record  its place in the file, from 0
  bool Takes(const AUVXGroup& group, int record) const {
    return TakesScanOf(group, record) && TakesTime(group.date) && TakesBaseline(group);
  }
  /// Whether its source, setup and scan are selected.
  bool TakesScanOf(const AUVXGroup& group, int record) const;
  bool TakesTime(double julianDate) const { return !hasTimes_ || (julianDate >= first_ && julianDate <= last_); }
  /// Whether its antennas and its distance in the u, v plane are selected.
  bool TakesBaseline(const AUVXGroup& group) const {
    if (!baselines_.empty() && !baselines_[KeyOf(group)]) return false;
    return !uvRange_.IsLimited() || uvRange_.Holds(UVDistance(group));
  }

  /// The time limits, Julian dates.
  const std::optional<ATime>& start() const { return start_; }
  const std::optional<ATime>& stop() const { return stop_; }

  /// The failure of a job that finds no selected record that is not flagged: reads all of them to say which condition
  /// excludes them, and what there is.
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
  std::optional<int> setup_;
  std::vector<Stretch> stretches_;  // of the scans selected by place, ascending; none: all
  bool hasTimes_ = false;
  double first_ = 0, last_ = 0;
  std::optional<ATime> start_, stop_;
  std::vector<bool> baselines_;  // by KeyOf; empty: all
  ARange uvRange_;
  std::array<double, 256> frequencies_ = {};  // middle frequency by setup, Hz
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_RECORDCHOICE_H_

// The integration times of the records of a UVX file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXINTEGRATIONS_H_
#define ZELTRA_UVX_AUVXINTEGRATIONS_H_

#include <cstdint>
#include <vector>

#include "zeltra/platform/Export.h"

namespace zeltra {

class AUVXTable;

/// The table "IT": how long each record was integrated, as runs of records with the same time. Seconds, 0 if unknown.
class ZELTRA_API AUVXIntegrations {
 public:
  /// Maximum number of runs, which take 64 MiB; a list that needs more is abandoned.
  static constexpr int kMostRuns = 1 << 23;

  AUVXIntegrations() = default;
  /// Read a table "IT" of a file of the given number of records. If the table gives another number, or its runs are not
  /// contiguous, nothing is kept.
  AUVXIntegrations(const AUVXTable& table, int records);

  /// Append the time of the next record.
  void Append(float seconds) {
    if (records_ == 0 || !IsSame(seconds)) AppendRun(seconds);
    ++records_;
  }

  /// Whether the time of any record is known.
  bool IsKnown() const { return !isGivenUp_ && (runs_.size() > 1 || (!runs_.empty() && runs_[0].seconds != 0)); }
  bool IsGivenUp() const { return isGivenUp_; }

  /// Make a table "IT" of the library's own family: FIRST VIS, from 1, and INTTIM; the keyword RECORDS.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;

 private:
  friend class AUVXIntegrationCursor;
  struct Run {
    std::int32_t first;  // record, from 0
    float seconds;
  };

  bool IsSame(float seconds) const;
  void AppendRun(float seconds);

  std::vector<Run> runs_;
  int records_ = 0;
  bool isGivenUp_ = false;
};

/// Looks integration times up; fast for records in order. The list must outlive it.
class ZELTRA_API AUVXIntegrationCursor {
 public:
  explicit AUVXIntegrationCursor(const AUVXIntegrations& list) : list_(&list) { Find(0); }

  /// The time of a record, counted from 0, as stored; 0 if unknown.
  float Stored(int record) {
    if (record < first_ || record >= end_) Find(record);
    return seconds_;
  }
  /// The same, but 0 for implausible values: some files hold negative times, or times of a day and more.
  float Usable(int record) {
    const float seconds = Stored(record);
    return seconds > 0 && seconds < kDay ? seconds : 0;
  }

 private:
  static constexpr float kDay = 86400;

  void Find(int record);

  const AUVXIntegrations* list_;
  int first_ = 0, end_ = 0;  // records of the run
  float seconds_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXINTEGRATIONS_H_

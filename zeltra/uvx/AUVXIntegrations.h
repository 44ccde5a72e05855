// The integration times of the records of a UVX file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXINTEGRATIONS_H_
#define ZELTRA_UVX_AUVXINTEGRATIONS_H_

#include <cstdint>
#include <vector>

#include "zeltra/platform/Export.h"

namespace zeltra {

class AUVXTable;

/// The table "IT": how long each record was integrated, in runs of records of one time. Seconds, 0 where it is not
/// known.
class ZELTRA_API AUVXIntegrations {
 public:
  /// Most runs of a list, which take 64 MiB. What changes more often is given up.
  static constexpr int kMostRuns = 1 << 23;

  AUVXIntegrations() = default;
  /// Read a table "IT" of a file of so many records. Of one that tells another number, or whose runs do not follow each
  /// other, nothing is kept.
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
  /// @return new, the caller's
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

/// Looks integration times up; quick for records in their order. The list has to outlive it.
class ZELTRA_API AUVXIntegrationCursor {
 public:
  explicit AUVXIntegrationCursor(const AUVXIntegrations& list) : list_(&list) { Find(0); }

  /// The time of a record, from 0, as it is stored; 0 where it is not known.
  float Stored(int record) {
    if (record < first_ || record >= end_) Find(record);
    return seconds_;
  }
  /// The same, and 0 too for what is none: files hold negative times, and some of a day and more.
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

// What lists of flags say of the records of a file, looked up by time.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FLAGENTRIESINTERNAL_H_
#define ZELTRA_OPS_FLAGENTRIESINTERNAL_H_

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// What one entry of a list flags: the values of its IFs, channels and polarisations in the records that it is about.
struct FlagEntry {
  static constexpr int kAll = -1;
  /// Records this close to a bound of time, days, are inside: a Julian date in double precision is good for 0.04 ms.
  static constexpr double kTimeTolerance = 5e-5 / kSecondsPerDay;

  double begin = std::numeric_limits<double>::lowest();  ///< Julian dates, both included
  double end = std::numeric_limits<double>::max();
  int source = kAll, subarray = kAll, setup = kAll;
  int antenna = kAll;                                         ///< one of a record's antennas
  int partner = kAll;                                         ///< the other one
  int firstIF = 0, lastIF = std::numeric_limits<int>::max();  ///< from 0, both included
  int firstChannel = 0, lastChannel = std::numeric_limits<int>::max();
  unsigned polarisations = ~0u;  ///< a bit for each in the order of the file

  /// Whether a record is meant, whatever its time.
  bool IsAbout(const AUVXGroup& group, int subarrayOfRecord) const;
};

/// The entries of a list. A search tree of their times gives those that hold at a time stamp, in any order of stamps;
/// what it gave is kept until the stamps pass a bound of an entry.
class FlagEntries {
 public:
  /// Most entries of a list, which take 400 MiB.
  static constexpr size_t kMost = 1 << 22;

  void Add(const FlagEntry& entry) { entries_.push_back(entry); }
  /// After the last entry, before the first visit.
  void Settle();

  size_t count() const { return entries_.size(); }
  /// Whether an entry is about a subarray.
  bool NeedsSubarrays() const { return needsSubarrays_; }

  /// Visit the entries about a record.
  template <typename Visit>
  void ForEach(const AUVXGroup& group, int subarray, const Visit& visit) {
    MoveTo(std::isnan(group.date) ? std::numeric_limits<double>::lowest() : double{group.date});
    const int one = static_cast<uint8_t>(group.ant1), two = static_cast<uint8_t>(group.ant2);
    for (const int antenna : {FlagEntry::kAll, one, one == two ? kNobody : two}) {
      for (const FlagEntry* entry : current_[static_cast<size_t>(antenna + 1)]) {
        if (entry->IsAbout(group, subarray)) visit(*entry);
      }
    }
  }

 private:
  static constexpr int kNobody = 256;

  void MoveTo(double time);
  double SetLatest(size_t begin, size_t end);
  void Collect(size_t begin, size_t end, double time);

  std::vector<FlagEntry> entries_;  // ascending by their beginning
  std::vector<double> latest_;      // where the entries of the tree end that has the entry at this place for its root
  std::vector<double> ends_;        // ascending
  bool needsSubarrays_ = false;
  // Those that hold at the last time: of all antennas, then by antenna; none are of kNobody.
  std::array<std::vector<const FlagEntry*>, 258> current_;
  std::pair<size_t, size_t> passed_ = {0, 0};  // how many beginnings and ends the last time has passed
};

/// What became of a list beside its entries.
struct FlagListNotes {
  int64 empty = 0;                   ///< entries that name no IF, channel or polarisation of the file
  std::vector<std::string> unknown;  ///< antennas and sources that the file has not, each once
};

/// Read a table of flags as AIPS has it.
/// @param path  names the file in sentences
/// @return a failure if a column is missing or has too few elements
AResult ReadFlagTable(const std::string& path, const AUVXContents& contents, const AUVXTable& table,
                      FlagEntries& entries, FlagListNotes& notes);

/// Read a text of flags as correlators hand it out: keywords with values, an entry ends with a slash.
/// @return a failure that names the line with what is wrong
AResult ReadFlagText(const std::string& path, const AUVXContents& contents, FlagEntries& entries, FlagListNotes& notes);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FLAGENTRIESINTERNAL_H_

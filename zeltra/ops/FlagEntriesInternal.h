// Lists of flags, looked up by time for the records of a file.
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

/// What one entry of a list flags: values of its IFs, channels and polarisations, in the records that it applies to.
struct FlagEntry {
  static constexpr int kAll = -1;
  /// Records this close to a time limit, days, are inside: a Julian date in double precision is accurate to 0.04 ms.
  static constexpr double kTimeTolerance = 5e-5 / kSecondsPerDay;

  double begin = std::numeric_limits<double>::lowest();  ///< Julian dates, both included
  double end = std::numeric_limits<double>::max();
  int source = kAll, subarray = kAll, setup = kAll;
  int antenna = kAll;                                         ///< one of a record's antennas
  int partner = kAll;                                         ///< the other one
  int firstIF = 0, lastIF = std::numeric_limits<int>::max();  ///< from 0, both included
  int firstChannel = 0, lastChannel = std::numeric_limits<int>::max();
  unsigned polarisations = ~0u;  ///< one bit for each, in file order

  /// Whether the entry applies to a record, apart from its time.
  bool IsAbout(const AUVXGroup& group, int subarrayOfRecord) const;
};

/// The entries of a list. A search tree of their times finds those that apply at a time stamp; stamps may come in any
/// order, and the result is reused until they cross a limit of an entry.
class FlagEntries {
 public:
  /// The most entries of a list, which take 400 MiB.
  static constexpr size_t kMost = 1 << 22;

  void Add(const FlagEntry& entry) { entries_.push_back(entry); }
  /// Call after the last entry and before the first visit.
  void Settle();

  size_t count() const { return entries_.size(); }
  /// Whether any entry is restricted to a subarray.
  bool NeedsSubarrays() const { return needsSubarrays_; }

  /// Visit the entries that apply to a record.
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
  std::vector<double> latest_;      // latest end in the subtree whose root is the entry at this place
  std::vector<double> ends_;        // ascending
  bool needsSubarrays_ = false;
  // Those that apply at the last time: first those for all antennas, then by antenna; kNobody has none.
  std::array<std::vector<const FlagEntry*>, 258> current_;
  std::pair<size_t, size_t> passed_ = {0, 0};  // how many beginnings and ends are before the last time
};

/// What was found in a list besides its entries.
struct FlagListNotes {
  int64 empty = 0;                   ///< entries that name no IF, channel or polarisation of the file
  std::vector<std::string> unknown;  ///< antennas and sources that the file lacks, each once
};

/// Read a table of flags as written by AIPS.
/// @param path  the file's name for messages
/// @return a failure if a column is missing or has too few elements
AResult ReadFlagTable(const std::string& path, const AUVXContents& contents, const AUVXTable& table,
                      FlagEntries& entries, FlagListNotes& notes);

/// Read a text of flags as correlators provide it: keywords with values, each entry ended by a slash.
/// @return a failure that names the line and what is wrong with it
AResult ReadFlagText(const std::string& path, const AUVXContents& contents, FlagEntries& entries, FlagListNotes& notes);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FLAGENTRIESINTERNAL_H_

// What records are sorted by.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SORTKEYSINTERNAL_H_
#define ZELTRA_OPS_SORTKEYSINTERNAL_H_

#include <compare>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// The place of a record in an order: both keys as bits that compare as the keys do, the first one highest. Of records
/// with the same keys the one that comes first in the file stays first.
struct SortKey {
  std::uint64_t high = 0;
  std::uint32_t low = 0;
  std::int32_t record = 0;  ///< from 0

  auto operator<=>(const SortKey&) const = default;
};
static_assert(sizeof(SortKey) == 16);

/// An order of two keys, of which the second varies fastest:
///   B  baseline, 256 x antenna 1 + antenna 2     R  length of u, v             X, Y  |u|, |v|, descending
///   T  time                                      P  position angle of u, v     Z, M  |u|, |v|, ascending
///   U, V, W  the coordinate                      *  nothing, as second key
/// R and P are computed to the precision of u, v, w. NaNs come last.
class SortOrder {
 public:
  /// @param code  as in "TB"
  AResult Open(const std::string& code);

  /// Whether time varies slowest.
  bool IsByTime() const { return first_ == 'T'; }
  /// Whether the keys are time and baseline, which records of several sources or setups may share. Those are ordered by
  /// source, then setup, for which the keys leave the 16 bits of kStreamBits free.
  static constexpr std::uint32_t kStreamBits = 0xFFFF;
  bool TellsStreams() const { return (first_ == 'T' && second_ == 'B') || (first_ == 'B' && second_ == 'T'); }
  SortKey KeyOf(const AUVXGroup& group, int record) const;

 private:
  char first_ = 'T', second_ = 'B';
};

/// Numbers the streams of a file, the records of one source and setup, so that they find room in a key.
class StreamRanks {
 public:
  /// Source and setup as a number that compares as they do.
  static std::uint32_t StreamOf(const AUVXGroup& group) {
    return static_cast<std::uint32_t>(group.sourceNo() + 32768) << 8 |
           static_cast<std::uint32_t>(group.freqSel() + 128);
  }

  /// The number of a stream, from 0 in the order in which they are asked for. Those beyond 65535 share one.
  std::uint32_t NumberOf(std::uint32_t stream);
  /// The place of each number in the order of the streams.
  std::vector<std::uint32_t> Ranks() const;

 private:
  static constexpr std::uint32_t kMost = 0xFFFF;

  std::unordered_map<std::uint32_t, std::uint32_t> numbers_;
  std::uint32_t last_ = ~0u, number_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_SORTKEYSINTERNAL_H_

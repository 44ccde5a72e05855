// The baselines of records, collected as these pass.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_BASELINECOLLECTORINTERNAL_H_
#define ZELTRA_UVX_BASELINECOLLECTORINTERNAL_H_

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// Makes the list that AUVXBaseLines::checkBase would make of the same records. New baselines are merged into it
/// whenever there are as many of them as it holds. To insert each at its place would take a time that grows with the
/// square of their number, and in a survey of many sources every record may be the first of its baseline.
class BaseLineCollector {
 public:
  BaseLineCollector() : seen_(kPairs) {}

  void Take(const AUVXGroup& group) {
    const uint8_t state = group.flag & 1 ? 1 : 2;
    SeenPair& seen = seen_[SeenPlace(group)];
    if (seen.source == group.source && seen.state >= state) return;
    seen = {group.source, state};
    added_.emplace_back(group);
    if (added_.size() >= std::max(kFewest, static_cast<size_t>(list_.count()))) Merge();
  }

  /// The baselines so far. Valid until the next call of another function.
  const AUVXBaseLines& list() {
    Merge();
    return list_;
  }

  void Clear() {
    std::fill(seen_.begin(), seen_.end(), SeenPair());
    added_.clear();
    list_ = AUVXBaseLines();
  }

 private:
  static constexpr size_t kPairs = 65536;
  static constexpr size_t kFewest = 4096;

  // Baselines already taken: each slot holds the last source whose pair of antennas mapped to it.
  struct SeenPair {
    int16_t source = 0;
    uint8_t state = 0;  // 1 flagged, 2 unflagged
  };

  // Each pair of antennas of one source has a place of its own; with several sources and few antennas, pairs seldom
  // share one.
  static size_t SeenPlace(const AUVXGroup& group) {
    const unsigned pair = static_cast<uint8_t>(group.ant1) * 256u + static_cast<uint8_t>(group.ant2);
    return (pair ^ static_cast<uint16_t>(group.source) * 40503u) % kPairs;
  }

  void Merge() {
    if (!added_.empty()) list_.checkBases(std::exchange(added_, {}));
  }

  std::vector<SeenPair> seen_;
  std::vector<AUVXBaseLineItem> added_;  // in the order of the records
  AUVXBaseLines list_;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_BASELINECOLLECTORINTERNAL_H_

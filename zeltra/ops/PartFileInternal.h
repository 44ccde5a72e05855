// Files that hold some parts of a job's output, and the record of where these belong.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_PARTFILEINTERNAL_H_
#define ZELTRA_OPS_PARTFILEINTERNAL_H_

#include <cstdint>
#include <string>
#include <vector>

#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/uvx/AUVXHeaderCards.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Consecutive records of one part, with the same scan and integration time.
struct PartRun {
  std::int32_t part = 0;  ///< from 1
  std::int32_t scan = 0;  ///< place in the index of the input, from 0
  std::int32_t subarray = 0;
  std::int32_t records = 0;
  float seconds = 0;  ///< integration time, 0 if unknown
};

/// The table "PT" of the library's own family. Files belong to the same run if they have the same number of parts,
/// input and cards.
class PartList {
 public:
  PartShare share;
  int parts = 0;      ///< in all files of the run
  std::string input;  ///< a hash of the job's input
  std::string cards;  ///< a hash of the file's header cards: a later job adds one
  std::vector<PartRun> runs;

  void Append(const PartRun& run);
  /// Make the table. @param table  stays empty if there are more runs than it can hold
  /// @return whether there was room
  bool Store(AUVXTable& table) const;
  /// Read a table made by Store. @return false if it is anything else, or does not describe `records` records
  bool Load(const AUVXTable& table, int records);
};

/// A hash of the size of a file and of blocks throughout it.
std::string HashOf(AUVXInput& input);
std::string HashOf(const AUVXHeaderCards& cards);

}  // namespace zeltra

#endif  // ZELTRA_OPS_PARTFILEINTERNAL_H_

// Files that hold some parts of a job's output, and what they remember of where these belong.
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

/// Records of one part that follow each other, are of one scan and were integrated for the same time.
struct PartRun {
  std::int32_t part = 0;  ///< from 1
  std::int32_t scan = 0;  ///< place in the index of the input, from 0
  std::int32_t subarray = 0;
  std::int32_t records = 0;
  float seconds = 0;  ///< integration time, 0 if not known
};

/// The table "PT" of the library's own family. Of the same run are files with the same number of parts, input and
/// cards.
class PartList {
 public:
  PartShare share;
  int parts = 0;      ///< in all files of the run together
  std::string input;  ///< a hash of the job's input
  std::string cards;  ///< a hash of the header cards that the file has: a later job adds one
  std::vector<PartRun> runs;

  void Append(const PartRun& run);
  /// Make the table. @param table  stays empty where there are more runs than it holds
  /// @return whether there was room
  bool Store(AUVXTable& table) const;
  /// Read what Store made. @return false if it is anything else, or does not describe `records` records
  bool Load(const AUVXTable& table, int records);
};

/// A hash of the size of a file and of blocks all over it.
std::string HashOf(AUVXInput& input);
std::string HashOf(const AUVXHeaderCards& cards);

}  // namespace zeltra

#endif  // ZELTRA_OPS_PARTFILEINTERNAL_H_

// Adapts the tables of a file whose IFs or channels get their own setups.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_UNFOLDEDTABLESINTERNAL_H_
#define ZELTRA_OPS_UNFOLDEDTABLESINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/ops/FrequencyTablesInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Maps IFs and channels of the old setups to new setups.
struct UnfoldedSetups {
  /// The largest number of a setup.
  static constexpr int kMost = 127;

  std::vector<int> numbers;  ///< of the old setups
  int IFs = 1, channels = 1;
  bool byIF = false, byChannel = false;

  /// Number of new setups for each old one.
  int64 count() const { return (byIF ? IFs : int64{1}) * (byChannel ? channels : 1); }
  /// The IF and the channel of new setup number `element` of an old one; 0 on an axis that is not unfolded.
  int IFOf(int element) const { return byIF ? element / (byChannel ? channels : 1) : 0; }
  int ChannelOf(int element) const { return byChannel ? element % channels : 0; }
  /// The number of a new setup.
  int NewNumber(size_t setup, int element) const {
    return static_cast<int>(static_cast<int64>(setup) * count() + element + 1);
  }
};

/// Edits the tables of a file.
class UnfoldedTables {
 public:
  UnfoldedTables(const UnfoldedSetups& setups, const AUVXHeader& header);

  /// Edit a table. @return false if it is to be left out
  bool Change(AUVXTable& table);
  /// Sentences about the tables for the user.
  std::vector<std::string> Remarks() const { return others_.Remarks(); }

 private:
  bool Unfold(AUVXTable& table, int setupColumn);
  bool UnfoldRow(const AUVXTable& from, int row, int setupColumn, const std::vector<AUVXTable>& byIF,
                 AUVXTable& to) const;
  bool AddRow(const AUVXTable& from, int row, int setupColumn, int number, AUVXTable& to) const;
  void MoveFrequencies(AUVXTable& setups, int row, int element) const;

  UnfoldedSetups setups_;
  int ifsColumn_ = -1, channelsColumn_ = -1;  // of a table of flags
  FrequencyTables others_;                    // those without the number of a setup
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_UNFOLDEDTABLESINTERNAL_H_

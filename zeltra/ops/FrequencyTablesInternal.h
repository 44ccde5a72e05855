// The tables of a file follow what becomes of its IFs and channels.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYTABLESINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYTABLESINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The first and the last place, from 0, that an entry of "FG" means of `count` places: 0 stands for the end. None are
/// meant where the first is above the last.
FrequencyChange::Range FlaggedRange(const AUVXTable& flags, int row, int column, int count);
/// Columns IFS and CHANS of a table "FG", whose columns fill its rows, of two numbers each.
/// @return false if it has not got them
bool FindFlagColumns(const AUVXTable& flags, int& ifs, int& channels);

/// Edits the tables of a file.
///
/// "FQ" gets the new frequencies; columns about IFs lose those that are left out; ranges of IFs and channels in "FG"
/// are translated. Where IFs are joined, "SU" has the means of what it had for each, the polarisation terms of "AN"
/// stay where all are alike and else are left out, and other tables that are about IFs are left out. So are tables
/// about channels where these change, and unknown tables with columns whose lengths are multiples of the number of IFs.
class FrequencyTables {
 public:
  /// @param freq0   of the header of the input
  /// @param setups  the "FQ" table of the input, null if there is none
  FrequencyTables(FrequencyChange change, double freq0, const AUVXTable* setups);

  /// Edit a table. @return false if it is to be left out
  bool Change(AUVXTable& table);
  /// Remember a table that is left out.
  void LeaveOut(const AUVXTable& table) { leftOut_ += (leftOut_.empty() ? "" : ", ") + table.Code(); }
  /// What a person should know of the tables.
  std::vector<std::string> Remarks() const;

 private:
  bool ChangeColumns(AUVXTable& table);
  void MoveFrequencies(const AUVXTable& from, AUVXTable& setups) const;
  void FollowReference(AUVXTable& antennas) const;
  bool AreAlike(const AUVXTable& table) const;
  void FillMeans(const AUVXTable& from, AUVXTable& sources) const;
  bool TranslateFlags(AUVXTable& flags);
  bool TranslateFlag(AUVXTable& flags, int row, AUVXTable& to);

  FrequencyChange change_;
  double freq0_, shift_;
  int ifsColumn_ = -1, channelsColumn_ = -1;
  std::string leftOut_;  // codes of tables
  bool hasEmptied_ = false;
  int64 flagsLeftOut_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYTABLESINTERNAL_H_

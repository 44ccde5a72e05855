// Adapts the tables of a file to changes of its IFs and channels.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYTABLESINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYTABLESINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The first and the last place, from 0, that an entry of "FG" covers out of `count` places: 0 stands for the end. If
/// the first is above the last, it covers none.
FrequencyChange::Range FlaggedRange(const AUVXTable& flags, int row, int column, int count);
/// Find the columns IFS and CHANS of a table "FG" whose columns fill its rows; they have two numbers each.
/// @return false if either is missing
bool FindFlagColumns(const AUVXTable& flags, int& ifs, int& channels);

/// Edits the tables of a file.
///
/// "FQ" gets the new frequencies; columns about IFs lose the IFs that are left out; ranges of IFs and channels in "FG"
/// are translated. Where IFs are joined, "SU" gets means over them, the polarisation terms of "AN" are kept if all are
/// alike and otherwise removed, and other tables about IFs are left out. If the channels change, so are tables about
/// channels, and unknown tables with columns whose lengths are multiples of the number of IFs.
class FrequencyTables {
 public:
  /// @param freq0   of the header of the input
  /// @param setups  the "FQ" table of the input, null if there is none
  FrequencyTables(FrequencyChange change, double freq0, const AUVXTable* setups);

  /// Edit a table. @return false if it is to be left out
  bool Change(AUVXTable& table);
  /// Note a table that is left out.
  void LeaveOut(const AUVXTable& table) { leftOut_ += (leftOut_.empty() ? "" : ", ") + table.Code(); }
  /// Sentences about the tables for the user.
  std::vector<std::string> Remarks() const;

 private:
  bool ChangeColumns(AUVXTable& table);
  void MoveFrequencies(const AUVXTable& from, AUVXTable& setups) const;
  bool AreAlike(const AUVXTable& table) const;
  void FillMeans(const AUVXTable& from, AUVXTable& sources);
  bool TranslateFlags(AUVXTable& flags);
  bool TranslateFlag(AUVXTable& flags, int row, AUVXTable& to);

  FrequencyChange change_;
  double freq0_, shift_;
  int ifsColumn_ = -1, channelsColumn_ = -1;
  std::string leftOut_;   // codes of tables
  std::string averaged_;  // columns of "SU"
  bool hasEmptied_ = false;
  int64 flagsLeftOut_ = 0;
};

/// The keyword FREQ of "AN" is normally the reference frequency of the file: where it is `freq0`, move it too.
void FollowReference(AUVXTable& antennas, double freq0, double shift);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYTABLESINTERNAL_H_

// The tables about records of several files as one table each.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_JOINEDTABLESINTERNAL_H_
#define ZELTRA_OPS_JOINEDTABLESINTERNAL_H_

#include <cmath>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "zeltra/ops/JoinedListsInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The sources, setups and times of the records of an input, in joined numbers.
struct RecordReach {
  std::set<int> sources, setups;
  double first = HUGE_VAL, last = -HUGE_VAL;  // days since 0 h of the observation date
};

/// Joins "FG", "SN", "CL", "TY" and "BP" of several inputs. A row that several inputs have is written once, since parts
/// of one file all have the rows that concern everything. If a row of "FG" would concern records of inputs that do not
/// have it, then "all" sources, setups or times in it become those of the inputs that have it.
class JoinedTables {
 public:
  explicit JoinedTables(const JoinedLists& lists) : lists_(lists) {}

  /// Take a table of the next input, or of the same as before. A table is left out if its columns are not understood,
  /// or differ from those of an earlier input.
  /// @param days  from the joined observation date to that of the input; NaN if unknown
  void Take(int input, AUVXTable table, const JoinedNumbers& numbers, double days);
  /// Make the joined table with this code.
  /// @param reaches  of all inputs
  /// @return whether there is one
  bool Make(const std::string& code, const std::vector<RecordReach>& reaches, AUVXTable& table);
  /// The codes of all tables taken.
  std::vector<std::string> Codes() const;
  std::vector<std::string> Remarks() const;

 private:
  struct Row {
    int count = 0;       // the most times that any one input has it
    int sinceInput = 0;  // how often the last input has it
    std::vector<int> inputs;
  };
  struct Joined {
    AUVXTable table;  // without rows
    std::unordered_map<std::string, Row> rows;
    std::vector<const std::string*> order;
    double antennas = 0;  // the keyword NO_ANT
  };

  bool Change(AUVXTable& table, int row, const RowNumbers& columns, const JoinedNumbers& numbers, double days) const;

  const JoinedLists& lists_;
  std::map<std::string, Joined> joined_;
  std::set<std::string> leftOut_, tooLong_;
  int64 strayRows_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_JOINEDTABLESINTERNAL_H_

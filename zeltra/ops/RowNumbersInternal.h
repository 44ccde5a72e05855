// Where the rows of tables have numbers of sources, antennas, setups and subarrays, and times.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_ROWNUMBERSINTERNAL_H_
#define ZELTRA_OPS_ROWNUMBERSINTERNAL_H_

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// What a number in a row stands for.
enum class RowNumber {
  Source,    ///< 0: all sources
  Antenna,   ///< 0: all antennas
  Baseline,  ///< 256 x antenna 1 + antenna 2
  Setup,     ///< 0 and below: all setups
  Subarray,  ///< 0: all subarrays
  Time,      ///< days since 0 h of the observation date
  Times,     ///< first and last time, both 0: all times
};

/// The columns of a table whose code is known: "AN", "SU" and the tables that are about records, "FG", "SN", "CL", "TY"
/// and "BP". Names are compared without blanks, dots and underscores.
class RowNumbers {
 public:
  struct Column {
    RowNumber kind;
    int place;  // of the column
    int count;  // elements
  };

  /// Whether tables with this code are about records, by source, antenna and time.
  static bool IsKnown(const std::string& code);
  /// Look the columns of a table up.
  /// @return nothing if the code is not known, if a column that such a table must have is missing, has another type or
  ///         length, or lies outside the rows, or if another column looks as if it held such numbers
  static std::optional<RowNumbers> Of(const AUVXTable& table);

  const std::vector<Column>& columns() const { return columns_; }
  /// Whether a row concerns this source, or setup, or all of them.
  bool Concerns(const AUVXTable& table, int row, RowNumber kind, int number) const;
  /// Replace each number above 0 in a row by what `translate` makes of it, and add `days` to its times, except to a
  /// pair of times that are both 0.
  using Translate = std::function<int(RowNumber kind, int number)>;
  void Change(AUVXTable& table, int row, const Translate& translate, double days) const;

 private:
  std::vector<Column> columns_;
};

/// The columns that have the same name and format in two tables, for copying rows from one to the other.
class RowCopy {
 public:
  RowCopy(const AUVXTable& from, const AUVXTable& to);

  /// Whether all columns of both are the same, in their order.
  bool IsWhole() const { return isWhole_; }
  /// Append a row of `from` to `to`; what `from` has no column for is 0. @return false where `to` would reach 2 GiB
  bool Append(const AUVXTable& from, int row, AUVXTable& to) const;

 private:
  struct Field {
    int from, to, width;  // bytes
  };
  std::vector<Field> fields_;
  bool isWhole_;
};

/// Keep the rows of a table that `isKept` takes.
void KeepRows(AUVXTable& table, const std::function<bool(int row)>& isKept);

}  // namespace zeltra

#endif  // ZELTRA_OPS_ROWNUMBERSINTERNAL_H_

// The list of solution intervals of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXSKANLIST_H_
#define ZELTRA_UVX_AUVXSKANLIST_H_

#include <cstddef>
#include <cstdint>
#include <utility>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AUVXTable;

/// One solution interval; a row of the "SL" table as stored.
struct AUVXSkanListItem {
  double tstart = 0;    ///< first time, days
  double tstop = 0;     ///< last time, days
  int32_t source = 0;   ///< source number
  int32_t freqSel = 0;  ///< identifier of the frequency setup
};
static_assert(sizeof(AUVXSkanListItem) == 24 && offsetof(AUVXSkanListItem, tstop) == 8 &&
              offsetof(AUVXSkanListItem, source) == 16 && offsetof(AUVXSkanListItem, freqSel) == 20);

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXSkanListItem>);

/// The "SL" table of a file.
class ZELTRA_API AUVXSkanList : public AArray<AUVXSkanListItem> {
 public:
  AUVXSkanList() = default;
  AUVXSkanList(const AUVXSkanList&) = default;
  AUVXSkanList& operator=(const AUVXSkanList&) = default;
  /// Take over the contents of `other`, which is then as newly constructed.
  AUVXSkanList(AUVXSkanList&& other) noexcept { *this = std::move(other); }
  AUVXSkanList& operator=(AUVXSkanList&& other) noexcept;

  /// Read a table, with the keywords MJD0 and SOL_INT.
  ///
  /// SOL_INT is read as an integer, and programs rely on that: of the value that ToUVXTable writes, with an exponent,
  /// only the digit before the decimal point is read back (10, written as 1.0000000000E+01, reads as 1).
  /// @return false if the rows of the table are not 24 bytes wide: the list then has its size and undefined contents
  bool Create(const AUVXTable& table);

  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;

  double GetSolutionInterval() const { return solutionInterval_; }
  void SetSolutionInterval(double interval) { solutionInterval_ = interval; }
  /// Modified Julian date that the times count from.
  int GetStartMJD() const { return startMJD_; }
  void SetStartMJD(int mjd) { startMJD_ = mjd; }

 private:
  int32_t startMJD_ = 0;
  double solutionInterval_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXSKANLIST_H_

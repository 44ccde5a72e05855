// Index of scans, from the "NX" table.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXPOSITION_H_
#define ZELTRA_UVX_AUVXPOSITION_H_

#include <cstdint>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AUVXTable;
struct AUVXGroup;

/// A scan: a run of records of one source and one frequency setup.
struct AUVXPositionItem {
  double start = 0;     ///< seconds
  double duration = 0;  ///< seconds
  int32_t sourceId = 0;
  int32_t subarray = 0;
  int32_t startVis = 0;  ///< number of the first record, from 1
  int32_t endVis = 0;    ///< number of the last record, from 1
  int32_t freqId = 0;
};

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXPositionItem>);

/// The scans of a file in the order of its records.
///
/// To build an index of records, call CheckUVGroup for each. It enters the times of the groups unchanged, and
/// ToUVXTable takes them for seconds: to write the table, pass groups whose times are seconds since 0 h of the
/// observation date.
class ZELTRA_API AUVXPosition : public AArray<AUVXPositionItem> {
 public:
  AUVXPosition() = default;
  /// Read "NX".
  explicit AUVXPosition(const AUVXTable& table) { Init(table); }
  /// The same, replacing the contents of the list.
  void Init(const AUVXTable& table);
  AUVXPosition(const AUVXPosition&) = default;
  AUVXPosition& operator=(const AUVXPosition&) = default;
  AUVXPosition(AUVXPosition&&) noexcept = default;
  AUVXPosition& operator=(AUVXPosition&&) noexcept = default;

  /// Extend the index by the record with this number, from 0. A change of source or setup begins a new scan; a gap in
  /// time never does. A time before the scan's start lengthens the scan but does not move the start.
  /// @return the number of scans
  int CheckUVGroup(const AUVXGroup& group, int recordIndex);
  /// Add the seconds since midnight of `julianDate` to every start.
  void AddStartTime(double julianDate);

  /// Setup of the first scan of a source, 1 if it has none.
  int FreqSelForSrc(int sourceId) const;
  /// Number of records of a source.
  int CountForSrc(int sourceId) const;
  /// The setups of a source, ascending, each once. @return a new array, owned by the caller
  AArray<int>* GetFreqSels(int sourceId) const;
  /// The same into `out`, whose old contents are discarded.
  AArray<int>& GetFreqSels(int sourceId, AArray<int>& out) const;

  /// Make an "NX" table: times in days, as 32-bit floats, of the middle of each scan.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXPOSITION_H_

// List of the baselines of each source, and the "BL" table.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXBASELINES_H_
#define ZELTRA_UVX_AUVXBASELINES_H_

#include <cstdint>
#include <type_traits>
#include <vector>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AUVXTable;
struct AUVXGroup;

#pragma pack(push, 1)

/// A baseline of a source.
struct ZELTRA_API AUVXBaseLineItem {
  int16_t source = 0;
  int8_t tlsc1 = 0;  ///< antenna numbers; those above 127 look negative here, as in AUVXGroup
  int8_t tlsc2 = 0;
  uint8_t flag = 0;  ///< 0 if any of its records is usable

  AUVXBaseLineItem() = default;
  /// Source and antennas of a record, flagged if bit 0 of its flag is set.
  explicit AUVXBaseLineItem(const AUVXGroup& group);
};
static_assert(sizeof(AUVXBaseLineItem) == 5 && std::is_trivially_copyable_v<AUVXBaseLineItem>);

#pragma pack(pop)

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXBaseLineItem>);

/// The baselines that occur in a file, ascending by source, antenna 1, antenna 2 as signed numbers, each once.
class ZELTRA_API AUVXBaseLines : public AArray<AUVXBaseLineItem> {
 public:
  AUVXBaseLines();
  /// Read a "BL" table that ToUVXTable made, with its rows in any order.
  explicit AUVXBaseLines(const AUVXTable& table);
  AUVXBaseLines(const AUVXBaseLines&) = default;
  AUVXBaseLines& operator=(const AUVXBaseLines&) = default;
  AUVXBaseLines(AUVXBaseLines&&) noexcept = default;
  AUVXBaseLines& operator=(AUVXBaseLines&&) noexcept = default;

  /// Add a baseline that is not in the list yet. One that is there loses its flag if `item` is not flagged.
  /// @return its index
  int checkBase(const AUVXBaseLineItem& item);
  /// Do the same for many items, in any order. Where most of them are new, this is much faster than one call for each,
  /// which inserts the item at its place.
  void checkBases(std::vector<AUVXBaseLineItem> items);

  /// The source numbers that occur, ascending. @return a new array, owned by the caller
  AArray<short>* getSourceMap() const;
  /// The antenna numbers that occur, 0 to 255, ascending. @return a new array, owned by the caller
  AArray<int>* getTlscMap() const;

  /// Make a "BL" table of this library's own family: SOURCE, ANT1, ANT2 and FLAG, 16-bit integers, antennas 0 to 255.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXBASELINES_H_
